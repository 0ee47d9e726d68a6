#include <gtest/gtest.h>

#include "testing/alltexts.h"
#include "testing/trailingexpression.h"
#include "util/trailingblanks.h"

namespace {

using namespace testing_support;

// Takes ten minutes here; under a sanitizer it would take half an hour.
TEST(RemoveTrailingBlanksTest, SoakTextsOfEightUnitsComeOutAsByTheExpression) {
    const std::wstring letters = L"a\x4E2D. \\\n\r\f\x0085\x2028\x2029";
    forAllTexts(letters, 8, [](const std::wstring& path) {
        std::wstring result = path;
        removeTrailingBlanks(result);
        ASSERT_EQ(result, byTrailingExpression(path)) << testing::PrintToString(path);
    });
}

}  // namespace
