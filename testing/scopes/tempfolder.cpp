#include "testing/scopes/tempfolder.h"

#include <atomic>
#include <chrono>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace testing_support {
namespace {

namespace fs = std::filesystem;

fs::path fromUtf8(std::string_view text) {
    return fs::path(std::u8string(text.begin(), text.end()));
}

std::string toUtf8Slashes(const fs::path& path) {
    const std::u8string text = path.generic_u8string();
    return std::string(text.begin(), text.end());
}

}  // namespace

TempFolder::TempFolder() {
    static std::atomic<unsigned> counter{0};
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    do {
        mPath = fs::temp_directory_path() /
                ("nbcc-" + std::to_string(now) + "-" + std::to_string(counter++));
    } while (!fs::create_directory(mPath));
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    for (fs::recursive_directory_iterator entry(mPath, ignored), end; entry != end;
         entry.increment(ignored)) {
        if (!entry->is_symlink(ignored)) {
            fs::permissions(entry->path(), fs::perms::owner_write, fs::perm_options::add, ignored);
        }
    }
    fs::remove_all(mPath, ignored);
}

std::string TempFolder::utf8(std::string_view name) const {
    return toUtf8Slashes(name.empty() ? mPath : mPath / fromUtf8(name));
}

std::string TempFolder::write(std::string_view name, std::string_view content) const {
    std::ofstream file(mPath / fromUtf8(name), std::ios::binary);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    file.close();
    if (!file) {
        throw std::runtime_error("can't write " + utf8(name));
    }
    return utf8(name);
}

}  // namespace testing_support
