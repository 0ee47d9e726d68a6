#include "clearcase/configuration.h"

#include <algorithm>
#include <cstddef>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <utility>

#include <gtest/gtest.h>

namespace {

struct Read {
    Configuration configuration;
    std::string errors;
};

Read readFrom(std::streambuf& text, const std::string& viewRootPrefix = "") {
    Read result;
    std::istream input(&text);
    std::ostringstream errors;
    readConfiguration(input, viewRootPrefix, result.configuration, errors);
    result.errors = errors.str();
    return result;
}

Read read(const std::string& text, const std::string& viewRootPrefix = "") {
    std::stringbuf buffer(text);
    return readFrom(buffer, viewRootPrefix);
}

/// Elements as "key=value*type" lines.
std::string elementsOf(const Read& read) {
    std::string text;
    for (const auto& [key, element] : read.configuration.elements) {
        text += key + "=" + element.value + "*" + std::to_string(element.type) + "\n";
    }
    return text;
}

/// VOBs as "tag=state" lines.
std::string vobsOf(const Read& read) {
    std::string text;
    for (const VobRecord& vob : read.configuration.vobs) {
        text += vob.tag + "=" + std::to_string(vob.state) + "\n";
    }
    return text;
}

TEST(ElementKeyTest, ItIsTheNormalFormWithBackslashesAndKeepsItsCase) {
    EXPECT_EQ(elementKey("C:/a/./b/../c"), "C:\\a\\c");
    EXPECT_EQ(elementKey("c:\\A\\"), "c:\\A");
    EXPECT_EQ(elementKey("//srv/sh/x"), "\\\\srv\\sh\\x");
    EXPECT_EQ(elementKey("C:"), "C:\\");
}

TEST(ConfigurationTest, AnEmptyTextAndALineWithoutALineFeedHoldNothing) {
    for (const char* text : {"", "[vobs]", "\n\n"}) {
        const Read result = read(text);
        EXPECT_TRUE(result.configuration.vobs.empty());
        EXPECT_TRUE(result.configuration.elements.empty());
        EXPECT_EQ(result.errors, "");
    }
}

TEST(ConfigurationTest, ALastLineWithoutALineFeedDoesNotCount) {
    EXPECT_EQ(vobsOf(read("[vobs]\nM:\\v\\a=ro")), "");
    EXPECT_EQ(vobsOf(read("[vobs]\nM:\\v\\a=ro\n")), "M:\\v\\a=1\n");
    EXPECT_EQ(read("[vobs]\nbad").errors, "");
}

TEST(ConfigurationTest, AStreamThatCannotBeReadHoldsNothing) {
    std::istringstream input("[vobs]\na=\n");
    input.setstate(std::ios::badbit);
    Configuration configuration;
    std::ostringstream errors;
    readConfiguration(input, "", configuration, errors);
    EXPECT_TRUE(configuration.vobs.empty());
    EXPECT_EQ(errors.str(), "");
}

TEST(ConfigurationTest, EmptyLinesAndCommentsAreIgnored) {
    const Read result = read("[vobs]\n\n   \t\n; a=ro\n#b=ro\n  ; c\nd=\n");
    EXPECT_EQ(vobsOf(result), "d=0\n");
    EXPECT_EQ(result.errors, "");
}

TEST(ConfigurationTest, WhiteSpaceGoesFromBothEndsOfALine) {
    EXPECT_EQ(vobsOf(read(" \t\v\f\r[vobs] \r\n\t x=ro \t\v\f\r\n")), "x=1\n");
}

TEST(ConfigurationTest, HeadersAreCaseInsensitiveAndMayRepeatInAnyOrder) {
    const Read result = read("[Attrs]\nC:\\a=b\n[VOBS]\nx=\n[attrs]\nC:\\c=d\n[vObS]\ny=ro\n");
    EXPECT_EQ(vobsOf(result), "x=0\ny=1\n");
    EXPECT_EQ(elementsOf(result), "C:\\a=b*3\nC:\\c=d*3\n");
    EXPECT_EQ(result.errors, "");
}

TEST(ConfigurationTest, LinesOutsideTheTwoSectionsAreIgnoredWithoutAWord) {
    const Read result = read("x=1\nnonsense\n[other]\ny=1\nnonsense\n[vobs]\nz=\n[]\nw=\n");
    EXPECT_EQ(vobsOf(result), "z=0\n");
    EXPECT_EQ(result.errors, "");
}

TEST(ConfigurationTest, AnyLineThatBeginsWithABracketIsAHeaderAndTheWholeOfItCounts) {
    for (const char* header : {"[vobs] ; x", "[vobs", "[ vobs]", "[vobs]]", "[=ro"}) {
        const Read result = read(std::string("[vobs]\n") + header + "\nz=\n");
        EXPECT_EQ(vobsOf(result), "") << header;
        EXPECT_EQ(result.errors, "") << header;
    }
}

TEST(ConfigurationTest, FlagsAreSeparatedByCommasSemicolonsAndBlanks) {
    const struct {
        const char* line;
        const char* vob;
    } rows[] = {
        {"x=1", "x=0\n"},         {"x=a,ro;b", "x=1\n"}, {"x= ro", "x=1\n"},    {"x=RO", "x=0\n"},
        {"x=rox", "x=0\n"},       {"x=xro", "x=0\n"},    {"x=ro", "x=1\n"},     {"x=", "x=0\n"},
        {"x=,,; ;ro,,", "x=1\n"}, {"x=ro=", "x=0\n"},    {"x=a=b,ro", "x=1\n"}, {"x=r,o", "x=0\n"},
        {"x=a\tro", "x=0\n"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(vobsOf(read(std::string("[vobs]\n") + row.line + "\n")), row.vob) << row.line;
    }
}

TEST(ConfigurationTest, ATagIsTheTextBeforeTheEqualsSignAsItIs) {
    EXPECT_EQ(vobsOf(read("[vobs]\nM:/v/a  = ro\n=ro\n")), "M:/v/a  =1\n=1\n");
}

TEST(ConfigurationTest, VobsKeepTheirOrderAndTheirDuplicates) {
    EXPECT_EQ(vobsOf(read("[vobs]\nb=\na=ro\nb=ro\n")), "b=0\na=1\nb=1\n");
}

TEST(ConfigurationTest, AVobLineWithoutAnEqualsSignIsReportedAndDropped) {
    const Read result = read("[vobs]\n  no such line \nx=\n");
    EXPECT_EQ(result.errors, "Invalid line in [vobs]:  no such line\n");
    EXPECT_EQ(vobsOf(result), "x=0\n");
}

TEST(ConfigurationTest, AnElementLineWithoutAnEqualsSignIsReportedAndDropped) {
    const Read result = read("[attrs]\n\tC:\\a*version\nC:\\b=\n");
    EXPECT_EQ(result.errors, "Invalid line in [attrs]:  C:\\a*version\n");
    EXPECT_EQ(elementsOf(result), "C:\\b=*3\n");
}

TEST(ConfigurationTest, APathIsStoredUnderItsElementKey) {
    EXPECT_EQ(elementsOf(read("[attrs]\nC:/a/./b/../c=D:\\t\n")), "C:\\a\\c=D:\\t*3\n");
}

TEST(ConfigurationTest, AnElementHasTheNamedTypeAndTheTextBeforeTheStar) {
    EXPECT_EQ(elementsOf(read("[attrs]\nC:\\a=/main/3*version\n")), "C:\\a=/main/3*1\n");
}

TEST(ConfigurationTest, EveryTypeNameIsKnownAsItIsSpelled) {
    for (const ElementTypeName* entry = elementTypeNames; entry->name != nullptr; ++entry) {
        const Read result = read(std::string("[attrs]\nC:\\a=v*") + entry->name + "\n");
        EXPECT_EQ(elementsOf(result), "C:\\a=v*" + std::to_string(entry->type) + "\n");
        EXPECT_EQ(result.errors, "");
    }
}

TEST(ConfigurationTest, AnUnknownTypeNameIsReportedAndMakesALink) {
    const struct {
        const char* line;
        const char* error;
    } rows[] = {
        {"C:\\a=b*c*d", "Invalid attr 'c*d' for C:\\a\n"},
        {"C:\\a=b*", "Invalid attr '' for C:\\a\n"},
        {"C:\\a=b*Version", "Invalid attr 'Version' for C:\\a\n"},
        {"C:\\a=b* version", "Invalid attr ' version' for C:\\a\n"},
    };
    for (const auto& row : rows) {
        const Read result = read(std::string("[attrs]\n") + row.line + "\n");
        EXPECT_EQ(result.errors, row.error) << row.line;
        EXPECT_EQ(elementsOf(result), "C:\\a=b*3\n") << row.line;
    }
}

TEST(ConfigurationTest, TheComplaintNamesTheKeyAsTheFileSpellsIt) {
    EXPECT_EQ(read("[attrs]\nC:/x/../a =b*no\n").errors, "Invalid attr 'no' for C:/x/../a \n");
}

TEST(ConfigurationTest, OnlyTheFirstEqualsSignAndTheFirstStarCount) {
    EXPECT_EQ(elementsOf(read("[attrs]\nC:\\a=b=c*null\n")), "C:\\a=b=c*0\n");
    EXPECT_EQ(elementsOf(read("[attrs]\nC:\\a*b=c\n")), "C:\\a*b=c*3\n");
}

TEST(ConfigurationTest, NeitherPathNorValueIsTrimmed) {
    EXPECT_EQ(elementsOf(read("[attrs]\nC:\\a = b *version\n")), "C:\\a = b *1\n");
}

TEST(ConfigurationTest, TheLaterOfTwoLinesWithOneKeyWins) {
    EXPECT_EQ(elementsOf(read("[attrs]\nC:\\a\\=1\nC:\\a=2\n")), "C:\\a=2*3\n");
    EXPECT_EQ(elementsOf(read("[attrs]\nC:\\a=1*version\nC:/x/../a=2\n")), "C:\\a=2*3\n");
}

TEST(ConfigurationTest, KeysThatDifferInCaseAreTwoElements) {
    EXPECT_EQ(elementsOf(read("[attrs]\nC:\\Foo=1\nc:\\foo=2\n")), "C:\\Foo=1*3\nc:\\foo=2*3\n");
}

TEST(ConfigurationTest, AViewRootPrefixAddsASecondKeyAsTheFileSpellsIt) {
    EXPECT_EQ(elementsOf(read("[attrs]\nC:\\x=z\n", "Q:")), "C:\\x=z*3\nQ:C:\\x=z*3\n");
    EXPECT_EQ(elementsOf(read("[attrs]\nC:/a/../x=z*version\n", "Q:\\v")),
              "C:\\x=z*1\nQ:\\vC:/a/../x=z*1\n");
}

TEST(ConfigurationTest, TheLaterOfTwoLinesWinsUnderTheViewRootPrefixToo) {
    EXPECT_EQ(elementsOf(read("[attrs]\nC:\\x=1*version\nC:\\x=2\n", "Q:")),
              "C:\\x=2*3\nQ:C:\\x=2*3\n");
}

TEST(ConfigurationDeathTest, APathThatIsNotAbsoluteStopsTheProcess) {
    for (const char* line : {"a=b", "=b", "\\x\\y=z", "//srv=b"}) {
        const std::string text = std::string("[attrs]\n") + line + "\n";
        EXPECT_DEATH(read(text), "assertion failed at util/pathfun\\.cpp.*: absolute") << line;
    }
    // A prefix doesn't help: the path itself is checked.
    EXPECT_DEATH(read("[attrs]\n\\x\\y=z\n", "Q:"), "absolute");
}

TEST(ConfigurationTest, ComplaintsAreInTheOrderOfTheFile) {
    EXPECT_EQ(read("[attrs]\none\n[vobs]\ntwo\n[attrs]\nC:\\a=*three\n").errors,
              "Invalid line in [attrs]:  one\n"
              "Invalid line in [vobs]:  two\n"
              "Invalid attr 'three' for C:\\a\n");
}

TEST(ConfigurationTest, AMarkAtTheStartHidesTheFirstHeader) {
    EXPECT_EQ(vobsOf(read("\xEF\xBB\xBF[vobs]\na=\n[vobs]\nb=\n")), "b=0\n");
}

TEST(ConfigurationTest, NullsAndBytesThatAreNoTextAreKept) {
    using std::string_literals::operator""s;
    const Read result = read("[vobs]\na\0b\xFF=ro\nx\0y\n"s);
    ASSERT_EQ(result.configuration.vobs.size(), 1U);
    EXPECT_EQ(result.configuration.vobs[0].tag, "a\0b\xFF"s);
    EXPECT_EQ(result.configuration.vobs[0].state, vobReadOnly);
    EXPECT_EQ(result.errors, "Invalid line in [vobs]:  x\0y\n"s);
}

TEST(ConfigurationTest, LinesMayLieAnyhowAcrossTheBlocksThatAreRead) {
    for (const size_t padding : {65520U, 65527U, 65528U, 65529U, 65535U, 65536U, 131000U}) {
        std::string comment(padding, 'x');
        comment.front() = ';';
        comment.back() = '\n';
        EXPECT_EQ(vobsOf(read(comment + "[vobs]\na=ro\nb=\n")), "a=1\nb=0\n") << padding;
        EXPECT_EQ(vobsOf(read("[vobs]\n" + comment + "a=ro\nb=")), "a=1\n") << padding;
    }
}

/// Returns its text a few characters at a time, and then fails.
class FailingStreambuf : public std::streambuf {
public:
    explicit FailingStreambuf(std::string text) : mText(std::move(text)) {}

protected:
    int_type underflow() override {
        if (mTaken == mText.size()) {
            throw std::runtime_error("the disk is gone");
        }
        const size_t count = std::min<size_t>(mText.size() - mTaken, 5);
        setg(mText.data() + mTaken, mText.data() + mTaken, mText.data() + mTaken + count);
        mTaken += count;
        return traits_type::to_int_type(*gptr());
    }

private:
    std::string mText;
    size_t mTaken = 0;
};

TEST(ConfigurationTest, LinesBeforeAReadThatFailsCount) {
    FailingStreambuf failing("[vobs]\na=\nb=ro\nc=");
    const Read result = readFrom(failing);
    EXPECT_EQ(vobsOf(result), "a=0\nb=1\n");
    EXPECT_EQ(result.errors, "");
}

/// Buffers no characters: each is fetched when it is read.
class UnbufferedStreambuf : public std::streambuf {
public:
    explicit UnbufferedStreambuf(std::string text) : mText(std::move(text)) {}

protected:
    int_type underflow() override {
        return mTaken == mText.size() ? traits_type::eof()
                                      : traits_type::to_int_type(mText[mTaken]);
    }
    int_type uflow() override {
        const int_type next = underflow();
        mTaken += traits_type::eq_int_type(next, traits_type::eof()) ? 0 : 1;
        return next;
    }

private:
    std::string mText;
    size_t mTaken = 0;
};

TEST(ConfigurationTest, AStreamWithoutABufferIsReadToItsEnd) {
    UnbufferedStreambuf unbuffered("[vobs]\na=\nb=ro\n");
    EXPECT_EQ(vobsOf(readFrom(unbuffered)), "a=0\nb=1\n");
}

TEST(ConfigurationTest, ElementsMayComeInAnyOrderAndTypesInAnyRow) {
    const Read mixed = read(
        "[attrs]\nC:\\c=1*version\nC:\\a=2*version\nC:\\b=3*none\n"
        "C:\\d=4\nC:\\e=5*none\nC:\\f=6*version\n");
    EXPECT_EQ(elementsOf(mixed),
              "C:\\a=2*1\nC:\\b=3*3\nC:\\c=1*1\nC:\\d=4*3\nC:\\e=5*3\nC:\\f=6*1\n");
    EXPECT_EQ(mixed.errors, "Invalid attr 'none' for C:\\b\nInvalid attr 'none' for C:\\e\n");
}

TEST(ConfigurationTest, AnUnknownTypeIsReportedOnceThoughThePrefixAddsAKey) {
    const Read twice = read("[attrs]\nC:\\a=b*none\n", "Q:");
    EXPECT_EQ(elementsOf(twice), "C:\\a=b*3\nQ:C:\\a=b*3\n");
    EXPECT_EQ(twice.errors, "Invalid attr 'none' for C:\\a\n");
}

TEST(ConfigurationTest, ALineOfAMegabyteIsALineLikeAnyOther) {
    const std::string name(1 << 20, 'n');
    const Read result = read("[vobs]\n" + name + "=" + std::string(1 << 20, ',') +
                             "ro\n[attrs]\nC:\\" + name + "=v\n" + name + "\n");
    ASSERT_EQ(result.configuration.vobs.size(), 1U);
    EXPECT_EQ(result.configuration.vobs[0].tag, name);
    EXPECT_EQ(result.configuration.vobs[0].state, vobReadOnly);
    EXPECT_EQ(result.configuration.elements.count("C:\\" + name), 1U);
    EXPECT_EQ(result.errors, "Invalid line in [attrs]:  " + name + "\n");
}

/// Treats `x` as white space, and turns `Q` into `v`.
class OddCharacters : public std::ctype<char> {
public:
    OddCharacters() : ctype(table(), /*del=*/false) {}

private:
    static const mask* table() {
        static mask marks[table_size];
        std::copy(classic_table(), classic_table() + table_size, marks);
        marks[static_cast<unsigned char>('x')] = space;
        return marks;
    }
    char do_tolower(char c) const override { return c == 'Q' ? 'v' : c; }
    const char* do_tolower(char* first, const char* last) const override {
        for (; first != last; ++first) {
            *first = do_tolower(*first);
        }
        return last;
    }
};

TEST(ConfigurationTest, BlanksAndCaseAreThoseOfTheGlobalLocale) {
    const std::locale before = std::locale::global(std::locale(std::locale(), new OddCharacters));
    const Read result = read("x[Qobs]x\nxa=rox\n");
    std::locale::global(before);
    EXPECT_EQ(vobsOf(result), "a=1\n");
}

}  // namespace
