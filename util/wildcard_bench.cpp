#include <algorithm>
#include <cctype>
#include <string>
#include <utility>
#include <vector>

#include "testing/benchmark/comparison.h"
#include "testing/benchmark/samplepaths.h"
#include "util/wildcard.h"

namespace {

bool equalButForCase(const std::string& a, const std::string& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](unsigned char x, unsigned char y) {
        return std::tolower(x) == std::tolower(y);
    });
}

TEST(Benchmark, WildcardMatchWithoutStars) {
    const std::vector<std::string> paths = benchmark::samplePaths(1000, benchmark::Letters::ascii);
    std::vector<std::string> patterns;
    for (std::string pattern : paths) {
        std::transform(pattern.begin(), pattern.end(), pattern.begin(),
                       [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
        patterns.push_back(std::move(pattern));
    }
    benchmark::compare(
        {"wildcardMatch without stars, 1,000 paths", "loop over bytes with tolower", 3.0},
        [&] {
            size_t matched = 0;
            for (size_t i = 0; i < paths.size(); ++i) {
                matched += wildcardMatch(patterns[i], paths[i]) ? 1 : 0;
            }
            return matched;
        },
        [&] {
            size_t matched = 0;
            for (size_t i = 0; i < paths.size(); ++i) {
                matched += equalButForCase(patterns[i], paths[i]) ? 1 : 0;
            }
            return matched;
        });
}

}  // namespace
