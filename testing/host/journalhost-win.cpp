// journalhost LIBRARY MEMORY FOLDER: a host that is to be killed. Makes one connection, and asks it
// in four threads for elements "FOLDER/THREAD/NUMBER", counted from 0, until it is killed. MEMORY
// names shared memory: after each answer, the thread's 32-bit number there is the count of its
// answers.

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <windows.h>

#include "clearcase/clearcaseconnection.h"
#include "util/windows/libraryfunction-win.h"

int main(int argc, char* argv[]) {
    constexpr int threads = 4;
    if (argc != 4) {
        return 1;
    }
    const HMODULE library = LoadLibraryA(argv[1]);
    const HANDLE memory = OpenFileMappingA(FILE_MAP_WRITE, /*bInheritHandle=*/FALSE, argv[2]);
    auto* const answers = static_cast<std::atomic<uint32_t>*>(
        memory == nullptr ? nullptr : MapViewOfFile(memory, FILE_MAP_WRITE, 0, 0, 0));
    const auto make = findFunction<ClearCaseImplCtorFunction>(library, CLEARCASE_IMPL_CTOR);
    if (answers == nullptr || make == nullptr) {
        return 1;
    }
    const std::unique_ptr<ClearCaseConnection> connection(make(nullptr));
    std::vector<std::jthread> callers;
    callers.reserve(threads);
    for (int thread = 0; thread < threads; ++thread) {
        callers.emplace_back([&, thread] {
            for (uint32_t number = 0;; ++number) {
                const std::string path = std::string(argv[3]) + '/' + std::to_string(thread) + '/' +
                                         std::to_string(number);
                std::string version;
                static_cast<void>(
                    connection->getElementStatus(path.c_str(), &version, /*target=*/nullptr));
                answers[thread].store(number + 1);
            }
        });
    }
    Sleep(INFINITE);
}
