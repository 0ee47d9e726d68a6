#pragma once

// Colours for a terminal, as compilers have them. Text in, text out.

#include <string>

namespace tools {

enum class Colour {
    place,    ///< of a file, line and column: bold
    warning,  ///< bold magenta
    error,    ///< bold red
    removed,  ///< a line that only one of two texts has: red
    added,    ///< and the other one: green
};

/// Whether output to a terminal is coloured: JSON never is, and nothing if the environment variable
/// NO_COLOR has the text `noColor`, which isn't empty (https://no-color.org).
[[nodiscard]] bool mayPaint(bool json, const std::string& noColor);

class Painter {
public:
    /// Paints only if `isOn`; otherwise each text stays as it is.
    explicit Painter(bool isOn = false) : mIsOn(isOn) {}

    /// Returns `text` in the colour, by escape sequences of its own: `text` must have none any
    /// more, nor other control characters, as after `oneLine` (report.h).
    [[nodiscard]] std::string paint(Colour colour, const std::string& text) const;

private:
    bool mIsOn;
};

}  // namespace tools
