// A host: loads a connection library and calls all its operations, or says what has to be done
// before a build step writes files.
//
//     examplehost LIBRARY PATH...
//     examplehost LIBRARY --write PATH...

#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

#include "clearcase/clearcaseconnection.h"
#include "hostlogic.h"

namespace {

void askAboutElement(ClearCaseConnection& connection, const char* path) {
    std::string version;
    std::string target;
    const int type = connection.getElementStatus(path, &version, &target);
    std::cout << "getElementStatus      " << path << ": type " << type << ", version \"" << version
              << "\", target \"" << target << "\"\n";
}

void askAboutDrives(ClearCaseConnection& connection) {
    const std::string path = "X:\\vobs\\gui\\main.c";
    std::cout << "canonicalizeViewPath  " << path << ": "
              << connection.canonicalizeViewPath("C:\\", path, {"M:\\main_view\\vobs"}) << '\n';
    std::map<std::string, std::string> drives;
    std::cout << "getMvfsDrives         MVFS drive \"" << connection.getMvfsDrives(drives) << '"';
    for (const auto& [drive, viewTag] : drives) {
        std::cout << ", " << drive << " is " << viewTag;
    }
    std::cout << '\n';
}

void askAboutVobs(ClearCaseConnection& connection) {
    std::vector<VobRecord> vobs;
    connection.probeVobs("C:\\example", vobs);
    for (const VobRecord& vob : vobs) {
        std::cout << "probeVobs             " << vob.tag << ": state " << vob.state << '\n';
    }
}

/// Runs `operation` and prints its refusal, for connections that can't do it.
template <class Operation>
void expectRefusal(const char* name, Operation operation) {
    try {
        operation();
        std::cout << name << "done\n";
    } catch (const std::runtime_error& refusal) {
        std::cout << name << "refused: " << refusal.what() << '\n';
    }
}

void askEverything(ClearCaseConnection& connection, const std::vector<const char*>& paths) {
    std::cout << "getOutput             \"" << connection.getOutput() << "\"\n";
    std::cout << "getError\n" << connection.getError();
    connection.clearMessages();
    std::cout << "clearMessages         getError is \"" << connection.getError() << "\" now\n";
    for (const char* path : paths) {
        askAboutElement(connection, path);
    }
    askAboutDrives(connection);
    std::cout << "getViewTag            \"" << connection.getViewTag() << "\"\n";
    askAboutVobs(connection);
    std::map<std::string, std::string> info;
    connection.getProductInfo(nullptr, info);
    for (const auto& [key, value] : info) {
        std::cout << "getProductInfo        " << key << ": " << value << '\n';
    }
    expectRefusal("startSession          ", [&] { connection.startSession(); });
    std::cout << "isReady               " << (connection.isReady() ? "yes" : "no") << '\n';
    expectRefusal("killConnection        ", [&] { connection.killConnection(); });
}

void planWrites(ClearCaseConnection& connection, const std::vector<const char*>& paths) {
    for (const char* path : paths) {
        std::cout << path << ": " << describe(planWrite(connection, path)) << '\n';
    }
}

}  // namespace

int main(int argc, char* argv[]) {
    const bool isPlan = argc > 2 && std::string_view(argv[2]) == "--write";
    if (argc < (isPlan ? 4 : 3)) {
        std::cerr << "usage: examplehost LIBRARY [--write] PATH...\n";
        return 2;
    }
    const HMODULE library = LoadLibraryA(argv[1]);
    if (library == nullptr) {
        const DWORD error = GetLastError();
        std::cerr << "examplehost: " << argv[1] << " can't be loaded: error " << error << '\n';
        return 2;
    }
    const auto make = reinterpret_cast<ClearCaseImplCtorFunction*>(
        reinterpret_cast<void*>(GetProcAddress(library, CLEARCASE_IMPL_CTOR)));
    if (make == nullptr) {
        std::cerr << "examplehost: " << argv[1] << " has no " << CLEARCASE_IMPL_CTOR << '\n';
        return 2;
    }
    const std::unique_ptr<ClearCaseConnection> connection(make(nullptr));
    if (connection == nullptr) {
        std::cerr << "examplehost: no memory for a connection\n";
        return 2;
    }
    if (isPlan) {
        planWrites(*connection, {argv + 3, argv + argc});
    } else {
        askEverything(*connection, {argv + 2, argv + argc});
    }
    return 0;
}
