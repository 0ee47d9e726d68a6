#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

/// Whether `text` is an upper-case ASCII letter and a colon.
[[nodiscard]] constexpr bool isUpperDrive(std::string_view text) {
    return text.size() == 2 && text[0] >= 'A' && text[0] <= 'Z' && text[1] == ':';
}

/// Which upper-case letters are drives of views. Saves searching a map of these drives.
class DriveLetters {
public:
    /// Made from no map: `isKey` then searches the map that it is given.
    DriveLetters() = default;
    explicit DriveLetters(const std::map<std::string, std::string>& viewDrives);

    /// Returns whether `drive` is a key of `viewDrives`. If this object was made from a map, it
    /// must be that map, unchanged since.
    [[nodiscard]] bool isKey(std::string_view drive,
                             const std::map<std::string, std::string>& viewDrives) const;

private:
    uint32_t mLetters = 0;  ///< bit 0 is for `A:`
    bool mIsOfMap = false;
};

/// Takes one network connection into account. Connections of providers other than "ClearCase
/// Dynamic Views" are ignored.
///
///     remote name     effect
///     \\view          the local name, in upper case, becomes `mvfsRoot`
///     \\view\tag1     `viewDrives` maps the local name, in upper case, to "tag1"
///
/// Every remote name other than `\\view` is treated as in the second line. The first seven
/// characters are cut off without being checked, so a shorter name gives an empty tag. Later
/// connections replace earlier ones. Null counts as an empty text.
void takeConnection(const char* localName, const char* remoteName, const char* provider,
                    std::string& mvfsRoot, std::map<std::string, std::string>& viewDrives);
