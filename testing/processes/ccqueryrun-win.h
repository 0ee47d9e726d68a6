#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "testing/processes/childprocess-win.h"
#include "testing/utf8path.h"

namespace testing_support {

using Texts = std::vector<std::string>;

/// Returns a run of the built program.
inline ChildRun ccquery(Texts arguments) {
    return {.program = testProgramFolder() / "ccquery.exe", .arguments = std::move(arguments)};
}

/// With the sample connection as the library.
inline ChildRun sample(Texts arguments) {
    ChildRun run = ccquery(std::move(arguments));
    run.arguments.insert(run.arguments.end(),
                         {"--library", utf8(testProgramFolder() / "sampleconnection.dll")});
    return run;
}

inline void expectAnswer(const ChildRun& run, const std::string& output) {
    const ChildResult result = runChild(run);
    EXPECT_EQ(result.exitCode, 0U);
    EXPECT_EQ(result.output, output);
    EXPECT_EQ(result.error, "");
}

/// Expects exit code 2, nothing on standard output, and one line on standard error that begins with
/// the program's name and `beginning` and ends with `end`.
inline void expectNoAnswer(const ChildRun& run, const std::string& beginning,
                           const std::string& end) {
    const ChildResult result = runChild(run);
    EXPECT_EQ(result.exitCode, 2U);
    EXPECT_EQ(result.output, "");
    EXPECT_TRUE(result.error.starts_with("ccquery: " + beginning)) << result.error;
    EXPECT_TRUE(result.error.ends_with(end + "\n")) << result.error;
    EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 1) << result.error;
}

}  // namespace testing_support
