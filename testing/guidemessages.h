#pragma once

// The messages that docs/guide.md lists where it says why a host stops.

namespace testing_support::guidemessages {

inline constexpr const char* assertion = "assertion failed at FILE(LINE): EXPRESSION";
inline constexpr const char* notMoved = "Couldn't make PATH relative to ROUTE!";

// Those that only a library itself writes, on Windows.
inline constexpr const char* badDriveList =
    "ccdrives_provider: the list of drives can't be understood; see ccdrives list";
inline constexpr const char* noDriveList =
    "ccdrives_provider: the list of drives can't be read; see ccdrives list";
inline constexpr const char* noSockets = "nbclearcase:  WSAStartup: ...";
inline constexpr const char* noLookup =
    "nbclearcase:  initialization error looking up MVFS drives: ...";
inline constexpr const char* noJournal = "nbclearcase_journal:  can't write 'FILE': ...";
inline constexpr const char* noLibrary = "nbclearcase_journal:  ... by NBCLEARCASE_JOURNAL_LIBRARY";

}  // namespace testing_support::guidemessages
