#pragma once

// The command line and the standard streams of a program for the console. Text is UTF-8.

#include <string>
#include <vector>

#include "tools/shared/painter.h"

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

/// Until it is destroyed, standard output shows colours if it is a console that can, unless colours
/// are forbidden by `json` or by NO_COLOR (see mayPaint). Then the console's mode is as it was.
class [[nodiscard]] ConsoleColours {
public:
    explicit ConsoleColours(bool json);
    ~ConsoleColours();
    ConsoleColours(const ConsoleColours&) = delete;
    ConsoleColours& operator=(const ConsoleColours&) = delete;

    /// Paints if colours are shown.
    [[nodiscard]] Painter painter() const { return Painter(mConsole != nullptr); }

private:
    void* mConsole = nullptr;  ///< whose mode is changed
    unsigned long mMode = 0;   ///< from before
};

/// Returns the arguments after the program's name.
[[nodiscard]] std::vector<std::string> programArguments();

/// Writes `text` to standard output, at once. Throws std::runtime_error if that fails.
void printText(const std::string& text);

}  // namespace tools
