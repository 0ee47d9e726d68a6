#pragma once

#include <filesystem>
#include <string>

#include "testing/scopes/tempfolder.h"

namespace testing_support {

/// A link to a directory: a junction on Windows. Wine can't create these, but shows symbolic links
/// of its host system as reparse points, so under Wine it is one of those.
/// The link is removed when the object is destroyed, which must be before its folder is.
class [[nodiscard]] DirectoryLink {
public:
    /// Makes `link` in the folder lead to `target` in it; both names are ASCII. Throws
    /// std::runtime_error if the link doesn't show within half a minute.
    DirectoryLink(const TempFolder& folder, const std::string& link, const std::string& target);
    ~DirectoryLink() { static_cast<void>(remove()); }  // a test may have removed it
    DirectoryLink(const DirectoryLink&) = delete;
    DirectoryLink& operator=(const DirectoryLink&) = delete;

    /// Removes only the link, if it exists. Wine's own functions would remove what it leads to.
    /// Returns false if the link stays.
    [[nodiscard]] bool remove() const;

private:
    std::filesystem::path mLink;
};

}  // namespace testing_support
