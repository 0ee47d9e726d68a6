#pragma once

#include <functional>
#include <iosfwd>
#include <string>

#include "clearcase/clearcaseconnection.h"
#include "tools/ccquery/ask.h"
#include "tools/ccquery/commandline.h"
#include "tools/ccquery/explanation.h"

namespace ccquery {

/// What `askPaths` needs from the program around it.
struct PathSurroundings {
    /// Standard input: the paths in place of a path "-". A byte order mark in front of it is left
    /// out.
    std::istream& input;
    /// Makes a path of `status` absolute, or throws std::exception.
    std::function<std::string(const std::string&)> complete;
    /// Writes to standard output at once. What it throws ends the query.
    std::function<void(const std::string&)> print;
    /// Writes a message of one line to standard error.
    std::function<void(const std::string&)> complain;
    /// Explains each answer, if it isn't empty.
    Explain explain = nullptr;
};

/// Puts a query with paths to the connection, path by path. Each answer is a line of JSON, or the
/// table is printed at the end. If a path is "-", each answer is printed before the next path is
/// read, and the columns of the table are separated by a tab. A path that can't be asked about,
/// that has a null character, or for which the connection throws, causes a complaint; the others
/// are answered.
///
/// If answers are explained, each is printed before the next path is asked about: an object with
/// the additional field "explanation", or the answer's line and below it the indented explanation.
///
/// Returns exitNoAnswer after a complaint, otherwise exitComplaints if an answer isn't the one that
/// is explained, otherwise exitAnswered. Throws std::runtime_error if `input` fails.
[[nodiscard]] ExitCode askPaths(ClearCaseConnection& connection, const Query& query,
                                const PathSurroundings& surroundings);

}  // namespace ccquery
