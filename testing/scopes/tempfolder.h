#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace testing_support {

/// A new folder of the test's own in the system's temporary folder. The destructor removes it with
/// its content, including read-only files. A process that is stopped leaves its folder behind.
class [[nodiscard]] TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& path() const { return mPath; }
    /// Returns the folder's path, or the path of `name` (UTF-8) in it, as UTF-8 with forward
    /// slashes.
    std::string utf8(std::string_view name = {}) const;
    /// Writes a file byte for byte (no line end is translated) and returns `utf8(name)`.
    std::string write(std::string_view name, std::string_view content) const;

private:
    std::filesystem::path mPath;
};

}  // namespace testing_support
