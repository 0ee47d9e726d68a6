#include <string>
#include <vector>

#include <windows.h>

#include "testing/benchmark/comparison.h"
#include "testing/benchmark/samplepaths.h"
#include "util/pathcollation.h"
#include "util/platform/unicodetext-win.h"

namespace {

using benchmark::Letters;

int compareBySystem(const std::wstring& a, const std::wstring& b) {
    return CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE, a.data(),
                          static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()));
}

void compareSorted(const char* operation, Letters letters) {
    const std::vector<std::string> paths = benchmark::samplePaths(100'000, letters);
    std::vector<std::wstring> wide;
    wide.reserve(paths.size());
    for (const std::string& path : paths) {
        wide.push_back(toWide(path));
    }
    benchmark::compare(
        {operation, "CompareStringW, ready UTF-16", 1.0 / 20, /*rounds=*/1},
        [&] {
            int sum = 0;
            for (size_t i = 1; i < paths.size(); ++i) {
                sum += comparePaths(paths[i - 1], paths[i]);
            }
            return sum;
        },
        [&] {
            int sum = 0;
            for (size_t i = 1; i < wide.size(); ++i) {
                sum += compareBySystem(wide[i - 1], wide[i]);
            }
            return sum;
        });
}

TEST(Benchmark, ComparePathsBesideTheSystem) {
    compareSorted("comparePaths, 100,000 sorted, ASCII", Letters::ascii);
    compareSorted("comparePaths, 100,000 sorted, accents", Letters::accented);
}

}  // namespace
