#include <string>
#include <vector>

#include <windows.h>
#include <aclapi.h>

#include "testing/benchmark/comparison.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/security/securitydescriptor-win.h"
#include "util/windows/system-paths-win.h"

namespace {

/// The unavoidable work, for a path that is already in Windows's form: reads and frees the
/// descriptor, and checks whether the file is a directory.
bool readBare(const std::wstring& name) {
    PSID owner = nullptr;
    PSID group = nullptr;
    PACL dacl = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD error = GetNamedSecurityInfoW(
        name.c_str(), SE_FILE_OBJECT,
        OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner,
        &group, &dacl, /*ppSacl=*/nullptr, &descriptor);
    const bool isDirectory = (GetFileAttributesW(name.c_str()) & FILE_ATTRIBUTE_DIRECTORY) != 0;
    LocalFree(descriptor);
    return error == ERROR_SUCCESS && !isDirectory;
}

TEST(Benchmark, SecurityDescriptorOfFiles) {
    constexpr size_t files = 1000;
    const testing_support::TempFolder folder;
    std::vector<std::string> paths;
    std::vector<std::wstring> names;
    for (size_t file = 0; file < files; ++file) {
        paths.push_back(folder.write("file" + std::to_string(file), "text"));
        names.push_back(System::unicodePath(paths.back()));
    }
    EXPECT_TRUE(readBare(names.front()));
    EXPECT_TRUE(SecurityDescriptor(paths.front(), SE_FILE_OBJECT, /*withSacl=*/false).isValid());
    benchmark::compareEach(
        {"descriptors of 1,000 files", "GetNamedSecurityInfoW, GetFileAttributesW", 1.1,
         /*rounds=*/5},
        files,
        [&](size_t file) {
            const SecurityDescriptor security(paths[file], SE_FILE_OBJECT, /*withSacl=*/false);
        },
        [&](size_t file) { readBare(names[file]); });
}

}  // namespace
