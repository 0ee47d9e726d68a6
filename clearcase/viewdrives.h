#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

/// Whether `text` is an upper-case ASCII letter and a colon.
constexpr bool isUpperDrive(std::string_view text) {
    return text.size() == 2 && text[0] >= 'A' && text[0] <= 'Z' && text[1] == ':';
}

/// Which upper-case letters are drives of views: spares the search in a map of them.
class DriveLetters {
public:
    /// Of no map.
    DriveLetters() = default;
    explicit DriveLetters(const std::map<std::string, std::string>& viewDrives);

    /// Whether `drive` is a key of `viewDrives`, the map that the letters are of, which has not
    /// changed since. Without one the map is searched.
    bool isKey(std::string_view drive, const std::map<std::string, std::string>& viewDrives) const;

private:
    uint32_t mLetters = 0;  ///< bit 0 is for `A:`
    bool mIsOfMap = false;
};

/// Takes one network connection into account. One of another provider than "ClearCase Dynamic
/// Views" counts for nothing. One to `\\view` makes its local name, in upper case, the MVFS drive.
/// Of any other the local name, in upper case, leads to the view tag, which is what follows
/// `\\view\`: seven characters that are cut off unread, so that a remote name of fewer leaves an
/// empty tag. Later connections replace earlier ones. Null counts as an empty text.
void takeConnection(const char* localName, const char* remoteName, const char* provider,
                    std::string& mvfsRoot, std::map<std::string, std::string>& viewDrives);
