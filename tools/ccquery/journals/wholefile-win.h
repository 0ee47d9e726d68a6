#pragma once

#include <string>

namespace ccquery {

/// Writes a file that is whole or not there: the text goes to a file with another name beside it,
/// reaches the disk and then gets the name. A process that is stopped leaves at most a file with
/// that other name, which Windows removes unless the text was whole by then. A file with the name
/// is replaced, or without `replace` makes it fail. Throws std::runtime_error with a message of one
/// line that says what to do.
void writeWholeFile(const std::string& file, const std::string& text, bool replace);

}  // namespace ccquery
