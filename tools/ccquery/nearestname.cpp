#include "tools/ccquery/nearestname.h"

#include <algorithm>
#include <cstddef>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/trim.hpp>

#include "tools/ccquery/letterdistance.h"

namespace ccquery {
namespace {

constexpr size_t mostEdits = 2;

std::string simplified(std::string_view text) {
    std::string result(text);
    boost::trim_if(result, boost::is_any_of(" \t"));
    boost::to_lower(result, std::locale::classic());
    std::replace_if(result.begin(), result.end(), boost::is_any_of("- \t"), '_');
    return result;
}

std::optional<std::string> nearest(const std::string& text, const std::vector<std::string>& names) {
    std::optional<std::string> found;
    size_t fewest = mostEdits + 1;
    for (const std::string& name : names) {
        const size_t edits = letterDistance(text, name, mostEdits);
        if (edits < fewest && 2 * edits < name.size()) {
            fewest = edits;
            found = name;
        }
    }
    return found;
}

}  // namespace

std::optional<std::string> nearestName(std::string_view text,
                                       const std::vector<std::string>& names) {
    const auto found = nearest(simplified(text), names);
    const size_t comment = text.find_first_of(";#");
    return found || comment == std::string_view::npos
               ? found
               : nearest(simplified(text.substr(0, comment)), names);
}

}  // namespace ccquery
