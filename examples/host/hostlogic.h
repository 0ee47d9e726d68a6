#pragma once

// A bit of a build tool: what it has to do before a build step writes a file.

#include <string>

#include "clearcase/clearcaseconnection.h"

enum class BeforeWrite {
    nothing,   ///< the user's own file, a result of a build, or one that is checked out
    checkOut,  ///< a version, which nobody may write
    refuse,    ///< no file: a directory, an element of an unknown type, or links without an end
};

struct WritePlan {
    BeforeWrite action;
    std::string path;  ///< the file to be written, at the end of all links
};

/// Asks about the file at `path`, which must be absolute. Follows symbolic links, at most 40; links
/// in the folders of the path aren't followed.
[[nodiscard]] WritePlan planWrite(ClearCaseConnection& connection, const std::string& path);

/// Returns the plan as one line for people, without a line end.
[[nodiscard]] std::string describe(const WritePlan& plan);
