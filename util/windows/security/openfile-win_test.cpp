#include "util/windows/security/openfile-win.h"

#include <array>
#include <cstddef>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>
#include <sddl.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/counts/allocationcount.h"
#include "testing/scopes/tempfolder.h"
#include "util/stringpool.h"
#include "util/windows/existingfile-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/security/securityattributes-win.h"
#include "util/windows/security/securitydescriptor-win.h"
#include "util/windows/system-paths-win.h"

namespace {

using namespace testing_support;

constexpr int shareMode = 0666;

HANDLE open(const std::string& path, int flags, const char* name = nullptr, int mode = shareMode) {
    // NOLINTNEXTLINE(clang-analyzer-unix.API): not the C runtime's
    return ::open(path, flags, mode, name);
}

struct OpeningArguments {
    int calls = 0;
    std::wstring name;
    DWORD access = 0;
    DWORD share = 0;
    SECURITY_ATTRIBUTES* security = nullptr;
    DWORD disposition = 0;
    DWORD attributes = 0;
    HANDLE model = nullptr;
};

/// Records the arguments of CreateFileW until the scope ends. It opens nothing and fails with 5.
class RecordedOpening {
public:
    RecordedOpening() { sLast = {}; }

    const OpeningArguments& last() const { return sLast; }

private:
    static HANDLE WINAPI record(LPCWSTR name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* sec,
                                DWORD disposition, DWORD attributes, HANDLE model) {
        sLast = {sLast.calls + 1, name, access, share, sec, disposition, attributes, model};
        SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    }

    static inline OpeningArguments sLast;
    ReplacedCall<decltype(CreateFileW)> mCall{"CreateFileW", record};
};

struct Access {
    int flags;
    DWORD rights;
};
constexpr Access accesses[] = {
    {_O_RDONLY, GENERIC_READ},
    {_O_WRONLY, GENERIC_WRITE},
    {_O_RDWR, GENERIC_READ | GENERIC_WRITE},
    {3, 0},
};

struct Creation {
    int flags;
    DWORD disposition;
    bool opensOld;  ///< opens an existing file
    bool keepsOld;
    bool makesNew;
};
constexpr Creation creations[] = {
    {0, OPEN_EXISTING, true, true, false},
    {_O_EXCL, OPEN_EXISTING, true, true, false},
    {_O_TRUNC, TRUNCATE_EXISTING, true, false, false},
    {_O_TRUNC | _O_EXCL, TRUNCATE_EXISTING, true, false, false},
    {_O_CREAT, OPEN_ALWAYS, true, true, true},
    {_O_CREAT | _O_EXCL, CREATE_NEW, false, true, true},
    {_O_CREAT | _O_TRUNC, CREATE_ALWAYS, true, false, true},
    {_O_CREAT | _O_TRUNC | _O_EXCL, CREATE_NEW, false, true, true},
};

TEST(OpenFileTest, AccessAndCreationFollowTheFlagsAndAllElseIsFixed) {
    const RecordedOpening opening;
    const OpeningArguments& last = opening.last();
    int calls = 0;
    for (const Creation& creation : creations) {
        for (const Access& access : accesses) {
            for (const int without : {0, _O_BINARY, _O_APPEND, _O_BINARY | _O_APPEND}) {
                const int flags = creation.flags | access.flags | without;
                SCOPED_TRACE(flags);
                EXPECT_EQ(open("c:/file", flags), INVALID_HANDLE_VALUE);
                EXPECT_EQ(last.calls, ++calls);
                EXPECT_EQ(last.access, access.rights);
                EXPECT_EQ(last.disposition, creation.disposition);
                EXPECT_EQ(last.share, shareAll);
                EXPECT_EQ(last.attributes,
                          DWORD{FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN});
                EXPECT_EQ(last.security, nullptr);
                EXPECT_EQ(last.model, nullptr);
            }
        }
    }
}

TEST(OpenFileTest, TheModeIsNotRead) {
    const RecordedOpening opening;
    for (const int mode : {0, 0777, -1}) {
        open("c:/file", _O_CREAT, nullptr, mode);
        EXPECT_EQ(opening.last().attributes,
                  DWORD{FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN});
        EXPECT_EQ(opening.last().disposition, static_cast<DWORD>(OPEN_ALWAYS));
    }
}

TEST(OpenFileTest, ThePathGoesToWindowsInTheFormWithoutALimit) {
    const RecordedOpening opening;
    open("c:/a/../\xC3\xA9. ", 0);
    EXPECT_EQ(opening.last().name, L"\\\\?\\c:\\\u00E9");
}

TEST(OpenFileTest, UnknownFlagsAreRefusedByNameAndNothingIsOpened) {
    struct Row {
        int flags;
        const char* text;
    };
    const Row rows[] = {
        {0x10, "open received unknown flags 0x10"},
        {0x4, "open received unknown flags 0x4"},
        {0x800, "open received unknown flags 0x800"},
        {_O_TEXT | _O_NOINHERIT, "open received unknown flags 0x4080"},
        {0x10 | _O_CREAT | _O_RDWR | _O_BINARY, "open received unknown flags 0x10"},
        {0xABCDEF, "open received unknown flags 0xab48e4"},
        {-1, "open received unknown flags 0xffff78f4"},
    };
    const RecordedOpening opening;
    for (const Row& row : rows) {
        try {
            open("c:/file", row.flags);
            ADD_FAILURE() << row.text;
        } catch (const std::invalid_argument& failure) {
            EXPECT_STREQ(failure.what(), row.text);
        }
    }
    EXPECT_EQ(opening.last().calls, 0);
}

std::string contentOf(const std::string& path) {
    std::string content(100, '\0');
    const ScopedHandle file(open(path, _O_RDONLY));
    DWORD count = 0;
    if (!ReadFile(file.get(), content.data(), 100, &count, nullptr)) {
        return "can't be read";
    }
    content.resize(count);
    return content;
}

TEST(OpenFileTest, AFileThatIsThereIsOpenedEmptiedOrRefusedAsTheFlagsSay) {
    const TempFolder folder;
    for (const Creation& creation : creations) {
        for (const int access : {_O_RDONLY, _O_WRONLY, _O_RDWR, 3}) {
            const bool writes = access == _O_WRONLY || access == _O_RDWR;
            if (creation.disposition == TRUNCATE_EXISTING && !writes) {
                continue;  // tested below
            }
            SCOPED_TRACE(creation.flags | access);
            const std::string path = folder.write("file", "old");
            const ScopedHandle file(open(path, creation.flags | access));
            EXPECT_EQ(file.isOpen(), creation.opensOld);
            if (!creation.opensOld) {
                EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_EXISTS));
            }
            EXPECT_EQ(contentOf(path), creation.keepsOld ? "old" : "");
        }
    }
}

TEST(OpenFileTest, AFileIsNotEmptiedWithoutAccessToWrite) {
    const TempFolder folder;
    const std::string path = folder.write("file", "old");
    if (ScopedHandle(CreateFileW(System::unicodePath(path).c_str(), GENERIC_READ, 0, nullptr,
                                 TRUNCATE_EXISTING, 0, nullptr))
            .isOpen()) {
        GTEST_SKIP() << "this system empties files that are opened for reading";
    }
    for (const int access : {_O_RDONLY, 3}) {
        EXPECT_EQ(open(path, _O_TRUNC | access), INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    }
    EXPECT_EQ(contentOf(path), "old");
}

TEST(OpenFileTest, AMissingFileIsMadeOnlyWithTheCreateFlag) {
    const TempFolder folder;
    for (const Creation& creation : creations) {
        for (const int access : {_O_RDONLY, _O_WRONLY, _O_RDWR, 3}) {
            SCOPED_TRACE(creation.flags | access);
            const std::string path = folder.utf8(std::to_string(creation.flags | access));
            EXPECT_EQ(ScopedHandle(open(path, creation.flags | access)).isOpen(),
                      creation.makesNew);
            EXPECT_EQ(std::filesystem::exists(path), creation.makesNew);
        }
    }
}

bool write(HANDLE file, const std::string& text) {
    DWORD count = 0;
    return WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &count, nullptr) &&
           count == text.size();
}

TEST(OpenFileTest, AccessIsAsTheTwoLowBitsSay) {
    const TempFolder folder;
    const std::string path = folder.write("file", "text");
    for (const int access : {_O_RDONLY, _O_WRONLY, _O_RDWR, 3}) {
        const ScopedHandle file(open(path, access));
        ASSERT_TRUE(file.isOpen());
        std::array<char, 4> read;
        DWORD count = 0;
        EXPECT_EQ(ReadFile(file.get(), read.data(), 4, &count, nullptr) != FALSE,
                  access == _O_RDONLY || access == _O_RDWR);
        EXPECT_EQ(write(file.get(), "text"), access == _O_WRONLY || access == _O_RDWR);
    }
}

TEST(OpenFileTest, WritingBeginsAtTheStartAndWithTheAppendFlagAtTheEnd) {
    const TempFolder folder;
    const std::string path = folder.write("file", "12345");
    EXPECT_TRUE(write(ScopedHandle(open(path, _O_WRONLY)).get(), "ab"));
    EXPECT_EQ(contentOf(path), "ab345");
    EXPECT_TRUE(write(ScopedHandle(open(path, _O_WRONLY | _O_APPEND)).get(), "cd"));
    EXPECT_EQ(contentOf(path), "ab345cd");
}

TEST(OpenFileTest, TheAppendFlagGoesToTheEndOnce) {
    const TempFolder folder;
    const std::string path = folder.write("file", "12345");
    const ScopedHandle file(open(path, _O_WRONLY | _O_APPEND));
    ASSERT_EQ(SetFilePointer(file.get(), 1, nullptr, FILE_BEGIN), 1U);
    EXPECT_TRUE(write(file.get(), "ab"));
    EXPECT_EQ(contentOf(path), "1ab45");
}

TEST(OpenFileTest, AFailureToGoToTheEndIsNotExamined) {
    const TempFolder folder;
    const std::string path = folder.write("file", "12345");
    static int calls;
    calls = 0;
    const ReplacedCall<decltype(SetFilePointer)> failing("SetFilePointer",
                                                         [](HANDLE, LONG, LONG*, DWORD) -> DWORD {
                                                             ++calls;
                                                             SetLastError(ERROR_SEEK);
                                                             return INVALID_SET_FILE_POINTER;
                                                         });
    EXPECT_TRUE(ScopedHandle(open(path, _O_WRONLY | _O_APPEND)).isOpen());
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(open(folder.utf8("missing"), _O_APPEND), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(calls, 1);
}

TEST(OpenFileTest, WhatIsOpenMayBeReadWrittenRenamedAndDeletedByOthers) {
    const TempFolder folder;
    const std::string path = folder.write("file", "text");
    const ScopedHandle file(open(path, _O_RDWR));
    EXPECT_TRUE(ScopedHandle(open(path, _O_RDWR)).isOpen());
    const std::wstring name = System::unicodePath(path);
    const std::wstring other = System::unicodePath(folder.utf8("other"));
    EXPECT_TRUE(MoveFileW(name.c_str(), other.c_str()));
    EXPECT_TRUE(DeleteFileW(other.c_str()));
    EXPECT_TRUE(write(file.get(), "still open"));
}

TEST(OpenFileTest, AFailureStaysInGetLastError) {
    const TempFolder folder;
    EXPECT_EQ(open(folder.utf8("missing"), _O_RDONLY), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(open(folder.utf8("missing/file"), _O_CREAT), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
}

TEST(OpenFileTest, ADirectoryCannotBeOpened) {
    const TempFolder folder;
    EXPECT_EQ(open(folder.utf8(), _O_RDONLY), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

TEST(OpenFileTest, PathsOfAnyLengthAreOpened) {
    const TempFolder folder;
    std::string path = folder.utf8();
    for (int level = 0; level < 3; ++level) {
        path += '/' + std::string(100, 'd');
        ASSERT_TRUE(CreateDirectoryW(System::unicodePath(path).c_str(), nullptr));
    }
    path += "/\xE4\xB8\xAD";
    EXPECT_TRUE(write(ScopedHandle(open(path, _O_CREAT | _O_WRONLY)).get(), "far"));
    EXPECT_EQ(contentOf(path), "far");
}

TEST(OpenFileTest, ANameThatNothingHasGivesTheDefaultSecurity) {
    const TempFolder folder;
    const RecordedOpening opening;
    open("c:/file", _O_CREAT, "a name that nothing has");
    EXPECT_EQ(opening.last().calls, 1);
    EXPECT_EQ(opening.last().security, nullptr);
}

TEST(OpenFileTest, ANameIsLookedUpWithoutBeingPooled) {
    const TempFolder folder;
    const std::string path = folder.write("file", "text");
    const std::string name(1000, 'n');
    const auto allocations = [&](const char* given) {
        const size_t before = allocationCount();
        ScopedHandle(open(path, _O_RDONLY, given)).release();
        return allocationCount() - before;
    };
    allocations("the registry is made");
    const size_t usual = allocations(nullptr);
    EXPECT_EQ(allocations(name.c_str()), usual);
    const size_t before = allocationCount();
    static_cast<void>(internString(name.c_str()));
    EXPECT_GT(allocationCount(), before);
}

/// Registers the security of an SDDL text under a name.
void addSecurity(const char* name, const char* sddl) {
    SecurityAttributesRegistry::instance().add(
        HashedText(internString(name)),
        std::make_unique<SecurityDescriptor>(sddl, SDDL_REVISION_1));
}

TEST(OpenFileTest, ANameThatIsKnownGivesItsAttributesWhereverItIs) {
    addSecurity("known name", "D:P(A;;FA;;;WD)");
    SECURITY_ATTRIBUTES* const attributes = findSecurityAttributes("known name");
    ASSERT_NE(attributes, nullptr);
    const RecordedOpening opening;
    open("c:/file", _O_CREAT, internString("known name"));
    EXPECT_EQ(opening.last().security, attributes);
    open("c:/file", _O_CREAT, std::string("known name").c_str());
    EXPECT_EQ(opening.last().security, attributes);
}

bool userMayWrite(const std::string& path) {
    const SecurityDescriptor security(path, SE_FILE_OBJECT, /*withSacl=*/false);
    return security.dacl().allows(SecurityIdentifier::currentUser(), FILE_WRITE_DATA,
                                  /*aceFlags=*/0);
}

TEST(OpenFileTest, AFileThatIsMadeGetsTheSecurityThatHasTheName) {
    addSecurity("everyone may only read", "D:P(A;;FR;;;WD)");
    const TempFolder folder;
    const std::string named = folder.utf8("named");
    const std::string plain = folder.utf8("plain");
    ScopedHandle(open(named, _O_CREAT, "everyone may only read")).release();
    ScopedHandle(open(plain, _O_CREAT)).release();
    EXPECT_FALSE(userMayWrite(named));
    EXPECT_TRUE(userMayWrite(plain));
}

}  // namespace
