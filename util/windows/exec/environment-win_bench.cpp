#include <algorithm>
#include <string>
#include <vector>

#include "testing/benchmark/comparison.h"
#include "testing/environmentblock.h"
#include "util/windows/exec/environment-win.h"

namespace {

/// Strings like those of an environment, unsorted.
std::vector<std::string> environmentStrings(size_t count) {
    std::vector<std::string> strings;
    for (size_t i = 0; i < count; ++i) {
        const std::string number = std::to_string(i * 7919 % 10'007);
        std::string& text = strings.emplace_back("VARIABLE_");
        text.append(number).append("=C:\\work tree\\value\\").append(number);
    }
    return strings;
}

TEST(Benchmark, BuildEnvironmentBlock) {
    const std::vector<std::string> strings = environmentStrings(500);
    const std::string environment = testing_support::environmentBlock(strings);
    std::vector<wchar_t> block;
    benchmark::compare(
        {"buildEnvironmentBlock of 500 strings", "sort of the same strings", 2.0},
        [&] { return *buildEnvironmentBlock(block, environment.c_str()); },
        [&] {
            std::vector<std::string> sorted = strings;
            std::sort(sorted.begin(), sorted.end());
            return sorted.front().size();
        });
}

}  // namespace
