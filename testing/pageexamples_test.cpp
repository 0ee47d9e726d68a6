#include "testing/pageexamples.h"

#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/page.h"

namespace {

using namespace testing_support;

using Texts = std::vector<std::string>;

TEST(PageExamplesTest, AnExampleHasIncludesCodeAndOutput) {
    const auto examples = examplesIn(
        "# Page\n"
        "```cpp\n#include \"a.h\"\n#include <b.h>\n\none();\n\ntwo();\n```\n"
        "\n```text\n1\n2\n```\n");
    ASSERT_EQ(examples.size(), 1U);
    EXPECT_EQ(examples[0].includes, Texts({"#include \"a.h\"", "#include <b.h>"}));
    EXPECT_EQ(examples[0].code, "one();\n\ntwo();\n");
    EXPECT_EQ(examples[0].output, "1\n2\n");
}

TEST(PageExamplesTest, IncludesAndOutputMayBeMissing) {
    const auto examples = examplesIn("```cpp\n\none();\n```\n\ntext\n```cpp\ntwo();\n```\n");
    ASSERT_EQ(examples.size(), 2U);
    EXPECT_TRUE(examples[0].includes.empty());
    EXPECT_EQ(examples[0].code, "\none();\n");
    EXPECT_EQ(examples[0].output, "");
    EXPECT_EQ(examples[1].code, "two();\n");
}

TEST(PageExamplesTest, OutputBelongsToTheExampleDirectlyBefore) {
    const auto examples =
        examplesIn("```cpp\none();\n```\n\n\n```text\n1\n```\n```cpp\ntwo();\n```");
    ASSERT_EQ(examples.size(), 2U);
    EXPECT_EQ(examples[0].output, "");
    EXPECT_EQ(examples[1].output, "");
}

TEST(PageExamplesTest, CodeRightAfterTheIncludesIsCode) {
    const auto examples = examplesIn("```cpp\n#include \"a.h\"\none();\n```\n");
    ASSERT_EQ(examples.size(), 1U);
    EXPECT_EQ(examples[0].code, "one();\n");
}

TEST(PageExamplesTest, OtherBlocksAreNoExamples) {
    EXPECT_TRUE(examplesIn("```cmake\nx\n```\n```text\ny\n```\n").empty());
    EXPECT_TRUE(examplesIn("").empty());
}

TEST(PageExamplesTest, TheBodyOfATestHasNoIndentation) {
    const auto bodies = fixtureTestsIn(
        "#include <a>\n\nTEST_F(Suite, First) {\n    one();\n\n    if (x) {\n        y();\n    "
        "}\n}\n"
        "TEST(Suite, Other) {\n    no();\n}\nTEST_F(Suite, Second) {\n    two();\n}\n"
        "TEST_F(Suite, Empty) {}\n");
    ASSERT_EQ(bodies.size(), 2U);
    EXPECT_EQ(bodies[0].name, "Suite.First");
    EXPECT_EQ(bodies[0].code, "one();\n\nif (x) {\n    y();\n}\n");
    EXPECT_EQ(bodies[1].name, "Suite.Second");
    EXPECT_EQ(bodies[1].code, "two();\n");
}

TEST(PageExamplesTest, ABodyWithoutAnEndGoesToTheEndOfTheText) {
    const auto bodies = fixtureTestsIn("TEST_F(Suite, Name) {\n    one();");
    ASSERT_EQ(bodies.size(), 1U);
    EXPECT_EQ(bodies[0].code, "one();\n");
}

TEST(PageExamplesTest, ThreeFullStopsAreAnyTextInALine) {
    const struct {
        std::string text, shown;
        bool isAsShown;
    } rows[] = {
        {"", "", true},
        {"a\nb\n", "a\nb\n", true},
        {"a\nb\n", "a\nc\n", false},
        {"a\n", "a\nb\n", false},
        {"a\nb\n", "a\n", false},
        {"the text (5)\n", "the ... (5)\n", true},
        {"the text (6)\n", "the ... (5)\n", false},
        {"a text (5)\n", "the ... (5)\n", false},
        {"any\n", "...\n", true},
        {"\n", "...\n", true},
        {"one\ntwo\n", "...\n", false},
        {"aba\n", "ab...ba\n", false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(isAsShown(row.text, row.shown), row.isAsShown) << row.text << row.shown;
    }
}

TEST(PageExamplesTest, AFileThatIsMissingIsThrown) {
    EXPECT_FALSE(pageText("docs/utility.md").empty());
    EXPECT_THROW(static_cast<void>(pageText("docs/missing.md")), std::runtime_error);
}

}  // namespace
