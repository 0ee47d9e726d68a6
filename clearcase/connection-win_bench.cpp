#include <cstddef>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>

#include <windows.h>

#include "clearcase/configuration.h"
#include "clearcase/elementstatus.h"
#include "clearcase/viewpaths.h"
#include "testing/benchmark/comparison.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"
#include "util/pathfun.h"
#include "util/windows/libraryfunction-win.h"

namespace {

using benchmark::compare;
using namespace testing_support;

/// A connection from the DLL that is shipped.
class ShippedConnection {
public:
    ShippedConnection() : mLibrary(LoadLibraryW(L"nbclearcase_fake.dll")) {
        if (mLibrary == nullptr) {
            throw std::runtime_error("nbclearcase_fake.dll is missing");
        }
        const auto make = findFunction<ClearCaseImplCtorFunction>(mLibrary, CLEARCASE_IMPL_CTOR);
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

std::string elementPath(size_t i) {
    std::string path = "M:\\main_view\\vobs\\part";
    return path.append(std::to_string(1000000 + i)).append("\\src\\file.c");
}

/// A configuration file with a number of elements, and the same elements in a table.
struct SampleElements {
    explicit SampleElements(size_t count) {
        for (size_t i = 0; i < count; ++i) {
            text.append(elementPath(i)).append("=/main/3*version\n");
            table[elementKey(elementPath(i))] = {elementVersion, "/main/3"};
        }
        index = ElementIndex(table);
    }

    std::string text = "[attrs]\n";
    ElementTable table;
    ElementIndex index;
};

TEST(Benchmark, ElementStatusOfAConfiguredElement) {
    const SampleElements elements(1000);
    const TempFolder folder;
    const EnvironmentScope file("NBCLEARCASE_FAKE_INI", folder.write("c.ini", elements.text));
    const ShippedConnection connection;
    const std::string path = elementPath(617);
    const std::string key = elementKey(path);
    std::string version;
    compare(
        {"getElementStatus, one of 1,000", "normalizePath and one lookup", 1.3},
        [&] { return connection->getElementStatus(path.c_str(), &version, nullptr); },
        [&] { return normalizePath(path).size() + elements.table.count(key); });
}

/// Picks the same 10,000 places of a large table each time, in random order.
std::vector<size_t> randomPlaces(size_t count) {
    std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp)
    std::vector<size_t> places(10'000);
    for (size_t& place : places) {
        place = random() % count;
    }
    return places;
}

TEST(Benchmark, ElementStatusOfRandomElements) {
    constexpr size_t elementCount = 200'000;
    const SampleElements elements(elementCount);
    const TempFolder folder;
    const EnvironmentScope file("NBCLEARCASE_FAKE_INI", folder.write("c.ini", elements.text));
    const ShippedConnection connection;
    std::vector<std::string> paths;
    std::vector<std::string> absent;
    for (const size_t place : randomPlaces(elementCount)) {
        paths.push_back(elementPath(place));
        absent.push_back(elementPath(place).append("pp"));
    }
    const auto lookUp = [&elements](const std::vector<std::string>& keys) {
        size_t found = 0;
        for (const std::string& key : keys) {
            found += normalizePath(key).size() + elements.table.count(key);
        }
        return found;
    };
    std::string version;
    compare(
        {"getElementStatus, 10,000 of 200,000", "normalizePath and one lookup", 0.5},
        [&] {
            int sum = 0;
            for (const std::string& path : paths) {
                sum += connection->getElementStatus(path.c_str(), &version, nullptr);
            }
            return sum;
        },
        [&] { return lookUp(paths); });
    // The connection would go on to query the disk for these.
    compare(
        {"configuredStatus, 10,000 not in 200,000", "normalizePath and one lookup", 0.5},
        [&] {
            size_t sum = 0;
            for (const std::string& path : absent) {
                sum += configuredStatus(elements.index, path.c_str(), &version, nullptr).has_value()
                           ? 1
                           : 0;
            }
            return sum;
        },
        [&] { return lookUp(absent); });
}

/// Makes `count` drives from `N:` on, each for another view. Beyond `Z:` numbers serve as drives
/// that no path is on.
std::map<std::string, std::string> someDrives(int count) {
    std::map<std::string, std::string> drives;
    for (int i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        drives[i < 13 ? std::string{static_cast<char>('N' + i), ':'} : number] = "v" + number;
    }
    return drives;
}

/// Calls canonicalizeViewPath with its own drives, and a cache that is warm after the first round.
class Canonicalizer {
public:
    explicit Canonicalizer(int driveCount) : mDrives(someDrives(driveCount)) {}

    size_t operator()(const std::string& path, const std::vector<std::string>& tags) {
        return canonicalizeViewPath({mMvfsRoot, mDrives, mLetters}, mCache, mDirectory, path, tags,
                                    mErrors)
            .size();
    }

private:
    std::string mMvfsRoot = "M:";
    std::string mDirectory = "C:\\w";
    std::map<std::string, std::string> mDrives;
    DriveLetters mLetters{mDrives};
    RootCache mCache;
    std::ostringstream mErrors;
};

/// Returns one tag of each of ten views, or ten tags of one view.
std::vector<std::string> sampleTags(bool ofOneView) {
    std::vector<std::string> tags;
    for (char number = '0'; number <= '9'; ++number) {
        tags.emplace_back("M:\\v");
        tags.back().append(1, ofOneView ? '2' : number).append("\\vobs\\part").append(1, number);
    }
    return tags;
}

TEST(Benchmark, CanonicalizeViewPath) {
    Canonicalizer three(3);
    const std::vector<std::string> none;
    const std::string outside = "C:\\build\\src\\main\\driver\\file.cpp";
    compare(
        {"canonicalizeViewPath, off the views", "normalizePath", 1.25},
        [&] { return three(outside, none); }, [&] { return normalizePath(outside).size(); });

    const std::vector<std::string> tags = sampleTags(/*ofOneView=*/true);
    const std::string moved = "P:\\vobs\\part3\\src\\driver\\file.cpp";
    compare(
        {"canonicalizeViewPath, moved, 10 tags of a view", "normalizePath", 3.0},
        [&] { return three(moved, tags); }, [&] { return normalizePath(moved).size(); });

    Canonicalizer ten(10);
    Canonicalizer thousand(1000);
    compare(
        {"canonicalizeViewPath, 1,000 view drives", "10 view drives", 1.1},
        [&] { return thousand(moved, tags); }, [&] { return ten(moved, tags); });
}

TEST(Benchmark, CanonicalizeViewPathOfSeveralViews) {
    Canonicalizer ten(10);
    const std::vector<std::string> tags = sampleTags(/*ofOneView=*/false);
    // A path on the drive of each view.
    std::vector<std::string> paths;
    for (char drive = 'N'; drive < 'N' + 10; ++drive) {
        paths.emplace_back(1, drive);
        paths.back().append(":\\vobs\\part3\\src\\driver\\file.cpp");
    }
    compare(
        {"canonicalizeViewPath, moved, 10 tags of 10 views", "normalizePath", 6.0},
        [&] {
            size_t size = 0;
            for (const std::string& path : paths) {
                size += ten(path, tags);
            }
            return size;
        },
        [&] {
            size_t size = 0;
            for (const std::string& path : paths) {
                size += normalizePath(path).size();
            }
            return size;
        });
}

}  // namespace
