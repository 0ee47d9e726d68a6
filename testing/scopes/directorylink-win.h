#pragma once

#include <filesystem>
#include <string>

#include "testing/scopes/tempfolder.h"

namespace testing_support {

/// A link to a directory that shows as a reparse point: a junction, or under Wine, which makes none
/// but shows the symbolic links of the system below as such, one of those. Gone when the object
/// goes, which must be before its folder does.
class DirectoryLink {
public:
    /// Makes `link` in the folder lead to `target` in it; both names are ASCII. Throws
    /// std::runtime_error if it doesn't show in half a minute.
    DirectoryLink(const TempFolder& folder, const std::string& link, const std::string& target);
    ~DirectoryLink() { remove(); }
    DirectoryLink(const DirectoryLink&) = delete;
    DirectoryLink& operator=(const DirectoryLink&) = delete;

    /// Removes the link and nothing else, if it is there. Wine's own functions would remove what it
    /// leads to. False if it stays.
    bool remove() const;

private:
    std::filesystem::path mLink;
};

}  // namespace testing_support
