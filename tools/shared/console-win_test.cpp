#include "tools/shared/console-win.h"

#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/scopes/environmentscope.h"

namespace {

using namespace testing_support;
using namespace tools;

constexpr DWORD usualMode = ENABLE_PROCESSED_OUTPUT | ENABLE_WRAP_AT_EOL_OUTPUT;

/// What standard output is.
struct FakeOutput {
    bool isConsole = true;
    bool knowsSequences = true;
    DWORD mode = usualMode;
    int changes = 0;
};

FakeOutput* gOutput = nullptr;

/// A test with an output of its own, and without NO_COLOR.
class ConsoleColoursTest : public testing::Test {
protected:
    ConsoleColoursTest() { gOutput = &mOutput; }

    /// Whether it paints; expects that the mode is then as before.
    bool paints(bool json) {
        const DWORD before = mOutput.mode;
        bool result = false;
        {
            const ConsoleColours colours(json);
            result = colours.painter().paint(Colour::place, "x") != "x";
            EXPECT_EQ(mOutput.mode,
                      result ? before | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING
                             : before);
        }
        EXPECT_EQ(mOutput.mode, before);
        EXPECT_EQ(mOutput.changes, result ? 2 : 0);
        return result;
    }

    FakeOutput mOutput;
    EnvironmentScope mNoColor{"NO_COLOR", std::nullopt};

private:
    ReplacedCall<decltype(GetConsoleMode)> mGet{"GetConsoleMode", [](HANDLE, LPDWORD mode) -> BOOL {
                                                    *mode = gOutput->mode;
                                                    return gOutput->isConsole;
                                                }};
    ReplacedCall<decltype(SetConsoleMode)> mSet{
        "SetConsoleMode", [](HANDLE, DWORD mode) -> BOOL {
            if ((mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0 && !gOutput->knowsSequences) {
                return FALSE;
            }
            ++gOutput->changes;
            gOutput->mode = mode;
            return TRUE;
        }};
};

TEST_F(ConsoleColoursTest, AConsoleShowsColours) { EXPECT_TRUE(paints(false)); }

TEST_F(ConsoleColoursTest, AModeThatWasSetBeforeStays) {
    mOutput.mode = usualMode | ENABLE_VIRTUAL_TERMINAL_PROCESSING;
    EXPECT_TRUE(paints(false));
}

TEST_F(ConsoleColoursTest, AFileAndAnOldConsoleShowNone) {
    mOutput.isConsole = false;
    EXPECT_FALSE(paints(false));
    mOutput.isConsole = true;
    mOutput.knowsSequences = false;
    EXPECT_FALSE(paints(false));
}

TEST_F(ConsoleColoursTest, JsonShowsNone) { EXPECT_FALSE(paints(true)); }

TEST_F(ConsoleColoursTest, NoColorForbidsColoursIfItIsNotEmpty) {
    const EnvironmentScope forbidden("NO_COLOR", "1");
    EXPECT_FALSE(paints(false));
}

}  // namespace
