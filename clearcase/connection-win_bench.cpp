#include <memory>
#include <sstream>
#include <stdexcept>

#include <windows.h>

#include "clearcase/configuration.h"
#include "clearcase/viewpaths.h"
#include "testing/benchmark/comparison.h"
#include "testing/environmentscope.h"
#include "testing/tempfolder.h"
#include "util/pathfun.h"

namespace {

using benchmark::compare;
using testing_support::EnvironmentScope;
using testing_support::TempFolder;

/// A connection of the DLL as it ships.
class ShippedConnection {
public:
    ShippedConnection() : mLibrary(LoadLibraryW(L"nbclearcase_fake.dll")) {
        if (mLibrary == nullptr) {
            throw std::runtime_error("nbclearcase_fake.dll is missing");
        }
        const auto make = reinterpret_cast<ClearCaseImplCtorFunction*>(
            reinterpret_cast<void*>(GetProcAddress(mLibrary, CLEARCASE_IMPL_CTOR)));
        mConnection.reset(make(nullptr));
    }
    ~ShippedConnection() {
        mConnection.reset();
        FreeLibrary(mLibrary);
    }
    ShippedConnection(const ShippedConnection&) = delete;
    ShippedConnection& operator=(const ShippedConnection&) = delete;

    ClearCaseConnection* operator->() const { return mConnection.get(); }

private:
    HMODULE mLibrary;
    std::unique_ptr<ClearCaseConnection> mConnection;
};

std::string elementPath(int i) {
    return "M:\\main_view\\vobs\\part" + std::to_string(i) + "\\src\\file.c";
}

TEST_CASE("getElementStatus of a configured element") {
    constexpr int elements = 1000;
    std::string text = "[attrs]\n";
    std::map<std::string, ElementRecord> table;
    for (int i = 0; i < elements; ++i) {
        text += elementPath(i) + "=/main/3*version\n";
        table[elementKey(elementPath(i))] = {elementVersion, "/main/3"};
    }
    const TempFolder folder;
    const EnvironmentScope file("NBCLEARCASE_FAKE_INI", folder.write("c.ini", text));
    const ShippedConnection connection;
    const std::string path = elementPath(617);
    const std::string key = elementKey(path);
    std::string version;
    compare(
        {"getElementStatus through the DLL", "normalizePath and one lookup", 1.5},
        [&] { return connection->getElementStatus(path.c_str(), &version, nullptr); },
        [&] { return normalizePath(path).size() + table.count(key); });
}

/// Drives from `N:` on, as many as asked for, each for a view of its own; names behind `Z:` serve
/// as drives that no path is on.
std::map<std::string, std::string> someDrives(int count) {
    std::map<std::string, std::string> drives;
    for (int i = 0; i < count; ++i) {
        std::string name = "~" + std::to_string(i);
        if (i < 13) {
            name = "N:";
            name[0] = static_cast<char>('N' + i);
        }
        drives[name] = "view" + std::to_string(i);
    }
    return drives;
}

/// One call against drives of its own, with a cache that is warm after the first round.
class Canonicalizer {
public:
    explicit Canonicalizer(int driveCount) : mDrives(someDrives(driveCount)) {}

    size_t operator()(const std::string& path, const std::vector<std::string>& tags) {
        return canonicalizeViewPath(mMvfsRoot, mDrives, mCache, mLock, mDirectory, path, tags,
                                    mErrors)
            .size();
    }

private:
    std::string mMvfsRoot = "M:";
    std::string mDirectory = "C:\\w";
    std::map<std::string, std::string> mDrives;
    std::map<std::string, std::string> mCache;
    Mutex mLock;
    std::ostringstream mErrors;
};

TEST_CASE("canonicalizeViewPath") {
    Canonicalizer three(3);
    const std::vector<std::string> none;
    const std::string outside = "C:\\build\\src\\main\\driver\\file.cpp";
    compare(
        {"canonicalizeViewPath, off the views", "normalizePath", 1.5},
        [&] { return three(outside, none); }, [&] { return normalizePath(outside).size(); });

    // Ten VOBs of a view, and a path on the drive that is mapped to it.
    std::vector<std::string> tags;
    tags.reserve(10);
    for (int i = 0; i < 10; ++i) {
        tags.push_back("M:\\view2\\vobs\\part" + std::to_string(i));
    }
    const std::string moved = "P:\\vobs\\part3\\src\\driver\\file.cpp";
    compare(
        {"canonicalizeViewPath, moved, 10 tags", "normalizePath", 6.0},
        [&] { return three(moved, tags); }, [&] { return normalizePath(moved).size(); });

    Canonicalizer ten(10);
    Canonicalizer thousand(1000);
    compare(
        {"canonicalizeViewPath, 1,000 view drives", "10 view drives", 1.1},
        [&] { return thousand(moved, tags); }, [&] { return ten(moved, tags); });
}

}  // namespace
