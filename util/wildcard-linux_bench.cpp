#include <fnmatch.h>
#include <string>
#include <vector>

#include "testing/benchmark/comparison.h"
#include "testing/benchmark/samplepaths.h"
#include "util/wildcard.h"

namespace {

void compareWithFnmatch(const char* operation, const std::string& pattern) {
    const std::vector<std::string> paths = benchmark::samplePaths(1000, benchmark::Letters::ascii);
    benchmark::compare(
        {operation, "fnmatch with FNM_CASEFOLD", 1.0},
        [&] {
            size_t matched = 0;
            for (const std::string& path : paths) {
                matched += wildcardMatch(pattern, path) ? 1 : 0;
            }
            return matched;
        },
        [&] {
            size_t matched = 0;
            for (const std::string& path : paths) {
                const int result = fnmatch(pattern.c_str(), path.c_str(), FNM_CASEFOLD);
                matched += result == 0 ? 1 : 0;
            }
            return matched;
        });
}

TEST(Benchmark, WildcardMatchWithOneStar) {
    compareWithFnmatch("wildcardMatch, *.CPP, 1,000 paths", "*.CPP");
    compareWithFnmatch("wildcardMatch, m:/MAIN*.cpp, 1,000 paths", "m:/MAIN*.cpp");
    compareWithFnmatch("wildcardMatch, m:/MAIN_VIEW/*, 1,000 paths", "m:/MAIN_VIEW/*");
}

}  // namespace
