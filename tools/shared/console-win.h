#pragma once

// The command line and the standard streams of a program for the console. Text is UTF-8.

#include <string>
#include <vector>

namespace tools {

/// Until it is destroyed, the console takes output as UTF-8. The standard streams pass bytes on
/// unchanged from then on, and a failed load of a library opens no window. At most one object.
class [[nodiscard]] Console {
public:
    Console();
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

private:
    unsigned int mCodePage;
};

/// Returns the arguments after the program's name.
[[nodiscard]] std::vector<std::string> programArguments();

/// Writes `text` to standard output, at once. Throws std::runtime_error if that fails.
void printText(const std::string& text);

}  // namespace tools
