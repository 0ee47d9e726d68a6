#include "clearcase/viewdrives.h"

#include <cstddef>
#include <string_view>

#include "util/stringutilities.h"

namespace {

constexpr std::string_view viewProvider = "ClearCase Dynamic Views";
constexpr std::string_view mvfsServer = "\\\\view";
constexpr size_t viewTagOffset = mvfsServer.size() + 1;

std::string textOf(const char* text) { return text == nullptr ? "" : text; }

uint32_t bitOf(std::string_view drive) { return uint32_t{1} << (drive[0] - 'A'); }

}  // namespace

DriveLetters::DriveLetters(const std::map<std::string, std::string>& viewDrives) : mIsOfMap(true) {
    for (const auto& [drive, tag] : viewDrives) {
        mLetters |= isUpperDrive(drive) ? bitOf(drive) : 0;
    }
}

bool DriveLetters::isKey(std::string_view drive,
                         const std::map<std::string, std::string>& viewDrives) const {
    // Speed: Benchmark.CanonicalizeViewPath
    if (mIsOfMap && isUpperDrive(drive)) {
        return (mLetters & bitOf(drive)) != 0;
    }
    return viewDrives.count(std::string(drive)) != 0;
}

void takeConnection(const char* localName, const char* remoteName, const char* provider,
                    std::string& mvfsRoot, std::map<std::string, std::string>& viewDrives) {
    if (textOf(provider) != viewProvider) {
        return;
    }
    std::string drive = textOf(localName);
    toUpper(drive);
    const std::string remote = textOf(remoteName);
    if (remote == mvfsServer) {
        mvfsRoot = drive;
    } else {
        viewDrives[drive] = remote.size() < viewTagOffset ? "" : remote.substr(viewTagOffset);
    }
}
