// The desktop that a command is started on.

#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/recordedstarts-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/processes/commandtest-win.h"
#include "util/windows/exec-win.h"

namespace {

using namespace testing_support;

using Texts = std::vector<std::string>;

/// The calls that find the desktop, in order.
enum Step { stationStep, desktopStep, stationNameStep, desktopNameStep, noStep };

Step gFailing = noStep;
Step gNameToAskNext = stationNameStep;
HWINSTA gStation = nullptr;
HDESK gDesktop = nullptr;

bool fails(Step step) {
    if (step == gFailing) {
        SetLastError(ERROR_ACCESS_DENIED);
    }
    return step == gFailing;
}

HWINSTA WINAPI station() { return fails(stationStep) ? nullptr : gStation; }

HDESK WINAPI desktop(DWORD thread) {
    EXPECT_EQ(thread, GetCurrentThreadId());
    return fails(desktopStep) ? nullptr : gDesktop;
}

BOOL WINAPI information(HANDLE object, int what, LPVOID buffer, DWORD size, LPDWORD) {
    const Step step = gNameToAskNext;
    gNameToAskNext = desktopNameStep;
    EXPECT_EQ(object, step == stationNameStep ? static_cast<HANDLE>(gStation) : gDesktop);
    EXPECT_EQ(what, UOI_NAME);
    EXPECT_EQ(size, 2048U);
    if (fails(step)) {
        return FALSE;
    }
    static_cast<wchar_t*>(buffer)[0] = L'X';
    static_cast<wchar_t*>(buffer)[1] = L'\0';
    return TRUE;
}

class ExecDesktopTest : public CommandTest {
protected:
    void SetUp() override {
        CommandTest::SetUp();
        gFailing = noStep;
        gNameToAskNext = stationNameStep;
    }
};

std::wstring nameOf(HANDLE object) {
    std::array<wchar_t, 256> name{};
    EXPECT_TRUE(GetUserObjectInformationW(object, UOI_NAME, name.data(), sizeof name, nullptr));
    return name.data();
}

TEST_F(ExecDesktopTest, ItIsTheCallersOwn) {
    const RecordedStarts starts;
    EXPECT_EQ(mExec->run(execChild()).code, 0);
    EXPECT_EQ(starts.last().desktop, nameOf(GetProcessWindowStation()) + L'\\' +
                                         nameOf(GetThreadDesktop(GetCurrentThreadId())));
    EXPECT_EQ(mExec->errors(), Texts());
}

TEST_F(ExecDesktopTest, WhereItCannotBeFoundTheDefaultOneIsUsedAndTheRunGoesOn) {
    struct Row {
        Step step;
        const char* words;
    };
    for (const Row& row :
         {Row{stationStep, "GetProcessWindowStation() failed: It can't be"},
          Row{desktopStep, "GetThreadDesktop() failed: It can't be"},
          Row{stationNameStep, "GetUserObjectInformation(windowStation) failed: It can't be"},
          Row{desktopNameStep, "GetUserObjectInformation(desktop) failed: It can't be"}}) {
        const SystemMessage message(L"It can't be.");
        mExec.emplace();
        gFailing = row.step;
        gNameToAskNext = stationNameStep;
        gStation = GetProcessWindowStation();
        gDesktop = GetThreadDesktop(GetCurrentThreadId());
        const ReplacedCall<decltype(GetProcessWindowStation)> first("GetProcessWindowStation",
                                                                    &station);
        const ReplacedCall<decltype(GetThreadDesktop)> second("GetThreadDesktop", &desktop);
        const ReplacedCall<decltype(GetUserObjectInformationW)> names("GetUserObjectInformationW",
                                                                      &information);
        const RecordedStarts starts;
        const CommandResult result = mExec->run(execChild("say x complain y"));
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(result.output, "x");
        EXPECT_EQ(result.error, "y");
        EXPECT_EQ(starts.last().desktop, L"winsta0\\default");
        EXPECT_EQ(mExec->errors(), Texts({row.words}));
        EXPECT_EQ(message.calls().back().number, static_cast<DWORD>(ERROR_ACCESS_DENIED));
    }
}

}  // namespace
