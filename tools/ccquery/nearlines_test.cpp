#include "tools/ccquery/nearlines.h"

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <boost/algorithm/string/predicate.hpp>
#include <gtest/gtest.h>

#include "clearcase/configuration.h"
#include "tools/ccquery/configurationlines.h"

namespace {

using namespace ccquery;

using Texts = std::vector<std::string>;

/// The lines near `path`, each as "NUMBER: WHY".
Texts nearTo(const std::string& file, const std::string& path, const std::string& prefix = "") {
    const ConfigurationLines lines(file, prefix);
    Texts result;
    for (const NearLine& line : NearLines(lines).of(path)) {
        result.push_back(std::to_string(line.line->number) + ": " + line.why);
    }
    return result;
}

/// The same for elements in "[attrs]", each a line from line 2 on.
Texts nearOf(const Texts& elements, const std::string& path, const std::string& prefix = "") {
    std::string file = "[attrs]\n";
    for (const std::string& element : elements) {
        file += element + "=x*version\n";
    }
    return nearTo(file, path, prefix);
}

TEST(NearLinesTest, AnEmptyFileHasNone) { EXPECT_EQ(nearTo("", "C:\\a"), Texts{}); }

TEST(NearLinesTest, WhereALineDecidesThereAreNone) {
    EXPECT_EQ(nearOf({"C:\\src\\a.c", "C:\\SRC\\a.c"}, "C:/src/./a.c"), Texts{});
}

TEST(NearLinesTest, ALineMayDifferInCase) {
    EXPECT_EQ(nearOf({"C:\\Src\\A.c"}, "C:\\src\\a.c"), Texts{"2: differs in case"});
    EXPECT_EQ(nearOf({"c:/"}, "C:\\"), Texts{"2: differs in case"});
}

TEST(NearLinesTest, TheCaseOfEachLetterCounts) {
    const std::string capital = "C:\\\xc3\x84\\\xce\xa9.c";  // U+00C4 and U+03A9
    const std::string small = "C:\\\xc3\xa4\\\xcf\x89.c";
    EXPECT_EQ(nearOf({capital}, small), Texts{"2: differs in case"});
    EXPECT_EQ(nearOf({small}, capital), Texts{"2: differs in case"});
    EXPECT_EQ(nearOf({"C:\\xx\xf0\x9f\x98\x80\xff.c"}, "C:\\XX\xf0\x9f\x98\x80\xff.c"),
              Texts{"2: differs in case"});
    EXPECT_EQ(nearOf({"C:\\xx\xf0\x9f\x98\x80\xff.c"}, "C:\\xx\xf0\x9f\x98\x81\xff.c"),
              Texts{"2: the name differs in one letter"});
}

TEST(NearLinesTest, ALineMayBeOnAnotherDrive) {
    EXPECT_EQ(nearOf({"D:\\src\\a.c"}, "C:\\src\\a.c"), Texts{"2: is on drive D:"});
    EXPECT_EQ(nearOf({"D:\\SRC\\a.c"}, "C:\\src\\a.c"), Texts{"2: is on drive D:"});
}

TEST(NearLinesTest, ALineMayBeAComment) {
    EXPECT_EQ(nearTo("[attrs]\n;C:\\a.c=\n # ; C:\\a.c=\n; see C:\\a.c=\n", "C:\\a.c"),
              (Texts{"3: it is a comment", "2: it is a comment"}));
}

TEST(NearLinesTest, ALineMayBeOutsideTheSections) {
    EXPECT_EQ(nearTo("C:\\a.c=\n[attr]\nC:\\a.c=\n[vobs]\nC:\\a.c=\n", "C:\\a.c"),
              (Texts{"5: it is in [vobs]", "3: it is outside [vobs] and [attrs]",
                     "1: it is outside [vobs] and [attrs]"}));
}

TEST(NearLinesTest, TheLastLineMayLackItsEnd) {
    EXPECT_EQ(nearTo("[attrs]\nC:\\a.c=", "C:\\a.c"), Texts{"2: it has no line feed at its end"});
}

TEST(NearLinesTest, ALineMayBeCutOffByCtrlZ) {
    EXPECT_EQ(
        nearTo("[attrs]\nC:\\a.c=x\x1a\n;\nC:\\a.c=\n", "C:\\a.c"),
        (Texts{"4: it is after a Ctrl+Z, which ends the file", "2: a Ctrl+Z in it ends the file"}));
}

TEST(NearLinesTest, EverythingThatKeepsALineFromBeingReadIsSaid) {
    EXPECT_EQ(nearTo("[attrs]\n;C:\\a.c=", "C:\\a.c"),
              Texts{"2: it is a comment; it has no line feed at its end"});
    EXPECT_EQ(nearTo("#C:\\a.c=\n[vobs]\nC:\\a.c=", "C:\\a.c"),
              (Texts{"3: it is in [vobs]; it has no line feed at its end",
                     "1: it is a comment; it is outside [vobs] and [attrs]"}));
    EXPECT_EQ(nearTo("[x]\n\x1a\n# C:\\a.c=\n", "C:\\a.c"),
              Texts{"3: it is a comment; it is outside [vobs] and [attrs]; it is after a Ctrl+Z, "
                    "which ends the file"});
}

TEST(NearLinesTest, APathBelowTheViewRootNeedsItsNormalForm) {
    EXPECT_EQ(nearOf({"C:/src/a.c"}, "M:\\viewC:\\src\\a.c", "M:\\view"),
              Texts{"2: below CLEARCASE_ROOT it is spelled 'M:\\viewC:/src/a.c', which isn't in "
                    "normal form with backslashes"});
    EXPECT_EQ(nearOf({"C:\\src\\a.c"}, "M:\\viewC:\\src\\a.c", "M:\\view"), Texts{});
    EXPECT_EQ(nearOf({"C:\\src\\A.c"}, "M:\\viewC:\\src\\a.c", "M:\\view"),
              Texts{"2: differs in case"});
}

TEST(NearLinesTest, AViewRootThatIsNotAbsoluteIsNearToNothing) {
    EXPECT_EQ(nearOf({"C:\\src\\a.c"}, "D:\\other", "view"), Texts{});
}

TEST(NearLinesTest, ANameMayDifferInALetterOrTwo) {
    EXPECT_EQ(
        nearOf({"C:\\src\\mian.c", "C:\\src\\man.cc", "C:\\src\\readme.c"}, "C:\\src\\main.c"),
        (Texts{"2: the name differs in one letter", "3: the name differs in 2 letters"}));
}

TEST(NearLinesTest, AShortNameDiffersInOneLetterAtMost) {
    EXPECT_EQ(nearOf({"C:\\abce", "C:\\abef"}, "C:\\abcd"),
              Texts{"2: the name differs in one letter"});
    EXPECT_EQ(nearOf({"C:\\b"}, "C:\\a"), Texts{}) << "nothing is left of it";
    EXPECT_EQ(nearOf({"C:\\b"}, "C:\\"), Texts{});
}

TEST(NearLinesTest, ANameOfAnotherFolderIsNotSimilar) {
    EXPECT_EQ(nearOf({"C:\\src\\sub\\mian.c", "C:\\mian.c"}, "C:\\src\\main.c"), Texts{});
}

TEST(NearLinesTest, TheSameNamesMayBeBelowAnotherFolder) {
    EXPECT_EQ(nearOf({"C:\\x\\main.c", "C:\\work\\Src\\main.c"}, "C:\\src\\main.c"),
              (Texts{"3: has the last 2 names in another folder",
                     "2: has the last name in another folder"}));
    EXPECT_EQ(nearOf({"\\\\srv\\sh\\src\\main.c"}, "C:\\src\\main.c"),
              Texts{"2: has the last 2 names in another folder"});
    EXPECT_EQ(nearOf({"C:\\xsrc\\main.c"}, "C:\\src\\main.c"),
              Texts{"2: has the last name in another folder"});
}

TEST(NearLinesTest, ADriveAndAShareHaveNoNameInCommon) {
    EXPECT_EQ(nearOf({"D:\\"}, "C:\\"), Texts{"2: is on drive D:"});
    EXPECT_EQ(nearOf({"C:\\"}, "\\\\srv\\sh"), Texts{});
}

TEST(NearLinesTest, TheFirstReasonIsTheBest) {
    EXPECT_EQ(nearTo("[attrs]\nD:\\dir\\main.c=\nC:\\Dir\\main.c=\n;C:\\dir\\main.c=\n"
                     "C:\\dir\\mainc=\nC:\\x\\main.c=\n",
                     "C:\\dir\\main.c"),
              (Texts{"4: it is a comment", "3: differs in case", "2: is on drive D:"}));
    EXPECT_EQ(nearTo("[attrs]\nC:\\x\\main.c=\nC:\\dir\\mainc=\nD:\\dir\\main.c=\nC:\\main.c=\n",
                     "C:\\dir\\main.c"),
              (Texts{"4: is on drive D:", "3: the name differs in one letter",
                     "5: has the last name in another folder"}));
}

TEST(NearLinesTest, ALineThatIsReadIsNearerThanOneThatIsNot) {
    EXPECT_EQ(nearTo("[attrs]\nC:\\Dir\\a=\n;C:\\DIR\\a=\n", "C:\\dir\\a"),
              (Texts{"2: differs in case", "3: differs in case; it is a comment"}));
}

TEST(NearLinesTest, OfTheRestTheLastLinesAreTheNearest) {
    EXPECT_EQ(
        nearOf({"C:\\a\\m", "C:\\b\\m", "C:\\c\\m", "C:\\d\\m"}, "C:\\m"),
        (Texts{"5: has the last name in another folder", "4: has the last name in another folder",
               "3: has the last name in another folder"}));
}

TEST(NearLinesTest, ALineIsNearOnceForItsBestReason) {
    // Its first path is in another folder, its second one differs in case.
    EXPECT_EQ(nearOf({"C:\\src\\a.c"}, "m:\\viewC:\\src\\a.c", "M:\\view"),
              Texts{"2: differs in case"});
}

/// Random files over a few paths that are near to each other.
class RandomLines {
public:
    std::string file() {
        std::string text = "[attrs]\n";
        for (size_t i = mRandom() % 12; i != 0; --i) {
            const char* const starts[] = {"", "", "", ";", "[vobs]\n", "[attrs]\n", "[none]\n"};
            text += starts[mRandom() % std::size(starts)];
            text += path() + "=x" + (mRandom() % 9 == 0 ? "\x1a" : "") + "\n";
        }
        return text;
    }

    std::string path() {
        const char* const drives[] = {"C:", "c:", "D:", "//s/h"};
        const char* const folders[] = {"\\src\\", "/Src/", "\\a\\src\\", "\\"};
        const char* const names[] = {"main.c", "Main.c", "mian.c", "m", "", "main.cpp"};
        return std::string(drives[mRandom() % std::size(drives)]) +
               folders[mRandom() % std::size(folders)] + names[mRandom() % std::size(names)];
    }

private:
    std::mt19937 mRandom{1};  // NOLINT(cert-msc32-c,cert-msc51-cpp): reproducible
};

/// Whether a line is read and has the path, so that it could decide.
bool matches(const ConfigurationLine& line, const std::string& key) {
    return line.kind == LineKind::element && (line.key == key || line.secondKey == key);
}

TEST(NearLinesTest, InRandomFilesNoNearLineMatchesAndTheOrderHolds) {
    RandomLines random;
    for (int i = 0; i < 3000; ++i) {
        const std::string file = random.file();
        const std::string path = random.path();
        const std::string key = elementKey(path);
        const ConfigurationLines lines(file, i % 3 == 0 ? "C:" : "");
        const std::vector<NearLine> nearest = NearLines(lines).of(path);
        ASSERT_LE(nearest.size(), 3U) << file << path;
        std::set<const ConfigurationLine*> different;
        for (const NearLine& line : nearest) {
            ASSERT_FALSE(matches(*line.line, key)) << file << path;
            ASSERT_NE(line.why, "") << file << path;
            different.insert(line.line);
        }
        ASSERT_EQ(different.size(), nearest.size()) << file << path;
        ASSERT_TRUE(
            std::is_sorted(nearest.begin(), nearest.end(),
                           [](const auto& a, const auto& b) { return a.reason < b.reason; }))
            << file << path;
    }
}

TEST(NearLinesTest, InRandomFilesNoLineThatDiffersInCaseIsMissed) {
    RandomLines random;
    for (int i = 0; i < 3000; ++i) {
        const std::string file = random.file();
        const std::string path = random.path();
        const ConfigurationLines lines(file, "");
        const std::vector<NearLine> nearest = NearLines(lines).of(path);
        const bool decided = lines.deciding(elementKey(path)) != nullptr;
        for (const ConfigurationLine& line : lines.lines()) {
            if (decided || !boost::iequals(line.key, elementKey(path), std::locale::classic())) {
                continue;
            }
            const bool found =
                std::any_of(nearest.begin(), nearest.end(), [&](const NearLine& other) {
                    return other.line == &line && other.reason == NearReason::otherCase;
                });
            const bool othersAreNearer =
                nearest.size() == 3 && nearest[2].reason <= NearReason::otherCase;
            ASSERT_TRUE(found || othersAreNearer) << file << path;
        }
    }
}

}  // namespace
