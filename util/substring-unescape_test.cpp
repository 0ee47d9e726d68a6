// Escapes that are removed from a string in one pass, compared with removing them one by one.

#include <algorithm>
#include <random>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "testing/alltexts.h"
#include "util/substring.h"

namespace {

using namespace testing_support;

constexpr size_t none = std::string::npos;

/// A string and a view of it, from `start` to `end`.
struct Line {
    std::string text;
    size_t start, end;

    std::string_view upToEnd() const { return std::string_view(text).substr(0, end); }
};

/// Searches from `pos` of the view on, and erases from the string at each hit.
size_t unescapeOneByOne(Line& line, const std::string& set, size_t pos) {
    if (pos >= line.end - line.start) {
        return none;
    }
    for (size_t from = line.start + pos;;) {
        const std::string_view view = line.upToEnd();
        size_t hit = view.find_first_of(set, from);
        if (hit == none) {
            return none;
        }
        if (hit == from && view.substr(hit, 2) == "\\\\") {
            hit = std::min(view.find_first_not_of('\\', hit), view.size());
        }
        size_t run = 0;
        while (hit - run > from && view[hit - run - 1] == '\\') {
            ++run;
        }
        line.text.erase(hit - run, (run + 1) / 2);
        line.end -= (run + 1) / 2;
        hit -= run / 2;
        if (run % 2 == 0) {
            return hit < line.upToEnd().size() ? hit - line.start : none;
        }
        from = hit;
    }
}

void expectSame(const Line& line, const std::string& set, size_t pos) {
    Line expected = line;
    const size_t place = unescapeOneByOne(expected, set, pos);
    std::string text = line.text;
    Substring view(text, line.start, line.end - line.start);
    ASSERT_EQ(view.findAndUnescape(set, pos), place) << line.text << " from " << pos;
    ASSERT_EQ(text, expected.text) << line.text << " from " << pos;
    ASSERT_EQ(view.length(), expected.end - expected.start) << line.text << " from " << pos;
    ASSERT_EQ(view.span().data, text.data() + line.start) << line.text << " from " << pos;
}

const std::string sets[] = {";", ";\\", "\\", ",;", ""};

void expectSameFromEverywhere(const Line& line) {
    for (const std::string& set : sets) {
        for (size_t pos = 0; pos <= line.end - line.start; ++pos) {
            ASSERT_NO_FATAL_FAILURE(expectSame(line, set, pos)) << "set " << set;
        }
    }
}

TEST(FindAndUnescapeTest, ShortTextsComeOutAsOneByOne) {
    for (size_t length = 0; length <= 6; ++length) {
        forAllTexts(std::string("\\;,a"), length, [](const std::string& text) {
            expectSameFromEverywhere({text, 0, text.size()});
        });
    }
    for (size_t length = 7; length <= 9; ++length) {
        forAllTexts(std::string("\\;"), length, [](const std::string& text) {
            expectSameFromEverywhere({text, 0, text.size()});
        });
    }
}

TEST(FindAndUnescapeTest, PartsOfAStringComeOutAsOneByOneAndTheRestStays) {
    forAllTexts(std::string("\\;a"), 7, [](const std::string& text) {
        expectSameFromEverywhere({text, 2, 5});
    });
    // A view may extend past its string.
    forAllTexts(std::string("\\;a"), 5, [](const std::string& text) {
        expectSameFromEverywhere({text, 1, 8});
        expectSameFromEverywhere({text, 6, 8});
    });
}

TEST(FindAndUnescapeTest, RepeatedEscapesComeOutAsOneByOneWhereverTheyBeginAndEnd) {
    for (const std::string escape : {"\\;", "\\,", "\\a", "\\\\", ";;", "\\;\\,", "\\\\;"}) {
        std::string repeated;
        for (int count = 0; count < 40; ++count, repeated += escape) {
            for (const std::string before : {"", "a", "\\", "\\\\", "\\,"}) {
                for (const std::string after : {"", "\\", ";", "\\,", "\\\\;", "a\\;b;"}) {
                    std::string text = before;
                    text.append(repeated).append(after);
                    for (const std::string& set : sets) {
                        ASSERT_NO_FATAL_FAILURE(expectSame({text, 0, text.size()}, set, 0)) << set;
                        ASSERT_NO_FATAL_FAILURE(
                            expectSame({text, 0, text.size()}, set, before.size()))
                            << set;
                        // The repeats continue past the end of the view.
                        ASSERT_NO_FATAL_FAILURE(expectSame({text, 0, text.size() / 2}, set, 0))
                            << set;
                    }
                }
            }
        }
    }
}

TEST(FindAndUnescapeTest, LongTextsComeOutAsOneByOne) {
    // NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp): a failure must be reproducible
    std::mt19937 random(1);
    for (int i = 0; i < 3000; ++i) {
        // Some texts are nearly all backslashes, and some have only single ones.
        const std::string letters = i % 3 == 0   ? "\\\\\\\\\\;a"
                                    : i % 3 == 1 ? "\\;,a"
                                                 : "\\aaaaaaa;;";
        std::string text;
        for (size_t size = random() % 300; text.size() < size;) {
            text += letters[random() % letters.size()];
        }
        const size_t start = text.empty() ? 0 : random() % text.size();
        for (const std::string& set : sets) {
            ASSERT_NO_FATAL_FAILURE(expectSame({text, 0, text.size()}, set, 0));
            ASSERT_NO_FATAL_FAILURE(expectSame({text, start, text.size()}, set, 0));
        }
    }
}

TEST(FindAndUnescapeTest, AMillionEscapesAreTakenOutAtOnce) {
    std::string text;
    std::string left;
    for (int i = 0; i < 1'000'000; ++i) {
        text += i % 3 == 0 ? "\\;" : "x\\,";
        left += i % 3 == 0 ? ";" : "x,";
    }
    text += ";";
    Substring view(text);
    EXPECT_EQ(view.findAndUnescape(",;", 0), left.size());
    EXPECT_EQ(text, left + ";");
}

}  // namespace
