// Names for the security of directories. For the registry see securityattributes-win_test.cpp.

#include <atomic>
#include <cstddef>
#include <cwchar>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <aclapi.h>
#include <sddl.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/counts/processresources-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/stringpool.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/security/openfile-win.h"
#include "util/windows/security/securityattributes-win.h"
#include "util/windows/security/securitydescriptor-win.h"
#include "util/windows/system-paths-win.h"

namespace {

using namespace testing_support;

constexpr SECURITY_INFORMATION ownerGroupDacl = 7;

/// Replaces the inheritance of Windows, which the test bed lacks, until the scope ends: a child
/// gets the security of its parent.
class InheritingAll {
public:
    explicit InheritingAll(const wchar_t* sddl = nullptr) {
        sSddl = sddl;
        sContainers = 0;
        sFiles = 0;
    }

    int containers() const { return sContainers; }
    int files() const { return sFiles; }

private:
    static BOOL WINAPI create(PSECURITY_DESCRIPTOR parent, PSECURITY_DESCRIPTOR /*creator*/,
                              PSECURITY_DESCRIPTOR* created, GUID* /*type*/, BOOL isContainer,
                              ULONG /*flags*/, HANDLE /*token*/, PGENERIC_MAPPING /*mapping*/) {
        ++(isContainer ? sContainers : sFiles);
        if (sSddl != nullptr) {
            return ConvertStringSecurityDescriptorToSecurityDescriptorW(sSddl, SDDL_REVISION_1,
                                                                        created, nullptr);
        }
        const DWORD size = GetSecurityDescriptorLength(parent);
        *created = LocalAlloc(LMEM_FIXED, size);
        CopyMemory(*created, parent, size);
        return TRUE;
    }
    static BOOL WINAPI destroy(PSECURITY_DESCRIPTOR* created) {
        LocalFree(*created);
        *created = nullptr;
        return TRUE;
    }

    static inline const wchar_t* sSddl = nullptr;
    static inline std::atomic<int> sContainers{0};
    static inline std::atomic<int> sFiles{0};
    ReplacedCall<decltype(CreatePrivateObjectSecurityEx)> mCreate{"CreatePrivateObjectSecurityEx",
                                                                  create};
    ReplacedCall<decltype(DestroyPrivateObjectSecurity)> mDestroy{"DestroyPrivateObjectSecurity",
                                                                  destroy};
};

/// Creates a folder in `parent`.
std::string makeFolder(const TempFolder& parent, std::string_view name) {
    std::string path = parent.utf8(name);
    EXPECT_TRUE(CreateDirectoryW(System::unicodePath(path).c_str(), nullptr));
    return path;
}

/// Creates a folder to which everyone has full access.
std::string makeOpenFolder(const TempFolder& parent, std::string_view name) {
    std::string path = makeFolder(parent, name);
    SecurityDescriptor("D:P(A;OICI;FA;;;WD)", SDDL_REVISION_1)
        .write(path, SE_FILE_OBJECT, /*withSacl=*/false, PROTECTED_DACL_SECURITY_INFORMATION);
    return path;
}

const char* nameOf(const std::string& directory) {
    const char* name = nullptr;
    std::string error;
    EXPECT_TRUE(securityAttributesForDirectory(directory, name, &error)) << error;
    return name;
}

TEST(SecurityAttributesForDirectoryTest, TheNameIsThePooledTextOfTheSecurity) {
    const TempFolder folder;
    const char* const name = nameOf(folder.utf8());
    ASSERT_NE(name, nullptr);
    EXPECT_EQ(internString(name), name);
    const SECURITY_ATTRIBUTES* const found = findSecurityAttributes(name);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(SecurityDescriptor(found->lpSecurityDescriptor).sddl(ownerGroupDacl), name);
    EXPECT_FALSE(found->bInheritHandle);
}

TEST(SecurityAttributesForDirectoryTest, TheSecurityIsThatOfANewFileInTheDirectory) {
    const TempFolder folder;
    const InheritingAll inheriting;
    const std::string path = makeOpenFolder(folder, "open");
    const SecurityDescriptor security(path, SE_FILE_OBJECT, /*withSacl=*/false);
    EXPECT_EQ(nameOf(path), security.sddl(ownerGroupDacl));
    EXPECT_EQ(inheriting.files(), 1);
    EXPECT_EQ(inheriting.containers(), 0);
}

TEST(SecurityAttributesForDirectoryTest, FoldersWithEqualSecurityHaveOneNameAndOthersAnother) {
    const TempFolder folder;
    const InheritingAll inheriting;
    const char* const name = nameOf(makeFolder(folder, "a"));
    EXPECT_EQ(nameOf(makeFolder(folder, "b")), name);
    const char* const ofOpen = nameOf(makeOpenFolder(folder, "c"));
    EXPECT_EQ(nameOf(makeOpenFolder(folder, "d")), ofOpen);
    EXPECT_NE(ofOpen, name);
    EXPECT_NE(findSecurityAttributes(ofOpen), findSecurityAttributes(name));
}

TEST(SecurityAttributesForDirectoryTest, TheSecondTimeTheAttributesStayAsTheyAre) {
    const TempFolder folder;
    const SECURITY_ATTRIBUTES* const found = findSecurityAttributes(nameOf(folder.utf8()));
    ASSERT_NE(found, nullptr);
    const PSECURITY_DESCRIPTOR bytes = found->lpSecurityDescriptor;
    EXPECT_EQ(findSecurityAttributes(nameOf(folder.utf8())), found);
    EXPECT_EQ(found->lpSecurityDescriptor, bytes);
}

TEST(SecurityAttributesForDirectoryTest, OfADirectoryThatIsKnownNoMemoryIsKept) {
    const TempFolder folder;
    const auto grownBy = [&] {
        const size_t before = testing_support::heapBytes();
        for (int i = 0; i < 10; ++i) {
            nameOf(folder.utf8());
        }
        return testing_support::heapBytes() - before;
    };
    grownBy();
    EXPECT_EQ(grownBy(), 0U);
}

TEST(SecurityAttributesForDirectoryTest, AFileMadeWithTheNameGetsTheSecurity) {
    const TempFolder folder;
    const InheritingAll inheriting(L"D:P(A;;FR;;;WD)");
    const char* const name = nameOf(folder.utf8());
    const auto userMayWrite = [&](const char* file, const char* security) {
        const std::string path = folder.utf8(file);
        // NOLINTNEXTLINE(clang-analyzer-unix.API): not the C runtime's
        ScopedHandle(open(path, _O_CREAT, /*mode=*/0666, security)).release();
        const SecurityDescriptor made(path, SE_FILE_OBJECT, /*withSacl=*/false);
        return made.dacl().allows(SecurityIdentifier::currentUser(), FILE_WRITE_DATA,
                                  /*aceFlags=*/0);
    };
    EXPECT_FALSE(userMayWrite("named", name));
    EXPECT_TRUE(userMayWrite("plain", nullptr));
}

TEST(SecurityAttributesForDirectoryTest, ThePathIsUtf8AndOfAnyLength) {
    const TempFolder folder;
    std::string path = folder.utf8();
    for (int level = 0; level < 3; ++level) {
        path += "/\xE4\xB8\xAD" + std::string(100, 'd');
        ASSERT_TRUE(CreateDirectoryW(System::unicodePath(path).c_str(), nullptr));
    }
    EXPECT_NE(nameOf(path), nullptr);
}

TEST(SecurityAttributesForDirectoryTest, AMissingDirectoryIsReportedByItsPathAndTheFailure) {
    const TempFolder folder;
    const std::string path = folder.utf8("missing");
    const char* name = "as before";
    std::string error = "to be replaced";
    EXPECT_FALSE(securityAttributesForDirectory(path, name, &error));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    const std::string start = path + ": GetNamedSecurityInfoW: ";
    EXPECT_EQ(error.substr(0, start.size()), start);
    EXPECT_EQ(error.substr(error.size() - 4), " (2)");
    EXPECT_STREQ(name, "as before");
}

TEST(SecurityAttributesForDirectoryTest, WithoutAPlaceForTheMessageTheNumberIsThere) {
    const TempFolder folder;
    const char* name = nullptr;
    EXPECT_FALSE(securityAttributesForDirectory(folder.utf8("missing"), name));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
}

TEST(SecurityAttributesForDirectoryTest, OnSuccessTheTextForTheMessageIsLeftAlone) {
    const TempFolder folder;
    const char* name = nullptr;
    std::string error = "as before";
    EXPECT_TRUE(securityAttributesForDirectory(folder.utf8(), name, &error));
    EXPECT_EQ(error, "as before");
}

/// Returns the message and the error number of a failure for the folder.
std::pair<std::string, DWORD> failureOf(const std::string& directory) {
    const char* name = nullptr;
    std::string error;
    EXPECT_FALSE(securityAttributesForDirectory(directory, name, &error));
    return {error, GetLastError()};
}

TEST(SecurityAttributesForDirectoryTest, AFailureToDeriveIsReportedByItsCall) {
    const TempFolder folder;
    const ReplacedCall<decltype(CreatePrivateObjectSecurityEx)> failing(
        "CreatePrivateObjectSecurityEx",
        [](PSECURITY_DESCRIPTOR, PSECURITY_DESCRIPTOR, PSECURITY_DESCRIPTOR*, GUID*, BOOL, ULONG,
           HANDLE, PGENERIC_MAPPING) -> BOOL {
            SetLastError(ERROR_INVALID_OWNER);
            return FALSE;
        });
    const auto [words, number] = failureOf(folder.utf8());
    const std::string start = folder.utf8() + ": CreatePrivateObjectSecurityEx: ";
    EXPECT_EQ(words.substr(0, start.size()), start);
    EXPECT_EQ(number, static_cast<DWORD>(ERROR_INVALID_OWNER));
}

using ToSddl = decltype(ConvertSecurityDescriptorToStringSecurityDescriptorW);
constexpr const char* toSddl = "ConvertSecurityDescriptorToStringSecurityDescriptorW";

TEST(SecurityAttributesForDirectoryTest, AFailureToMakeTheTextIsReportedByItsCall) {
    const TempFolder folder;
    const ReplacedCall<ToSddl> failing(
        toSddl, [](PSECURITY_DESCRIPTOR, DWORD, SECURITY_INFORMATION, LPWSTR*, PULONG) -> BOOL {
            SetLastError(ERROR_INVALID_SECURITY_DESCR);
            return FALSE;
        });
    const auto [words, number] = failureOf(folder.utf8());
    const std::string start = folder.utf8() + ": " + toSddl + ": ";
    EXPECT_EQ(words.substr(0, start.size()), start);
    EXPECT_EQ(number, static_cast<DWORD>(ERROR_INVALID_SECURITY_DESCR));
}

using ReadSecurity = decltype(GetNamedSecurityInfoW);

TEST(SecurityAttributesForDirectoryTest, AFailureThatIsNoneOfWindowsHasTheNumberZero) {
    const TempFolder folder;
    const ReplacedCall<ReadSecurity> failing(
        "GetNamedSecurityInfoW", [](auto...) -> DWORD { throw std::runtime_error("the words"); });
    SetLastError(ERROR_INVALID_OWNER);
    const auto [words, number] = failureOf(folder.utf8());
    EXPECT_EQ(words, folder.utf8() + ": the words");
    EXPECT_EQ(number, 0U);
}

TEST(SecurityAttributesForDirectoryTest, AnOwnerWithoutAnAccountGivesAttributesWithoutDescriptor) {
    const TempFolder folder;
    const ReplacedCall<decltype(LookupAccountSidW)> notFound(
        "LookupAccountSidW",
        [](LPCWSTR, PSID, LPWSTR, LPDWORD, LPWSTR, LPDWORD, PSID_NAME_USE) -> BOOL {
            SetLastError(ERROR_NONE_MAPPED);
            return FALSE;
        });
    // Windows makes no text from a null descriptor.
    static PSECURITY_DESCRIPTOR printed;
    printed = &printed;
    const ReplacedCall<ToSddl> text(toSddl,
                                    [](PSECURITY_DESCRIPTOR given, DWORD, SECURITY_INFORMATION bits,
                                       LPWSTR* result, PULONG) -> BOOL {
                                        printed = given;
                                        *result = static_cast<LPWSTR>(LocalAlloc(LMEM_FIXED, 20));
                                        wcscpy(*result, bits == ownerGroupDacl ? L"no owner" : L"");
                                        return TRUE;
                                    });
    EXPECT_STREQ(nameOf(folder.utf8()), "no owner");
    EXPECT_EQ(printed, nullptr);
    const SECURITY_ATTRIBUTES* const found = findSecurityAttributes("no owner");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->lpSecurityDescriptor, nullptr);
}

TEST(SecurityAttributesForDirectoryTest, ThreadsThatAskForTwoFoldersGetTheirTwoNames) {
    constexpr size_t threadCount = 8;
    const TempFolder folder;
    const InheritingAll inheriting;
    const std::string paths[] = {makeFolder(folder, "usual"), makeOpenFolder(folder, "open")};
    std::vector<std::vector<const char*>> names(threadCount);
    {
        std::vector<std::jthread> threads;
        for (size_t thread = 0; thread < threadCount; ++thread) {
            threads.emplace_back([&paths, thread, &mine = names[thread]] {
                for (size_t i = 0; i < 20; ++i) {
                    const char* name = nullptr;
                    static_cast<void>(
                        securityAttributesForDirectory(paths[(i + thread) % 2], name));
                    mine.push_back(name);
                }
            });
        }
    }
    const char* const expected[] = {nameOf(paths[0]), nameOf(paths[1])};
    for (size_t thread = 0; thread < threadCount; ++thread) {
        for (size_t i = 0; i < 20; ++i) {
            ASSERT_EQ(names[thread][i], expected[(i + thread) % 2]);
        }
    }
}

TEST(SecurityAttributesDirectoryTest, OwnerGroupAndDaclOfAFileAreRead) {
    static SE_OBJECT_TYPE type;
    static SECURITY_INFORMATION bits;
    static bool hasSacl;
    const ReplacedCall<decltype(GetNamedSecurityInfoW)> call(
        "GetNamedSecurityInfoW",
        [](LPCWSTR, SE_OBJECT_TYPE askedType, SECURITY_INFORMATION askedBits, PSID*, PSID*, PACL*,
           PACL* sacl, PSECURITY_DESCRIPTOR*) -> DWORD {
            type = askedType;
            bits = askedBits;
            hasSacl = sacl != nullptr;
            return ERROR_ACCESS_DENIED;
        });
    const char* name = nullptr;
    EXPECT_FALSE(securityAttributesForDirectory("c:/", name));
    EXPECT_EQ(type, SE_FILE_OBJECT);
    EXPECT_EQ(bits, ownerGroupDacl);
    EXPECT_FALSE(hasSacl);
}

}  // namespace
