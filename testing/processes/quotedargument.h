#pragma once

#include <cstddef>
#include <string>

namespace testing_support {

/// Appends `argument` in quotes, in the form that the C runtime's command-line parser expects:
/// backslashes are doubled before a quote, and nowhere else.
inline void appendQuoted(std::wstring& line, const std::wstring& argument) {
    line += L'"';
    size_t backslashes = 0;
    for (const wchar_t unit : argument) {
        if (unit == L'"') {
            line.append(backslashes + 1, L'\\');
        }
        backslashes = unit == L'\\' ? backslashes + 1 : 0;
        line += unit;
    }
    line.append(backslashes, L'\\');
    line += L'"';
}

}  // namespace testing_support
