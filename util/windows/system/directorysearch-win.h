#pragma once

#include <string>
#include <utility>

#include <windows.h>

/// Whether an entry of a listing is "." or "..".
[[nodiscard]] bool isDotEntry(const WIN32_FIND_DATAW& entry);

/// Owns the search handle of a directory listing.
///
///     WIN32_FIND_DATAW entry;
///     DirectorySearch search;
///     for (bool found = search.first(L"C:\\*", entry); found; found = search.next(entry)) { ... }
///
/// Only one thread at a time may use an object.
class [[nodiscard]] DirectorySearch {
public:
    DirectorySearch() = default;
    ~DirectorySearch() { close(); }
    /// Takes the listing over; `other` has none from then on.
    DirectorySearch(DirectorySearch&& other) noexcept
        : mHandle(std::exchange(other.mHandle, INVALID_HANDLE_VALUE)) {}
    /// Exchanges the listings.
    DirectorySearch& operator=(DirectorySearch&& other) noexcept {
        std::swap(mHandle, other.mHandle);
        return *this;
    }

    /// Begins a listing, and ends the one before, if there is one. Returns false, with the error in
    /// GetLastError, if that fails or if nothing matches. A pattern with a null character fails,
    /// since the part before that character would be another directory.
    [[nodiscard]] bool first(const std::wstring& pattern, WIN32_FIND_DATAW& entry);
    /// Moves on to the next entry. Returns false at the end, with ERROR_NO_MORE_FILES in
    /// GetLastError, or with another error there if the listing broke off.
    [[nodiscard]] bool next(WIN32_FIND_DATAW& entry);
    /// Ends the listing, if there is one.
    void close();

private:
    HANDLE mHandle = INVALID_HANDLE_VALUE;
};
