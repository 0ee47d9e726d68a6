// Reading and writing the security of files and other objects.

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>
#include <aclapi.h>
#include <sddl.h>

#include "testing/calls/refusedcall-win.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/counts/securitytest-win.h"
#include "testing/scopes/tempfolder.h"
#include "util/accessrights.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/security/securitydescriptor-win.h"
#include "util/windows/system-paths-win.h"

namespace {

using namespace testing_support;

constexpr SECURITY_INFORMATION ownerGroupDacl =
    OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
constexpr uint32_t unknownKind = ObjectKind::unknown;
constexpr uint32_t plain = ObjectKind::plainFile;
constexpr uint32_t directoryKind = ObjectKind::directory;
constexpr uint32_t pipeKind = ObjectKind::pipe;

class DescriptorFileTest : public SecurityTest {
protected:
    DescriptorFileTest() {
        // When the first descriptor is read, the system opens resources of its own.
        const SecurityDescriptor file(mFile, SE_FILE_OBJECT, /*withSacl=*/false);
        const SecurityDescriptor key("CURRENT_USER\\Software", SE_REGISTRY_KEY, /*withSacl=*/false);
    }

    TempFolder mFolder;
    const std::string mFile = mFolder.write("file", "text");
};

ScopedHandle open(const std::string& path, DWORD access = READ_CONTROL) {
    return ScopedHandle(CreateFileW(System::unicodePath(path).c_str(), access,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS, /*hTemplateFile=*/nullptr));
}

TEST_F(DescriptorFileTest, AFileAndADirectoryAreReadByPathAndDistinguished) {
    const SecurityDescriptor file(mFile, SE_FILE_OBJECT, /*withSacl=*/false);
    const SecurityDescriptor folder(mFolder.utf8(), SE_FILE_OBJECT, /*withSacl=*/false);
    for (const SecurityDescriptor* security : {&file, &folder}) {
        EXPECT_EQ(security->objectType(), SE_FILE_OBJECT);
        EXPECT_TRUE(security->owner().isValid());
        EXPECT_TRUE(security->group().isValid());
        EXPECT_TRUE(security->dacl().isValid());
        EXPECT_EQ(security->sacl().acl(), nullptr);
        EXPECT_FALSE(security->isAbsolute());
    }
    EXPECT_EQ(file.objectKind(), plain);
    EXPECT_EQ(folder.objectKind(), directoryKind);
}

TEST_F(DescriptorFileTest, AFileOfALongPathInUtf8IsRead) {
    const std::string name(200, 'n');
    const std::string folder = mFolder.utf8("\xC3\xA4" + name);
    ASSERT_TRUE(CreateDirectoryW(System::unicodePath(folder).c_str(), nullptr));
    const std::string inner = folder + "/" + name;
    ASSERT_TRUE(CreateDirectoryW(System::unicodePath(inner).c_str(), nullptr));
    EXPECT_EQ(SecurityDescriptor(inner, SE_FILE_OBJECT, /*withSacl=*/false).objectKind(),
              directoryKind);
}

TEST_F(DescriptorFileTest, AFileWhoseAttributesCannotBeReadIsAPlainOne) {
    static int calls;
    calls = 0;
    const ReplacedCall<decltype(GetFileAttributesW)> call("GetFileAttributesW",
                                                          [](LPCWSTR) -> DWORD {
                                                              ++calls;
                                                              SetLastError(ERROR_ACCESS_DENIED);
                                                              return INVALID_FILE_ATTRIBUTES;
                                                          });
    EXPECT_EQ(SecurityDescriptor(mFolder.utf8(), SE_FILE_OBJECT, false).objectKind(), plain);
    EXPECT_EQ(calls, 1);
}

TEST_F(DescriptorFileTest, AnObjectThatIsNoFileHasNoKindAndItsNameIsTakenAsItIs) {
    const SecurityDescriptor key("CURRENT_USER\\Software", SE_REGISTRY_KEY, /*withSacl=*/false);
    EXPECT_EQ(key.objectType(), SE_REGISTRY_KEY);
    EXPECT_EQ(key.objectKind(), unknownKind);
    EXPECT_TRUE(key.owner().isValid());
}

/// Records the arguments of the calls that read descriptors; they return a full descriptor.
struct Read {
    std::wstring name;
    HANDLE handle;
    SE_OBJECT_TYPE type;
    SECURITY_INFORMATION bits;
    bool wantsSacl;
};
Read gRead;

DWORD giveParts(PSID* owner, PSID* group, PACL* dacl, PACL* sacl, PSECURITY_DESCRIPTOR* given) {
    ConvertStringSecurityDescriptorToSecurityDescriptorW(L"O:BAG:SYD:(A;;FA;;;WD)S:(AU;SA;FA;;;WD)",
                                                         SDDL_REVISION_1, given, nullptr);
    BOOL ignored = FALSE;
    GetSecurityDescriptorOwner(*given, owner, &ignored);
    GetSecurityDescriptorGroup(*given, group, &ignored);
    GetSecurityDescriptorDacl(*given, &ignored, dacl, &ignored);
    gRead.wantsSacl = sacl != nullptr;
    if (sacl != nullptr) {
        GetSecurityDescriptorSacl(*given, &ignored, sacl, &ignored);
    }
    return ERROR_SUCCESS;
}

DWORD WINAPI readNamed(LPCWSTR name, SE_OBJECT_TYPE type, SECURITY_INFORMATION bits, PSID* owner,
                       PSID* group, PACL* dacl, PACL* sacl, PSECURITY_DESCRIPTOR* given) {
    gRead = {.name = name, .handle = nullptr, .type = type, .bits = bits, .wantsSacl = false};
    return giveParts(owner, group, dacl, sacl, given);
}

DWORD WINAPI readOpen(HANDLE handle, SE_OBJECT_TYPE type, SECURITY_INFORMATION bits, PSID* owner,
                      PSID* group, PACL* dacl, PACL* sacl, PSECURITY_DESCRIPTOR* given) {
    gRead = {.name = {}, .handle = handle, .type = type, .bits = bits, .wantsSacl = false};
    return giveParts(owner, group, dacl, sacl, given);
}

void expectFullParts(const SecurityDescriptor& security, bool withSacl) {
    EXPECT_EQ(gRead.bits, withSacl ? ownerGroupDacl | SACL_SECURITY_INFORMATION : ownerGroupDacl);
    EXPECT_EQ(gRead.wantsSacl, withSacl);
    EXPECT_EQ(security.owner().text(), "S-1-5-32-544");
    EXPECT_EQ(security.group().text(), "S-1-5-18");
    EXPECT_EQ(security.dacl().aceCount(), 1U);
    EXPECT_EQ(security.sacl().acl() != nullptr, withSacl);
}

// Without the fixture that counts memory: the last name stays in memory.

TEST(DescriptorCallTest, ANamedObjectIsAskedForOwnerGroupDaclAndIfWantedTheSacl) {
    const ReplacedCall<decltype(GetNamedSecurityInfoW)> call("GetNamedSecurityInfoW", readNamed);
    for (const bool withSacl : {false, true}) {
        expectFullParts(SecurityDescriptor("c:/a", SE_FILE_OBJECT, withSacl), withSacl);
        EXPECT_EQ(gRead.name, L"\\\\?\\c:\\a");
        EXPECT_EQ(gRead.type, SE_FILE_OBJECT);
        const SecurityDescriptor other("d/\xC3\xA4", SE_SERVICE, withSacl);
        expectFullParts(other, withSacl);
        EXPECT_EQ(gRead.name, L"d/\u00e4");
        EXPECT_EQ(gRead.type, SE_SERVICE);
        EXPECT_EQ(other.objectType(), SE_SERVICE);
        EXPECT_EQ(other.objectKind(), unknownKind);
    }
}

TEST(DescriptorCallTest, AnOpenObjectIsAskedForOwnerGroupDaclAndIfWantedTheSacl) {
    const ReplacedCall<decltype(GetSecurityInfo)> call("GetSecurityInfo", readOpen);
    for (const bool withSacl : {false, true}) {
        const SecurityDescriptor security(GetCurrentThread(), SE_KERNEL_OBJECT, withSacl);
        expectFullParts(security, withSacl);
        EXPECT_EQ(gRead.handle, GetCurrentThread());
        EXPECT_EQ(gRead.type, SE_KERNEL_OBJECT);
        EXPECT_EQ(security.objectType(), SE_KERNEL_OBJECT);
        EXPECT_EQ(security.objectKind(), unknownKind);
    }
}

uint32_t kindOf(HANDLE object) {
    const ReplacedCall<decltype(GetSecurityInfo)> call("GetSecurityInfo", readOpen);
    return SecurityDescriptor(object, SE_FILE_OBJECT, /*withSacl=*/false).objectKind();
}

TEST_F(DescriptorFileTest, TheKindOfAnOpenFileDirectoryPipeOrDeviceIsRecognized) {
    const ScopedHandle file = open(mFile);
    const ScopedHandle folder = open(mFolder.utf8());
    const ScopedHandle device = open("nul", GENERIC_READ);
    HANDLE pipe[2] = {};
    ASSERT_TRUE(CreatePipe(&pipe[0], &pipe[1], nullptr, 0));
    const ScopedHandle in(pipe[0]);
    const ScopedHandle out(pipe[1]);
    EXPECT_EQ(kindOf(file.get()), plain);
    EXPECT_EQ(kindOf(folder.get()), directoryKind);
    EXPECT_EQ(kindOf(in.get()), pipeKind);
    ASSERT_EQ(GetFileType(device.get()), DWORD{FILE_TYPE_CHAR});
    EXPECT_EQ(kindOf(device.get()), plain);
}

TEST_F(DescriptorFileTest, AnOpenDirectoryWhoseAttributesCannotBeReadIsAPlainFile) {
    const ScopedHandle folder = open(mFolder.utf8());
    const RefusedCall<decltype(GetFileInformationByHandle)> call("GetFileInformationByHandle",
                                                                 ERROR_ACCESS_DENIED);
    EXPECT_EQ(kindOf(folder.get()), plain);
}

TEST_F(DescriptorFileTest, TheDescriptorOfAnOpenFileIsThatOfItsPath) {
    const SecurityDescriptor byPath(mFile, SE_FILE_OBJECT, /*withSacl=*/false);
    const SecurityDescriptor byHandle(open(mFile).get(), SE_FILE_OBJECT, /*withSacl=*/false);
    EXPECT_EQ(byHandle.sddl(7), byPath.sddl(7));
    EXPECT_EQ(byHandle.objectType(), SE_FILE_OBJECT);
    EXPECT_EQ(byHandle.objectKind(), plain);
}

/// The arguments of the calls that write descriptors.
struct Written {
    std::wstring name;
    HANDLE handle;
    SE_OBJECT_TYPE type;
    SECURITY_INFORMATION bits;
    PSID owner, group;
    PACL dacl, sacl;
};
Written gWritten;

// NOLINTNEXTLINE(readability-non-const-parameter): Windows's signature.
DWORD WINAPI writeNamed(LPWSTR name, SE_OBJECT_TYPE type, SECURITY_INFORMATION bits, PSID owner,
                        PSID group, PACL dacl, PACL sacl) {
    gWritten = {name, nullptr, type, bits, owner, group, dacl, sacl};
    return ERROR_SUCCESS;
}

DWORD WINAPI writeOpen(HANDLE handle, SE_OBJECT_TYPE type, SECURITY_INFORMATION bits, PSID owner,
                       PSID group, PACL dacl, PACL sacl) {
    gWritten = {{}, handle, type, bits, owner, group, dacl, sacl};
    return ERROR_SUCCESS;
}

void expectWritten(const SecurityDescriptor& security, SECURITY_INFORMATION bits, bool withSacl,
                   SE_OBJECT_TYPE type) {
    EXPECT_EQ(gWritten.type, type);
    EXPECT_EQ(gWritten.bits, bits);
    EXPECT_EQ(gWritten.owner, security.owner().sid());
    EXPECT_EQ(gWritten.group, security.group().sid());
    EXPECT_EQ(gWritten.dacl, security.dacl().acl());
    EXPECT_EQ(gWritten.sacl, withSacl ? security.sacl().acl() : nullptr);
}

TEST(DescriptorCallTest, ThePartsThatAreThereAreWrittenAndTheSaclWhereWanted) {
    const ReplacedCall<decltype(SetNamedSecurityInfoW)> named("SetNamedSecurityInfoW", writeNamed);
    const ReplacedCall<decltype(SetSecurityInfo)> handle("SetSecurityInfo", writeOpen);
    struct Row {
        const char* text;
        SECURITY_INFORMATION bits, bitsWithSacl;
    };
    const Row rows[] = {{"O:BA", OWNER_SECURITY_INFORMATION, OWNER_SECURITY_INFORMATION},
                        {"G:SY", GROUP_SECURITY_INFORMATION, GROUP_SECURITY_INFORMATION},
                        {"D:(A;;FA;;;WD)", DACL_SECURITY_INFORMATION, DACL_SECURITY_INFORMATION},
                        {"S:(AU;SA;FA;;;WD)", 0, SACL_SECURITY_INFORMATION},
                        {"O:BAG:SYD:(A;;FA;;;WD)S:(AU;SA;FA;;;WD)", ownerGroupDacl,
                         ownerGroupDacl | SACL_SECURITY_INFORMATION}};
    for (const Row& row : rows) {
        const SecurityDescriptor security(row.text, SDDL_REVISION_1);
        for (const bool withSacl : {false, true}) {
            for (const SECURITY_INFORMATION further :
                 {SECURITY_INFORMATION{0},
                  SECURITY_INFORMATION{PROTECTED_DACL_SECURITY_INFORMATION |
                                       UNPROTECTED_DACL_SECURITY_INFORMATION}}) {
                const DWORD bits = (withSacl ? row.bitsWithSacl : row.bits) | further;
                security.write("c:/a/b", SE_FILE_OBJECT, withSacl, further);
                EXPECT_EQ(gWritten.name, L"\\\\?\\c:\\a\\b");
                expectWritten(security, bits, withSacl, SE_FILE_OBJECT);
                security.write("a/\xC3\xA4", SE_SERVICE, withSacl, further);
                EXPECT_EQ(gWritten.name, L"a/\u00e4");
                expectWritten(security, bits, withSacl, SE_SERVICE);
                security.write(GetCurrentThread(), SE_KERNEL_OBJECT, withSacl, further);
                EXPECT_EQ(gWritten.handle, GetCurrentThread());
                expectWritten(security, bits, withSacl, SE_KERNEL_OBJECT);
            }
        }
    }
}

TEST_F(DescriptorFileTest, WhatIsWrittenByPathIsReadAgain) {
    const SecurityIdentifier everyone("S-1-1-0");
    const SecurityDescriptor security("D:(A;;FR;;;WD)", SDDL_REVISION_1);
    security.write(mFile, SE_FILE_OBJECT, false, PROTECTED_DACL_SECURITY_INFORMATION);
    const SecurityDescriptor read(mFile, SE_FILE_OBJECT, false);
    EXPECT_TRUE(read.dacl().allows(everyone, FILE_GENERIC_READ, 0));
    EXPECT_FALSE(read.dacl().allows(everyone, FILE_WRITE_DATA, 0));
}

TEST_F(DescriptorFileTest, WhatIsWrittenToAHandleIsReadAgain) {
    const SecurityIdentifier everyone("S-1-1-0");
    const ScopedHandle file = open(mFile, READ_CONTROL | WRITE_DAC);
    for (const char* text : {"D:(A;;FR;;;WD)", "D:(A;;FRFW;;;WD)"}) {
        const SecurityDescriptor security(text, SDDL_REVISION_1);
        security.write(file.get(), SE_FILE_OBJECT, false, PROTECTED_DACL_SECURITY_INFORMATION);
        const SecurityDescriptor read(file.get(), SE_FILE_OBJECT, false);
        const bool isWritable = security.dacl().allows(everyone, FILE_WRITE_DATA, 0);
        EXPECT_TRUE(read.dacl().allows(everyone, FILE_READ_DATA, 0)) << text;
        EXPECT_EQ(read.dacl().allows(everyone, FILE_WRITE_DATA, 0), isWritable) << text;
    }
}

}  // namespace
