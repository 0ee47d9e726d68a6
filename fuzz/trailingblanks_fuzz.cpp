// The ends of names in wide paths, compared with the expression that defines the rule. Input: the
// path, in UTF-8.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "fuzz/utf8model.h"
#include "testing/trailingexpression.h"
#include "util/assertion.h"
#include "util/trailingblanks.h"

namespace {

// The expression takes time proportional to the square of this.
constexpr size_t longest = 400;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), std::min(size, longest));
    const std::u16string units = unitsOf(text);
    const std::wstring path(units.begin(), units.end());
    std::wstring result = path;
    removeTrailingBlanks(result);
    NB_ASSERT(result == testing_support::byTrailingExpression(path));

    // A second call changes nothing.
    std::wstring again = result;
    removeTrailingBlanks(again);
    NB_ASSERT(again == result);
    return 0;
}
