#include "tools/shared/painter.h"

namespace tools {
namespace {

/// The numbers that a terminal knows the colour by.
const char* numbersOf(Colour colour) {
    switch (colour) {
        case Colour::place:
            return "1";
        case Colour::warning:
            return "1;35";
        case Colour::error:
            return "1;31";
        case Colour::removed:
            return "31";
        default:
            return "32";
    }
}

}  // namespace

bool mayPaint(bool json, const std::string& noColor) { return !json && noColor.empty(); }

std::string Painter::paint(Colour colour, const std::string& text) const {
    return mIsOn ? std::string("\x1b[") + numbersOf(colour) + 'm' + text + "\x1b[0m" : text;
}

}  // namespace tools
