#include <algorithm>
#include <chrono>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

#include <windows.h>
// Behind windows.h.
#include <aclapi.h>

#include "testing/benchmark/comparison.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/security/securitydescriptor-win.h"
#include "util/windows/system-paths-win.h"

namespace {

/// What there is no way around, with the path in the form for Windows already: the descriptor is
/// read and freed, and the file told from a directory.
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

/// Sums up, over the files, the smallest of the times that each has taken.
class SmallestTimes {
public:
    explicit SmallestTimes(size_t files) : mTimes(files, std::numeric_limits<double>::max()) {}

    template <class Function>
    void measure(size_t file, Function function) {
        mTimes[file] = std::min(mTimes[file], benchmark::timeOf(function));
    }
    double sum() const { return std::accumulate(mTimes.begin(), mTimes.end(), 0.0); }

private:
    std::vector<double> mTimes;
};

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
    // File by file in turns: the system answers for whole seconds several times slower.
    SmallestTimes ours(files);
    SmallestTimes bare(files);
    benchmark::Comparison comparison(
        {"descriptors of 1,000 files", "GetNamedSecurityInfoW, GetFileAttributesW", 1.1});
    while (comparison.goesOn()) {
        for (size_t file = 0; file < files; ++file) {
            ours.measure(file, [&] {
                const SecurityDescriptor security(paths[file], SE_FILE_OBJECT, /*withSacl=*/false);
            });
            bare.measure(file, [&] { readBare(names[file]); });
        }
        comparison.recordOurs(ours.sum());
        comparison.recordPeers(bare.sum());
    }
}

}  // namespace
