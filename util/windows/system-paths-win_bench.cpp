#include <array>

#include <windows.h>

#include "testing/benchmark/comparison.h"
#include "util/windows/system-paths-win.h"

namespace {

/// What the system does for a path that it parses itself.
size_t convertAndFold(const std::string& path) {
    std::array<wchar_t, 260> wide;
    const int size =
        MultiByteToWideChar(CP_UTF8, /*dwFlags=*/0, path.c_str(), static_cast<int>(path.size() + 1),
                            wide.data(), static_cast<int>(wide.size()));
    std::array<wchar_t, 260> folded;
    return static_cast<size_t>(size) + GetFullPathNameW(wide.data(),
                                                        static_cast<DWORD>(folded.size()),
                                                        folded.data(), /*lpFilePart=*/nullptr);
}

TEST(Benchmark, SystemUnicodePath) {
    const std::string path = "C:\\work tree\\src\\util\\windows\\system-paths-win.cpp";
    benchmark::compare(
        {"System::unicodePath", "MultiByteToWideChar, GetFullPathNameW", 0.7},
        [&] { return System::unicodePath(path).size(); }, [&] { return convertAndFold(path); });
}

TEST(Benchmark, SystemUnicodePathWithBlanks) {
    // The run of blanks doesn't end the name, so it could be tried from each of its positions.
    const std::string blanks = "C:/x" + std::string(32'000, ' ') + "x./y";
    const std::string letters = "C:/x" + std::string(32'000, 'b') + "xb/y";
    benchmark::compare(
        {"System::unicodePath, 32,000 blanks", "the same without a blank", 4.0},
        [&] { return System::unicodePath(blanks).size(); },
        [&] { return System::unicodePath(letters).size(); });
}

}  // namespace
