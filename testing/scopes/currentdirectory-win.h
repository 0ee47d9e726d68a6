#pragma once

#include <filesystem>

namespace testing_support {

/// Restores the process's current directory when the scope ends. Before that, changes it to
/// `directory` if one is given. The process uses that directory until the scope ends.
class [[nodiscard]] CurrentDirectory {
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
