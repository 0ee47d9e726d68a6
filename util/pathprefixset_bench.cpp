#include <map>
#include <string>
#include <vector>

#include "testing/benchmark/comparison.h"
#include "testing/benchmark/samplepaths.h"
#include "util/pathprefixset.h"

namespace {

TEST(Benchmark, PathPrefixSetFind) {
    const std::vector<std::string> paths =
        benchmark::samplePaths(100'000, benchmark::Letters::ascii);
    PathPrefixSet set;
    std::map<std::string, bool> map;
    for (size_t i = 0; i < paths.size(); ++i) {
        const bool isPrefix = i % 2 == 0;
        set.insert(paths[i], isPrefix);
        // As in the set, the text is in memory before its node.
        map.emplace(std::string(paths[i]), isPrefix);
    }
    // Half of the keys are in the set, a quarter lies below a prefix, and a quarter isn't covered.
    // They are spread over the whole set.
    constexpr size_t count = 10'000;
    std::vector<std::string> keys;
    keys.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        keys.push_back(paths[i * 7919 % paths.size()]);
        if (i % 4 >= 2) {
            keys.back().append("/more.txt");
        }
    }
    EXPECT_EQ(set.size(), map.size());
    benchmark::compare(
        {"PathPrefixSet::find, 10,000 of 100,000", "map::upper_bound", 1.2},
        [&] {
            size_t found = 0;
            for (const std::string& key : keys) {
                found += set.find(key) != set.end() ? 1 : 0;
            }
            return found;
        },
        [&] {
            size_t found = 0;
            for (const std::string& key : keys) {
                found += map.upper_bound(key) != map.end() ? 1 : 0;
            }
            return found;
        });
}

}  // namespace
