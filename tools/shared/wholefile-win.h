#pragma once

#include <string>

namespace tools {

/// Writes a file that is whole or not there: the text goes to a file with another name beside it,
/// reaches the disk and then gets the name. A process that is stopped leaves at most a file with
/// that other name, which Windows removes unless the text was whole by then. A file with the name
/// is replaced, or without `replace` makes it fail. A file that another process has open for a
/// moment is tried again for that long. Throws std::runtime_error with a message of one line that
/// ends with `advice`: what to do.
void writeWholeFile(const std::string& file, const std::string& text, bool replace,
                    const char* advice = "name another file");

}  // namespace tools
