#pragma once

#include <string>
#include <string_view>

/// Takes the next line off the front of a fuzzer's input, without its line feed; all that is left
/// if there is none. So an input is a small text that can be read and written by hand: a line for
/// each parameter, and the text behind them.
inline std::string takeLine(std::string_view& rest) {
    const size_t end = rest.find('\n');
    std::string line(rest.substr(0, end));
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return line;
}
