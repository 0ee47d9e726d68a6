#pragma once

#include <string>
#include <utility>

#include <windows.h>

/// Whether a listing's entry is the folder itself or the one above.
bool isDotEntry(const WIN32_FIND_DATAW& entry);

/// Owns the search handle of a directory listing.
///
///     WIN32_FIND_DATAW entry;
///     DirectorySearch search;
///     for (bool found = search.first(L"C:\\*", entry); found; found = search.next(entry)) { ... }
///
/// One thread at a time.
class DirectorySearch {
public:
    DirectorySearch() = default;
    ~DirectorySearch() { close(); }
    DirectorySearch(DirectorySearch&& other) noexcept
        : mHandle(std::exchange(other.mHandle, INVALID_HANDLE_VALUE)) {}
    DirectorySearch& operator=(DirectorySearch&& other) noexcept {
        std::swap(mHandle, other.mHandle);
        return *this;
    }

    /// Begins a listing, once for each object. False, with the failure in GetLastError, if it can't
    /// or if nothing matches. A null character in the pattern is a failure: what stands in front of
    /// it would be another directory.
    bool first(const std::wstring& pattern, WIN32_FIND_DATAW& entry);
    /// False, with ERROR_NO_MORE_FILES in GetLastError, at the end; with another error there, if
    /// the listing broke off.
    bool next(WIN32_FIND_DATAW& entry);
    /// Ends the listing, if there is one.
    void close();

private:
    HANDLE mHandle = INVALID_HANDLE_VALUE;
};
