// Security copied between real files, and the calls of copySecurity that don't compile.

#include <string>

#include <gtest/gtest.h>

#include <windows.h>
#include <sddl.h>

#include "testing/scopes/tempfolder.h"
#include "util/platform/errortext-win.h"
#include "util/windows/security/securitydescriptor-win.h"
#include "util/windows/system/filesecurity-win.h"

namespace {

using namespace testing_support;

template <class Path>
void expectThatATextIsNoProtection() {
    EXPECT_FALSE((requires(Path path, std::string & text) { copySecurity(path, path, &text); }));
    EXPECT_FALSE((requires(Path path) { copySecurity(path, path, nullptr); }));
    EXPECT_TRUE((requires(Path path, std::string & text) {
        copySecurity(path, path, true);
        copySecurity(path, path, FALSE);
        copySecurity(path, path, false, &text);
        copySecurity(path, path, 0, nullptr);
    }));
}

TEST(CopySecurityCallTest, TheTextForAnErrorIsNotTakenForProtection) {
    expectThatATextIsNoProtection<std::string>();
    expectThatATextIsNoProtection<const char*>();
}

TEST(RealCopySecurityTest, TheTargetIsAsOpenAsTheSource) {
    const TempFolder folder;
    const SecurityIdentifier everyone("S-1-1-0");
    const std::string source = folder.write("source", "x");
    const std::string target = folder.write("target", "x");
    for (const char* text : {"D:(A;;FR;;;WD)", "D:(A;;FRFW;;;WD)"}) {
        const SecurityDescriptor given(text, SDDL_REVISION_1);
        given.write(source, SE_FILE_OBJECT, false, PROTECTED_DACL_SECURITY_INFORMATION);
        ASSERT_TRUE(copySecurity(source, target, /*protect=*/true));
        const SecurityDescriptor read(target, SE_FILE_OBJECT, /*withSacl=*/false);
        EXPECT_TRUE(read.dacl().allows(everyone, FILE_READ_DATA, 0)) << text;
        EXPECT_EQ(read.dacl().allows(everyone, FILE_WRITE_DATA, 0),
                  given.dacl().allows(everyone, FILE_WRITE_DATA, 0))
            << text;
    }
}

TEST(RealCopySecurityTest, AFileThatIsMissingIsReportedByItsNumber) {
    const TempFolder folder;
    const std::string file = folder.write("file", "x");
    const std::string missing = folder.utf8("missing");
    std::string error;
    EXPECT_FALSE(copySecurity(missing, file, /*protect=*/false, &error));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(error, win32ErrorText("GetNamedSecurityInfoW", ERROR_FILE_NOT_FOUND));
    EXPECT_FALSE(copySecurity(file, missing, /*protect=*/false, &error));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(error, win32ErrorText("SetNamedSecurityInfo", ERROR_FILE_NOT_FOUND));
}

}  // namespace
