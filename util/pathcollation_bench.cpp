#include <algorithm>
#include <cctype>
#include <cstdint>
#include <string>
#include <vector>

#include "testing/benchmark/comparison.h"
#include "testing/benchmark/samplepaths.h"
#include "util/pathcollation.h"

namespace {

using benchmark::Letters;

/// A comparison that treats bytes as characters, and knows neither roots nor separators.
int compareBytes(const std::string& a, const std::string& b) {
    const size_t shorter = std::min(a.size(), b.size());
    for (size_t i = 0; i < shorter; ++i) {
        const int difference = std::tolower(static_cast<unsigned char>(a[i])) -
                               std::tolower(static_cast<unsigned char>(b[i]));
        if (difference != 0) {
            return difference;
        }
    }
    return (a.size() > b.size()) - (a.size() < b.size());
}

/// The sum of the signs of all comparisons of a path with the next one.
template <class Compare>
int compareNeighbours(const std::vector<std::string>& paths, Compare compare) {
    int sum = 0;
    for (size_t i = 1; i < paths.size(); ++i) {
        sum += compare(paths[i - 1], paths[i]) < 0 ? -1 : 1;
    }
    return sum;
}

void compareSorted(const char* operation, Letters letters) {
    const std::vector<std::string> paths = benchmark::samplePaths(100'000, letters);
    benchmark::compare(
        {operation, "loop over bytes with tolower", benchmark::onWindows ? 0.28 : 0.17},
        [&] {
            return compareNeighbours(paths, [](const std::string& a, const std::string& b) {
                return comparePaths(a, b);
            });
        },
        [&] { return compareNeighbours(paths, compareBytes); });
}

TEST(Benchmark, ComparePathsOfSortedNeighbours) {
    compareSorted("comparePaths, 100,000 sorted, ASCII", Letters::ascii);
    compareSorted("comparePaths, 100,000 sorted, accents", Letters::accented);
}

template <class Change>
void compareWithEqual(const char* operation, Change change) {
    const std::vector<std::string> paths = benchmark::samplePaths(1000, Letters::ascii);
    const std::vector<std::string> equal = paths;
    std::vector<std::string> changed = paths;
    for (std::string& path : changed) {
        std::transform(path.begin(), path.end(), path.begin(), change);
    }
    const auto differences = [&paths](const std::vector<std::string>& others) {
        size_t count = 0;
        for (size_t i = 0; i < paths.size(); ++i) {
            count += comparePaths(paths[i], others[i]) != 0 ? 1 : 0;
        }
        return count;
    };
    EXPECT_EQ(differences(changed), 0);
    benchmark::compare(
        {operation, "paths of the same bytes", 3.0}, [&] { return differences(changed); },
        [&] { return differences(equal); });
}

TEST(Benchmark, ComparePathsThatAreAlike) {
    compareWithEqual("comparePaths, in another case",
                     [](char c) { return static_cast<char>(std::toupper(c)); });
    compareWithEqual("comparePaths, with other slashes",
                     [](char c) { return c == '/' ? '\\' : c; });
}

}  // namespace
