#include "util/pathbytes.h"

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

// Compares the forms in use with the plain ones, and the plain ones with their contracts.

namespace {

using namespace std::string_view_literals;

/// Characters that matter, their neighbours in ASCII, and bytes that differ from them in one bit.
constexpr std::string_view letters = "/\\..-0[]^@AZ`az{|nN\0\x7F\x80\xAF\xAE\xDC\xC1\xE1\xFF"sv;

/// Texts of each length up to `longest`, each in its own block, so that ASan detects an access
/// outside it.
class RandomTexts {
public:
    template <class Check>
    void forEach(size_t longest, Check check) {
        for (size_t length = 0; length <= longest; ++length) {
            for (int i = 0; i < 40; ++i) {
                check(text(length));
            }
        }
    }
    std::vector<char> text(size_t length) {
        std::vector<char> text(length);
        for (char& c : text) {
            c = letters[mRandom() % letters.size()];
        }
        return text;
    }
    size_t below(size_t limit) { return mRandom() % limit; }

private:
    // A failure must be reproducible.
    std::mt19937 mRandom{1};  // NOLINT(cert-msc32-c,cert-msc51-cpp)
};

TEST(PathBytesTest, AByteIsFoundWhereItIsFirst) {
    const std::string text = "a=b=";
    EXPECT_EQ(pathbytes::plain::findByte('=', text.data(), text.size()), 1U);
    EXPECT_EQ(pathbytes::plain::findByte('=', text.data(), 1), 1U) << "it isn't there";
    EXPECT_EQ(pathbytes::plain::findByte('\0', text.data(), text.size()), text.size());
    EXPECT_EQ(pathbytes::plain::findByte('a', text.data(), 0), 0U);
}

TEST(PathBytesTest, TheByteThatIsFoundIsThePlainOnes) {
    RandomTexts().forEach(100, [](const std::vector<char>& text) {
        for (const char wanted : letters) {
            ASSERT_EQ(pathbytes::findByte(wanted, text.data(), text.size()),
                      pathbytes::plain::findByte(wanted, text.data(), text.size()))
                << testing::PrintToString(text);
        }
    });
}

TEST(PathBytesTest, AByteIsFoundWhereverItIs) {
    for (size_t count = 0; count <= 100; ++count) {
        std::vector<char> text(count, 'x');
        ASSERT_EQ(pathbytes::findByte('\n', text.data(), count), count);
        for (size_t at = count; at-- != 0;) {
            text[at] = '\n';
            ASSERT_EQ(pathbytes::findByte('\n', text.data(), count), at) << count;
        }
    }
}

TEST(PathBytesTest, MarksAreABitForEachSeparatorAndDot) {
    using pathbytes::Marks;
    EXPECT_EQ(pathbytes::plain::marksOf("", 0), Marks());
    EXPECT_NE(pathbytes::plain::marksOf("/", 1), Marks());
    EXPECT_NE(pathbytes::plain::marksOf(".", 1), Marks());
    EXPECT_EQ(pathbytes::plain::marksOf("a/b\\.c..", 8), (Marks{0b00001010, 0b11010000}));
    const std::string dots(64, '.');
    EXPECT_EQ(pathbytes::plain::marksOf(dots.data(), 64), (Marks{0, ~uint64_t{0}}));
    EXPECT_EQ(pathbytes::plain::marksOf(dots.data(), 63), (Marks{0, ~uint64_t{0} >> 1}));
}

TEST(PathBytesTest, MarksInUseAreThePlainOnes) {
    RandomTexts().forEach(pathbytes::markedBytes, [](const std::vector<char>& text) {
        ASSERT_EQ(pathbytes::marksOf(text.data(), text.size()),
                  pathbytes::plain::marksOf(text.data(), text.size()))
            << testing::PrintToString(text);
    });
}

TEST(PathBytesTest, ACopyHasSeparatorsOfTheOneKindAndAllElseAsItWas) {
    const std::string text = "a/b\\c.|s/";
    std::string copy(text.size(), 'x');
    pathbytes::plain::copySeparatedBy('/', text.data(), text.size(), copy.data());
    EXPECT_EQ(copy, "a/b/c.|s/");
    pathbytes::plain::copySeparatedBy('\\', text.data(), text.size(), copy.data());
    EXPECT_EQ(copy, "a\\b\\c.|s\\");
}

TEST(PathBytesTest, TheCopyInUseIsThePlainOneApartAndInPlace) {
    RandomTexts().forEach(100, [](const std::vector<char>& text) {
        for (const char separator : {'/', '\\'}) {
            std::vector<char> expected(text.size());
            pathbytes::plain::copySeparatedBy(separator, text.data(), text.size(), expected.data());
            std::vector<char> copy(text.size());
            pathbytes::copySeparatedBy(separator, text.data(), text.size(), copy.data());
            ASSERT_EQ(copy, expected) << testing::PrintToString(text);
            std::vector<char> changed = text;
            pathbytes::copySeparatedBy(separator, changed.data(), changed.size(), changed.data());
            ASSERT_EQ(changed, expected) << testing::PrintToString(text);
        }
    });
}

TEST(PathBytesTest, AlikeAreOnlyTheCasesOfAsciiLettersAndTheSeparators) {
    for (int first = -128; first < 128; ++first) {
        for (int second = -128; second < 128; ++second) {
            const auto a = static_cast<char>(first);
            const auto b = static_cast<char>(second);
            const bool isLetter = (a | 0x20) >= 'a' && (a | 0x20) <= 'z' && first > 0;
            const bool isPair = (a == '/' && b == '\\') || (a == '\\' && b == '/') ||
                                (isLetter && (a ^ b) == ('a' ^ 'A'));
            ASSERT_EQ(pathbytes::plain::alikeLength(&a, &b, 1), a == b || isPair ? 1U : 0U)
                << first << " and " << second;
        }
    }
}

TEST(PathBytesTest, AlikeInUseIsThePlainOneWhereverTheFirstDifferenceIs) {
    RandomTexts random;
    RandomTexts().forEach(100, [&random](const std::vector<char>& text) {
        std::vector<char> other = text;
        for (char& c : other) {
            const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
            if (random.below(2) == 0) {
                c = static_cast<char>(isLetter ? c ^ 0x20 : c == '/' ? '\\' : c);
            }
        }
        const auto check = [&] {
            ASSERT_EQ(pathbytes::alikeLength(text.data(), other.data(), text.size()),
                      pathbytes::plain::alikeLength(text.data(), other.data(), text.size()))
                << testing::PrintToString(text) << testing::PrintToString(other);
        };
        check();
        if (!text.empty()) {
            other[random.below(other.size())] = letters[random.below(letters.size())];
            check();
        }
    });
}

}  // namespace
