// Which handles of the System process are treated as the file of a path.

#include <algorithm>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/fakesystem-win.h"
#include "util/windows/system/handles-win.h"

namespace {

using namespace testing_support;

const wchar_t* gType = nullptr;
NTSTATUS gTypeStatus = 0;

/// Expects a zeroed buffer of 1000 bytes, and stores the name and its text there.
NTSTATUS NTAPI answerType(HANDLE, ULONG kind, void* answer, ULONG room, ULONG*) {
    EXPECT_EQ(kind, 2U);
    EXPECT_EQ(room, 1000U);
    auto* bytes = static_cast<unsigned char*>(answer);
    EXPECT_EQ(std::count(bytes, bytes + room, 0), 1000);
    UNICODE_STRING name = {};
    if (gType != nullptr) {
        name.Buffer = lstrcpyW(reinterpret_cast<wchar_t*>(bytes + sizeof name), gType);
        name.Length = static_cast<USHORT>(2 * lstrlenW(gType));
    }
    std::memcpy(answer, &name, sizeof name);
    return gTypeStatus;
}

bool closesWithType(const wchar_t* type, NTSTATUS status) {
    const HeldFile file;
    Inspected system({{systemProcess, file.handle()}});
    system.inspector.mNtQueryObject = answerType;
    gType = type;
    gTypeStatus = status;
    const bool closed = system.inspector.closeSystemFileHandle(file.path());
    EXPECT_EQ(file.isFree(), closed);
    return closed;
}

TEST(MatchSystemFileHandleTest, ATypeCountsThatBeginsWithFile) {
    EXPECT_TRUE(closesWithType(L"File", 0));
    EXPECT_TRUE(closesWithType(L"FileX", 0));
    for (const wchar_t* type :
         {L"file", L"Fil", L"", L"Event", L" File", static_cast<const wchar_t*>(nullptr)}) {
        EXPECT_FALSE(closesWithType(type, 0));
    }
    EXPECT_FALSE(closesWithType(L"File", static_cast<NTSTATUS>(0xC0000004)));
}

const wchar_t* gName = nullptr;

NTSTATUS NTAPI answerName(HANDLE, IO_STATUS_BLOCK*, void* answer, ULONG, ULONG) {
    const auto length = static_cast<uint32_t>(2 * lstrlenW(gName));
    std::memcpy(answer, &length, sizeof length);
    std::memcpy(static_cast<unsigned char*>(answer) + sizeof length, gName, length);
    return 0;
}

TEST(MatchSystemFileHandleTest, ThePathAfterItsSecondCharacterIsTheStartOfTheName) {
    constexpr struct {
        const wchar_t* path;
        const wchar_t* name;
        bool matches;
    } matchCases[] = {
        {L"c:\\a\\b", L"\\a\\b", true},
        {L"c:/a/b", L"\\a\\b", true},
        {L"c:/a/b", L"/a/b", true},
        {L"c:\\a\\b", L"/a/b", false},
        {L"c:\\A\\b.TXT", L"\\a\\B.txt", true},
        {L"d:\\a", L"\\a", true},
        {L"??\\a", L"\\a", true},
        {L"\\\\server", L"server", true},
        {L"c:\\a", L"\\a\\b", true},
        {L"c:\\a", L"\\ab", true},
        {L"c:\\a\\b", L"\\a", false},
        {L"c:\\a", L"\\b", false},
        {L"c:\\a", L"", false},
        {L"c:\\a", L"c:\\a", false},
        {L"\\\\?\\c:\\a", L"\\a", false},
        {L"\\\\?\\c:\\a", L"\\c:\\a", false},
    };
    for (const auto& [path, name, matches] : matchCases) {
        const HeldFile file;
        Inspected system({{systemProcess, file.handle()}});
        system.inspector.mNtQueryInformationFile = answerName;
        gName = name;
        EXPECT_EQ(system.inspector.closeSystemFileHandle(path), matches)
            << std::string(path, path + lstrlenW(path));
        EXPECT_EQ(file.isFree(), matches);
    }
}

TEST(MatchSystemFileHandleTest, ThePathOfAFileWithItsPrefixFindsNothing) {
    const HeldFile file;
    Inspected system({{systemProcess, file.handle()}});
    EXPECT_FALSE(system.inspector.closeSystemFileHandle(L"\\\\?\\" + file.path()));
    EXPECT_FALSE(file.isFree());
}

TEST(MatchSystemFileHandleTest, APathWithNothingAfterItsDriveFindsNothing) {
    const HeldFile file;
    for (const wchar_t* path : {L"c:", L"c", L""}) {
        Inspected system({{systemProcess, file.handle()}});
        EXPECT_FALSE(system.inspector.closeSystemFileHandle(path));
    }
    EXPECT_FALSE(file.isFree());
}

}  // namespace
