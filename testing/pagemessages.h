#pragma once

// The messages of ccquery that docs/ccquery.md lists.

#include <array>

namespace testing_support {

/// Those that only the program itself writes, on Windows.
inline constexpr std::array<const char*, 8> messagesOfWindows = {
    "can't load 'FILE': REASON; name a connection library by --library FILE",
    "'FILE' is no connection library: it doesn't export ClearCaseImplCtor; name another by "
    "--library FILE",
    "'FILE' made no connection; if it doesn't say why above, name another by --library FILE",
    "can't read the configuration 'FILE': REASON; name another by --config FILE",
    "can't read the configuration 'FILE': REASON; name another by check FILE",
    "'PATH' can't be made an absolute path; name a drive, or a server and a share",
    "can't read standard input; make it a file or a pipe",
    "can't write to standard output; make room there, or write to another file",
};

/// Of `canonicalize --explain`, which goes on after it.
inline constexpr const char* messageWithoutDrives = "the explanations know no drives: REASON";

}  // namespace testing_support
