#include "testing/pageexamples.h"

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <stdexcept>

#include "testing/page.h"

namespace testing_support {

namespace {

constexpr std::string_view codeMark = "```cpp";
constexpr std::string_view outputMark = "```text";
constexpr std::string_view endMark = "```";

/// Takes lines, without their line ends, from the front of a text.
class LineReader {
public:
    explicit LineReader(std::string_view text) : mRest(text) {}

    [[nodiscard]] bool atEnd() const { return mRest.empty(); }
    [[nodiscard]] std::string_view peek() const { return mRest.substr(0, mRest.find('\n')); }
    std::string_view next() {
        const std::string_view line = peek();
        mRest.remove_prefix(std::min(line.size() + 1, mRest.size()));
        return line;
    }
    /// Returns the lines before `end`, each without `indentation`, and takes that line as well.
    std::string until(std::string_view end, std::string_view indentation = {}) {
        std::string block;
        while (!atEnd()) {
            std::string_view line = next();
            if (line == end) {
                break;
            }
            if (line.starts_with(indentation)) {
                line.remove_prefix(indentation.size());
            }
            block.append(line).append(1, '\n');
        }
        return block;
    }

private:
    std::string_view mRest;
};

ShownExample exampleOf(const std::string& block) {
    LineReader lines(block);
    ShownExample example;
    while (lines.peek().starts_with("#include ")) {
        example.includes.emplace_back(lines.next());
    }
    if (!example.includes.empty() && lines.peek().empty()) {
        static_cast<void>(lines.next());
    }
    while (!lines.atEnd()) {
        example.code.append(lines.next()).append(1, '\n');
    }
    return example;
}

bool isLineAsShown(std::string_view line, std::string_view shown) {
    constexpr std::string_view anyText = "...";
    const size_t at = shown.find(anyText);
    if (at == std::string_view::npos) {
        return line == shown;
    }
    const std::string_view before = shown.substr(0, at);
    const std::string_view after = shown.substr(at + anyText.size());
    return line.size() >= before.size() + after.size() && line.starts_with(before) &&
           line.ends_with(after);
}

/// Returns the body of the test that is running.
std::string runningBody() {
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = std::string(test.test_suite_name()) + '.' + test.name();
    for (const FixtureTest& body : fixtureTestsIn(pageText(test.file()))) {
        if (body.name == name) {
            return body.code;
        }
    }
    throw std::runtime_error("its source doesn't have the test " + name);
}

}  // namespace

std::vector<ShownExample> examplesIn(std::string_view page) {
    std::vector<ShownExample> examples;
    LineReader lines(page);
    while (!lines.atEnd()) {
        if (lines.next() != codeMark) {
            continue;
        }
        ShownExample& example = examples.emplace_back(exampleOf(lines.until(endMark)));
        LineReader after = lines;
        if (after.next().empty() && after.next() == outputMark) {
            example.output = after.until(endMark);
        }
    }
    return examples;
}

std::vector<FixtureTest> fixtureTestsIn(std::string_view source) {
    constexpr std::string_view begin = "TEST_F(";
    constexpr std::string_view between = ", ";
    constexpr std::string_view end = ") {";
    std::vector<FixtureTest> bodies;
    LineReader lines(source);
    while (!lines.atEnd()) {
        std::string_view line = lines.next();
        if (!line.starts_with(begin) || !line.ends_with(end)) {
            continue;
        }
        line.remove_prefix(begin.size());
        line.remove_suffix(end.size());
        std::string name(line);
        name.replace(name.find(between), between.size(), ".");
        bodies.push_back({name, lines.until("}", "    ")});
    }
    return bodies;
}

bool isAsShown(std::string_view text, std::string_view shown) {
    LineReader lines(text);
    LineReader shownLines(shown);
    while (!lines.atEnd() && !shownLines.atEnd()) {
        if (!isLineAsShown(lines.next(), shownLines.next())) {
            return false;
        }
    }
    return lines.atEnd() && shownLines.atEnd();
}

UtilityExampleTest::UtilityExampleTest()
    : mBody(runningBody()),
      mPage(pageText("docs/utility.md")),
      mFlagsBefore(std::cout.flags()),
      mBufferBefore(std::cout.rdbuf(mPrinted.rdbuf())) {}

UtilityExampleTest::~UtilityExampleTest() {
    std::cout.rdbuf(mBufferBefore);
    std::cout.flags(mFlagsBefore);
}

void UtilityExampleTest::TearDown() {
    const std::vector<ShownExample> examples = examplesIn(mPage);
    const auto shown = std::find_if(examples.begin(), examples.end(),
                                    [this](const auto& it) { return it.code == mBody; });
    ASSERT_NE(shown, examples.end()) << "docs/utility.md doesn't show this test:\n" << mBody;
    EXPECT_PRED2(isAsShown, mPrinted.str(), shown->output);
}

}  // namespace testing_support
