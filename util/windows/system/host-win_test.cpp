#include "util/windows/system/host-win.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <regex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"
#include "util/platform/errortext-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/system/handles-win.h"

namespace {

using namespace testing_support;

TEST(SystemUserNameTest, TheUserIsTheOneThatWindowsNames) {
    std::array<wchar_t, 1024> name = {};
    DWORD size = name.size();
    ASSERT_TRUE(GetUserNameW(name.data(), &size));
    EXPECT_EQ(System::userName(), toAnsi(name.data(), size - 1));
}

TEST(SystemUserNameTest, ANameOf1023BytesFits) {
    const ReplacedCall<decltype(GetUserNameA)> call("GetUserNameA",
                                                    [](LPSTR name, LPDWORD size) -> BOOL {
                                                        EXPECT_EQ(*size, 1024U);
                                                        std::fill_n(name, 1023, 'n');
                                                        name[1023] = '\0';
                                                        return TRUE;
                                                    });
    EXPECT_EQ(System::userName(), std::string(1023, 'n'));
}

TEST(SystemUserNameTest, WithoutAnAnswerItIsTallymake) {
    const ReplacedCall<decltype(GetUserNameA)> call("GetUserNameA",
                                                    [](LPSTR name, LPDWORD) -> BOOL {
                                                        name[0] = 'x';
                                                        name[1] = '\0';
                                                        SetLastError(ERROR_INSUFFICIENT_BUFFER);
                                                        return FALSE;
                                                    });
    EXPECT_EQ(System::userName(), "tallymake");
}

/// Until the scope ends, the machine has the name `name`, followed by `nulls` NUL characters, or
/// answers with an error. After that, its real name is the known one again. There may be only one
/// object at a time.
class FakeHost {
public:
    explicit FakeHost(std::wstring hostName) : name(std::move(hostName)) { sCurrent = this; }
    ~FakeHost() {
        sCurrent = nullptr;
        static_cast<void>(System::fullHostName(/*refresh=*/true));
    }

    std::wstring name;
    size_t nulls = 1;
    DWORD sizeError = ERROR_MORE_DATA;
    DWORD nameError = ERROR_SUCCESS;

    int sizeCalls = 0;
    int nameCalls = 0;

private:
    static inline FakeHost* sCurrent = nullptr;
    static inline decltype(GetComputerNameExW)* sOriginal = nullptr;

    static BOOL WINAPI answer(COMPUTER_NAME_FORMAT kind, LPWSTR buffer, LPDWORD size) {
        if (sCurrent == nullptr) {
            return sOriginal(kind, buffer, size);
        }
        FakeHost& host = *sCurrent;
        EXPECT_EQ(kind, ComputerNameDnsFullyQualified);
        const auto room = static_cast<DWORD>(host.name.size() + host.nulls);
        ++(buffer == nullptr ? host.sizeCalls : host.nameCalls);
        const DWORD error = buffer == nullptr ? host.sizeError : host.nameError;
        if (buffer == nullptr) {
            EXPECT_EQ(*size, 0U);
            *size = room;
        } else if (error == ERROR_SUCCESS) {
            EXPECT_EQ(*size, room);
            std::fill_n(buffer, room, L'\0');
            host.name.copy(buffer, room);
            *size = static_cast<DWORD>(host.name.size());
        }
        SetLastError(error);
        return error == ERROR_SUCCESS;
    }

    ReplacedCall<decltype(GetComputerNameExW)> mCall{"GetComputerNameExW", answer};
    decltype(GetComputerNameExW)* mOriginal = sOriginal = mCall.original();
};

TEST(SystemFullHostNameTest, TheMachineIsTheOneThatWindowsNames) {
    std::array<wchar_t, 1024> name = {};
    DWORD size = name.size();
    ASSERT_TRUE(GetComputerNameExW(ComputerNameDnsFullyQualified, name.data(), &size));
    EXPECT_EQ(System::fullHostName(true), toUtf8(name.data()));
    EXPECT_EQ(System::fullHostName(false), toUtf8(name.data()));
}

TEST(SystemFullHostNameTest, TheNameIsAskedForInTwoStepsAndKept) {
    FakeHost host(L"\u043C\u0430\u043A.example.org");
    EXPECT_EQ(System::fullHostName(true), "\xD0\xBC\xD0\xB0\xD0\xBA.example.org");
    EXPECT_EQ(System::fullHostName(false), "\xD0\xBC\xD0\xB0\xD0\xBA.example.org");
    EXPECT_EQ(host.sizeCalls, 1);
    EXPECT_EQ(host.nameCalls, 1);
}

TEST(SystemFullHostNameTest, OnlyOnRequestIsItAskedForAgain) {
    FakeHost host(L"one.example.org");
    static_cast<void>(System::fullHostName(true));
    host.name = L"two";
    EXPECT_EQ(System::fullHostName(false), "one.example.org");
    EXPECT_EQ(System::fullHostName(true), "two");
    EXPECT_EQ(System::fullHostName(false), "two");
}

TEST(SystemFullHostNameTest, NullCharactersAfterTheNameAreCut) {
    for (const size_t nulls : {0, 1, 2, 100}) {
        FakeHost host(std::wstring(250, L'h'));
        host.nulls = nulls;
        EXPECT_EQ(System::fullHostName(true), std::string(250, 'h')) << nulls;
    }
}

TEST(SystemFullHostNameTest, AnEmptyNameIsAskedForAgain) {
    FakeHost host(L"");
    EXPECT_EQ(System::fullHostName(true), "");
    EXPECT_EQ(System::fullHostName(false), "");
    EXPECT_EQ(host.nameCalls, 2);
    host.name = L"known";
    EXPECT_EQ(System::fullHostName(false), "known");
}

/// Returns the text of the exception that a request for the name throws.
std::string hostNameFailure(uint32_t* error) {
    try {
        return "no failure: " + System::fullHostName(true);
    } catch (const Win32Exception& exception) {
        *error = exception.mError;
        return exception.what();
    }
}

TEST(SystemFullHostNameTest, AFailureOfTheSizeQueryIsAnExceptionAndTheKnownNameStays) {
    FakeHost host(L"known");
    static_cast<void>(System::fullHostName(true));
    const SystemMessage message(L"No.\r\n");
    for (const DWORD error : {DWORD{ERROR_ACCESS_DENIED}, DWORD{ERROR_SUCCESS}}) {
        host.sizeError = error;
        uint32_t number = 99;
        EXPECT_EQ(hostNameFailure(&number),
                  "GetComputerNameEx(FQDN,0): No. (" + std::to_string(error) + ")");
        EXPECT_EQ(number, error);
    }
    EXPECT_EQ(System::fullHostName(false), "known");
    EXPECT_EQ(host.nameCalls, 1);
}

TEST(SystemFullHostNameTest, AFailureOfTheQueryIsAnExceptionAndTheKnownNameStays) {
    FakeHost host(L"known");
    static_cast<void>(System::fullHostName(true));
    const SystemMessage message(L"No.\r\n");
    host.nameError = ERROR_ACCESS_DENIED;
    uint32_t number = 0;
    EXPECT_EQ(hostNameFailure(&number), "GetComputerNameEx(FQDN): No. (5)");
    EXPECT_EQ(number, 5U);
    EXPECT_EQ(System::fullHostName(false), "known");
}

std::atomic<int> gAsking = 0;
std::atomic<bool> gOverlaps = false;

BOOL WINAPI askSlowly(COMPUTER_NAME_FORMAT, LPWSTR buffer, LPDWORD size) {
    if (++gAsking != 1) {
        gOverlaps = true;
    }
    Sleep(1);
    --gAsking;
    *size = 2;
    if (buffer == nullptr) {
        SetLastError(ERROR_MORE_DATA);
        return FALSE;
    }
    lstrcpyW(buffer, L"h");
    return TRUE;
}

TEST(SystemFullHostNameTest, ThreadsAskOneAfterTheOther) {
    {
        const ReplacedCall<decltype(GetComputerNameExW)> call("GetComputerNameExW", askSlowly);
        const auto ask = [] {
            for (int k = 0; k < 10; ++k) {
                EXPECT_EQ(System::fullHostName(true), "h");
            }
        };
        const std::jthread first(ask);
        const std::jthread second(ask);
    }
    static_cast<void>(System::fullHostName(true));
    EXPECT_FALSE(gOverlaps);
}

TEST(SystemTempDirectoryTest, ItIsTheOneThatTheEnvironmentNames) {
    const TempFolder folder;
    const EnvironmentScope tmp("TMP", folder.utf8());
    std::string expected = folder.utf8() + "\\";
    std::replace(expected.begin(), expected.end(), '/', '\\');
    EXPECT_EQ(System::tempDirectory(), expected);
}

DWORD gTempLength = 0;

DWORD WINAPI tempPath(DWORD room, LPWSTR path) {
    EXPECT_EQ(room, 260U);
    std::fill_n(path, room, L'\u00E9');
    return gTempLength;
}

TEST(SystemTempDirectoryTest, AnAnswerOf1To260CharactersIsTheTextInUtf8) {
    const ReplacedCall<decltype(GetTempPathW)> call("GetTempPathW", tempPath);
    for (const DWORD length : {1, 2, 259, 260}) {
        gTempLength = length;
        EXPECT_EQ(System::tempDirectory(), toUtf8(std::wstring(length, L'\u00E9')));
    }
}

TEST(SystemTempDirectoryTest, WithAnyOtherAnswerItIsTheRootOfC) {
    const ReplacedCall<decltype(GetTempPathW)> call("GetTempPathW", tempPath);
    for (const DWORD length : {0UL, 261UL, 0xffffffffUL}) {
        gTempLength = length;
        EXPECT_EQ(System::tempDirectory(), "c:\\");
    }
}

std::string localTime() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), "%04d/%02d/%02d %02d:%02d:%02d", now.wYear, now.wMonth,
                  now.wDay, now.wHour, now.wMinute, now.wSecond);
    return text.data();
}

TEST(SystemDateTimeTextTest, ItIsTheLocalTimeFromTheYearToTheSecond) {
    const std::string before = localTime();
    const std::string text = System::dateTimeText();
    const std::string after = localTime();
    EXPECT_TRUE(
        std::regex_match(text, std::regex(R"(\d{4}/[01]\d/[0-3]\d [0-2]\d:[0-5]\d:[0-5]\d)")))
        << text;
    EXPECT_LE(before, text);
    EXPECT_LE(text, after);
}

/// The arguments of a call of one of the two functions.
struct Format {
    LCID locale;
    DWORD flags;
    std::wstring picture;
    int room;
};
std::vector<Format> gFormats;

int WINAPI formatDate(LCID locale, DWORD flags, const SYSTEMTIME*, LPCWSTR picture, LPWSTR text,
                      int room) {
    gFormats.push_back({locale, flags, picture, room});
    lstrcpyW(text, L"\u65E5 ");
    return 3;
}

int WINAPI formatTime(LCID locale, DWORD flags, const SYSTEMTIME*, LPCWSTR picture, LPWSTR text,
                      int room) {
    gFormats.push_back({locale, flags, picture, room});
    lstrcpyW(text, L"\u6642");
    return 2;
}

TEST(SystemDateTimeTextTest, DateAndTimeArePicturesOfTheUsersLocalePutAfterEachOther) {
    gFormats.clear();
    const ReplacedCall<decltype(GetDateFormatW)> date("GetDateFormatW", formatDate);
    const ReplacedCall<decltype(GetTimeFormatW)> time("GetTimeFormatW", formatTime);
    EXPECT_EQ(System::dateTimeText(), "\xE6\x97\xA5 \xE6\x99\x82");
    ASSERT_EQ(gFormats.size(), 2U);
    EXPECT_EQ(gFormats[0].picture, L"yyyy/MM/dd ");
    EXPECT_EQ(gFormats[0].flags, 0U);
    EXPECT_EQ(gFormats[1].picture, L"hh:mm:ss");
    EXPECT_EQ(gFormats[1].flags, DWORD{TIME_FORCE24HOURFORMAT});
    for (const Format& format : gFormats) {
        EXPECT_EQ(format.locale, LCID{LOCALE_USER_DEFAULT});
        EXPECT_EQ(format.room, 100);
    }
}

}  // namespace
