#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "util/textspan.h"

/// Removes the next line from the start of a fuzzer's input, and returns it without its line feed.
/// If there is no line feed, that is the whole rest. So an input is a small text that can be read
/// and written by hand: a line for each parameter, and the text after them.
inline std::string takeLine(std::string_view& rest) {
    const size_t end = rest.find('\n');
    std::string line(rest.substr(0, end));
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return line;
}

/// A copy of a text in a block of exactly its size, so that AddressSanitizer detects every access
/// outside.
class ExactText {
public:
    explicit ExactText(std::string_view text) : mBytes(new char[text.size()]), mSize(text.size()) {
        text.copy(mBytes.get(), mSize);
    }

    StringSpan span() const { return {mBytes.get(), mSize}; }

private:
    std::unique_ptr<char[]> mBytes;
    size_t mSize;
};
