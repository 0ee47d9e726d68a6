#pragma once

#include <filesystem>

namespace testing_support {

/// Puts the process's current directory back where it was, and leads it elsewhere before that if it
/// is told so. The directory is in use by the process meanwhile.
class CurrentDirectory {
public:
    CurrentDirectory() : mBefore(std::filesystem::current_path()) {}
    explicit CurrentDirectory(const std::filesystem::path& directory) : CurrentDirectory() {
        std::filesystem::current_path(directory);
    }
    ~CurrentDirectory() {
        std::error_code ignored;
        std::filesystem::current_path(mBefore, ignored);
    }
    CurrentDirectory(const CurrentDirectory&) = delete;
    CurrentDirectory& operator=(const CurrentDirectory&) = delete;

private:
    std::filesystem::path mBefore;
};

}  // namespace testing_support
