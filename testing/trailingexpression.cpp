#include "testing/trailingexpression.h"

#include <boost/regex.hpp>

std::wstring testing_support::byTrailingExpression(const std::wstring& path) {
    static const boost::wregex trailing(L"([^\\\\.])[ \\.]+(\\\\|$)");
    static const std::wstring replacement = L"\\1\\2";
    return boost::regex_replace(path, trailing, replacement);
}
