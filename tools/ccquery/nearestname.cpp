#include "tools/ccquery/nearestname.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/trim.hpp>

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

/// Returns how many letters are to be put in, taken out, replaced or swapped with the next one to
/// make one text of the other.
size_t editsBetween(const std::string& a, const std::string& b) {
    std::vector<size_t> beforeLast;
    std::vector<size_t> last(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) {
        last[j] = j;
    }
    for (size_t i = 1; i <= a.size(); ++i) {
        std::vector<size_t> row(b.size() + 1, i);
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t replaced = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = std::min({replaced, last[j] + 1, row[j - 1] + 1});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            }
        }
        beforeLast = std::exchange(last, std::move(row));
    }
    return last.back();
}

std::optional<std::string> nearest(const std::string& text, const std::vector<std::string>& names) {
    std::optional<std::string> found;
    size_t fewest = mostEdits + 1;
    for (const std::string& name : names) {
        // A text of very different length needs more edits, however long it is.
        if (text.size() > name.size() + mostEdits) {
            continue;
        }
        const size_t edits = editsBetween(text, name);
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
