#include "util/windows/consoleevent-win.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace {

TEST(ConsoleEventNameTest, EveryEventHasItsName) {
    const struct {
        uint32_t event;
        const char* name;
    } rows[] = {
        {0, "Ctrl+C"},          {1, "Ctrl+BREAK"},      {2, "Console closed"},
        {5, "User logged off"}, {6, "System shutdown"}, {0x80000000, "No signal"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(consoleEventName(row.event), row.name) << row.event;
    }
}

TEST(ConsoleEventNameTest, NoEventHasItsNumber) { EXPECT_EQ(noConsoleEvent, 0x80000000U); }

TEST(ConsoleEventNameTest, AnyOtherNumberIsReportedAsASignedDecimal) {
    EXPECT_EQ(consoleEventName(3), "Unknown control signal 3");
    EXPECT_EQ(consoleEventName(4), "Unknown control signal 4");
    EXPECT_EQ(consoleEventName(7), "Unknown control signal 7");
    EXPECT_EQ(consoleEventName(0x7fffffff), "Unknown control signal 2147483647");
    EXPECT_EQ(consoleEventName(0xffffffff), "Unknown control signal -1");
    EXPECT_EQ(consoleEventName(0x80000001), "Unknown control signal -2147483647");
}

TEST(ConsoleEventNameTest, TheErrorsOfTheCallerStay) {
    for (const uint32_t event : {0U, 3U}) {
        SetLastError(4711);
        EXPECT_FALSE(consoleEventName(event).empty());
        EXPECT_EQ(GetLastError(), 4711U);
    }
}

}  // namespace
