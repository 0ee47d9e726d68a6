#include "tools/ccquery/findings.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "testing/linesremoved.h"

namespace {

using ccquery::ConfigurationLines;
using ccquery::Finding;
using ccquery::findings;
using testing_support::wrongFinding;

/// The findings as lines of "LINE:COLUMN TEXT [name]", with a star in front of the name if the line
/// is without effect.
std::string found(const std::string& text, const std::string& prefix = "") {
    std::string lines;
    for (const Finding& finding : findings(ConfigurationLines(text, prefix))) {
        EXPECT_EQ(finding.isError, finding.name == "relative-path");
        lines += std::to_string(finding.line);
        if (finding.lastLine != finding.line) {
            lines += "-" + std::to_string(finding.lastLine);
        }
        lines += ":" + std::to_string(finding.column) + " " + finding.text + " [" +
                 (finding.isWithoutEffect ? "*" : "") + finding.name + "]\n";
    }
    return lines;
}

TEST(FindingsTest, AFileWhoseLinesAllHaveAnEffectHasNone) {
    EXPECT_EQ(found(""), "");
    EXPECT_EQ(found("\n; a remark\n#\n"), "");
    EXPECT_EQ(found("[vobs]\r\n\\v=ro\r\n\\w=\r\n[attrs]\r\n; x\r\nC:/a=x\r\nC:\\b=y*null\r\n"),
              "");
}

TEST(FindingsTest, ALineOutsideTheSectionsIsFound) {
    EXPECT_EQ(found(" a=b\n[x]\n\n c\n[vobs]\n\\v=\n"),
              "1:2 no section begins above this line; put the line below [vobs] or [attrs] "
              "[*outside-section]\n"
              "2:1 there is no section '[x]', and the lines below it aren't read; write [vobs] or "
              "[attrs] [*unknown-section]\n"
              "4:2 the section that begins in line 2 isn't read; put the line below [vobs] or "
              "[attrs] [*outside-section]\n");
}

TEST(FindingsTest, AnUnknownSectionIsFoundWithTheOneThatWasMeant) {
    for (const auto& [header, meant] :
         {std::pair("[vob]", "[vobs]"), std::pair("[ATTR]", "[attrs]"),
          std::pair("[vobs] ; mine", "[vobs]"), std::pair("[ attrs ]", "[attrs]"),
          std::pair("[vobs", "[vobs]"), std::pair("[elements]", "[vobs] or [attrs]"),
          std::pair("[]", "[vobs] or [attrs]"), std::pair("[", "[vobs] or [attrs]")}) {
        EXPECT_EQ(found(std::string(header) + "\n"),
                  "1:1 there is no section '" + std::string(header) +
                      "', and the lines below it aren't read; write " + meant +
                      " [*unknown-section]\n");
    }
}

TEST(FindingsTest, AnUnknownSectionThatHidesLinesHasAnEffect) {
    EXPECT_EQ(found("[vobs]\n\\v=\n[vob]\n\\w=\n"),
              "3:1 there is no section '[vob]', and the lines below it aren't read; write [vobs] "
              "[unknown-section]\n"
              "4:1 the section that begins in line 3 isn't read; put the line below [vobs] or "
              "[attrs] [*outside-section]\n");
}

TEST(FindingsTest, AByteOrderMarkIsFound) {
    const std::string mark =
        "1:1 a byte order mark is in front, and so this line isn't read; save the file as UTF-8 "
        "without it [*byte-order-mark]\n";
    EXPECT_EQ(found("\xef\xbb\xbf[vobs]\n"), mark);
    EXPECT_EQ(found("\xef\xbb\xbf; remark\n[vobs]\n\\v=\n"), mark);
    EXPECT_EQ(found("\xef\xbb\xbf"),
              mark +
                  "1:1 the last line doesn't end in a line feed, and so it isn't read; add one "
                  "[*unfinished-line]\n");
}

/// Returns the text, which is ASCII, as a file in UTF-16 with a byte order mark.
std::string inUtf16(const std::string& text, bool isLittleEndian) {
    std::string file = isLittleEndian ? "\xff\xfe" : "\xfe\xff";
    for (const char c : text) {
        file += isLittleEndian ? std::string{c, '\0'} : std::string{'\0', c};
    }
    return file;
}

TEST(FindingsTest, AFileInUtf16IsOneFinding) {
    const std::string problem =
        ":1 the file is UTF-16, and so it isn't read; save it as UTF-8 without a byte order mark "
        "[*byte-order-mark]\n";
    const std::string text =
        "[vobs]\r\n\\v=ro\r\n\r\n; remark\r\n[attrs]\r\nC:\\a=\x1a*version\r\n";
    for (const bool isLittleEndian : {true, false}) {
        const std::string file = inUtf16(text, isLittleEndian);
        EXPECT_EQ(found(inUtf16("", isLittleEndian)), "1" + problem);
        EXPECT_EQ(found(inUtf16("[\n", isLittleEndian)), (isLittleEndian ? "1-2" : "1") + problem);
        EXPECT_EQ(found(file), (isLittleEndian ? "1-7" : "1-6") + problem);
        EXPECT_EQ(wrongFinding(file, ""), "");
    }
}

TEST(FindingsTest, LinesThatAreReadBelowAMarkOfUtf16AreJudgedEach) {
    EXPECT_EQ(found("\xff\xfe\n[vobs]\n\\v=\n\\w=x\n"),
              "1:1 the file is UTF-16, and so it isn't read; save it as UTF-8 without a byte order "
              "mark [*byte-order-mark]\n"
              "4:4 the flag 'x' means nothing; the only flag is ro [unknown-flag]\n");
}

TEST(FindingsTest, ALastLineWithoutItsEndIsFound) {
    const std::string end =
        " the last line doesn't end in a line feed, and so it isn't read; add one "
        "[*unfinished-line]\n";
    EXPECT_EQ(found("[vobs]\n\\v=\n \\w="), "3:2" + end);
    EXPECT_EQ(found("[vobs]"), "1:1" + end);
    EXPECT_EQ(found("[vobs]\n\\v=\n; remark"), "");
    EXPECT_EQ(found("[vobs]\n\\v=\n \t"), "");
}

TEST(FindingsTest, CtrlZIsFoundWithTheLinesAfterIt) {
    EXPECT_EQ(found("[vobs]\n\\v=\n\x1a"),
              "3:1 Ctrl+Z ends the file here; take it out [*ctrl-z]\n");
    EXPECT_EQ(found("[vobs]\n\\v=\n; x \x1a\n\n; y\n"),
              "3:5 Ctrl+Z ends the file here; take it out [*ctrl-z]\n");
    EXPECT_EQ(found("[vobs]\n\\v=\n\x1a\n\n \\w=\n; c\n\\x=\n\n"),
              "3:1 Ctrl+Z ends the file here; take it out [ctrl-z]\n"
              "5-7:2 nothing after the Ctrl+Z in line 3 is read; take that out [*after-ctrl-z]\n");
    EXPECT_EQ(found("[vobs]\n\\v=\n\xc3\xb6=\x1a x"),
              "3:3 Ctrl+Z ends the file here, and so this line isn't read; take the Ctrl+Z out "
              "[*ctrl-z]\n");
}

TEST(FindingsTest, ALineWithoutAnEqualsSignIsFound) {
    EXPECT_EQ(found("[vobs]\n \\v\n[attrs]\nC:\\a*version\n"),
              "2:2 there is no '=' in this line; write TAG=FLAGS [no-equals]\n"
              "4:1 there is no '=' in this line; write PATH=TEXT or PATH=TEXT*TYPE [no-equals]\n");
}

TEST(FindingsTest, AFlagThatMeansNothingIsFound) {
    EXPECT_EQ(found("[vobs]\n\\v=RO,, x ;ro\n"),
              "2:4 the flag 'RO' means nothing; write ro [unknown-flag]\n"
              "2:9 the flag 'x' means nothing; the only flag is ro [unknown-flag]\n");
}

TEST(FindingsTest, AVobThatIsNamedTwiceIsFound) {
    EXPECT_EQ(found("[vobs]\n\\v=ro\n\\w=\n\\v=\n\\v=\n\\V=\n"),
              "4:1 line 2 has the VOB '\\v' too; take one of the two lines out [repeated-vob]\n"
              "5:1 line 2 has the VOB '\\v' too; take one of the two lines out [repeated-vob]\n");
}

TEST(FindingsTest, AHeaderThatChangesNothingIsFound) {
    EXPECT_EQ(found("[vobs]\n\\v=\n[vobs]\n\\w=\n"),
              "3:1 the lines below are in [vobs] anyway; take the header out "
              "[*header-without-effect]\n");
    EXPECT_EQ(found("[vobs]\n\n[attrs]\n; c\n"),
              "1:1 no line follows in this section; take the header out "
              "[*header-without-effect]\n"
              "3:1 no line follows in this section; take the header out "
              "[*header-without-effect]\n");
    EXPECT_EQ(found("[attrs]\n\x1a"),
              "1:1 no line follows in this section; take the header out "
              "[*header-without-effect]\n"
              "2:1 Ctrl+Z ends the file here; take it out [*ctrl-z]\n");
}

TEST(FindingsTest, AHeaderOfLinesWithoutEffectIsFound) {
    EXPECT_EQ(found("[attrs]\nC:\\a=x\n[vobs]\n\\v=\n[attrs]\nC:\\a=y\n"),
              "1:1 no line of this section has an effect; take them out [*header-without-effect]\n"
              "2:1 line 6 replaces the element 'C:\\a'; take one of the two lines out "
              "[*replaced-element]\n");
}

TEST(FindingsTest, AnElementThatALaterLineReplacesIsFound) {
    EXPECT_EQ(found("[attrs]\nC:\\a=x\n C:/a=y\nC:\\a=z\n"),
              "2:1 line 4 replaces the element 'C:\\a'; take one of the two lines out "
              "[*replaced-element]\n"
              "3:2 line 4 replaces the element 'C:\\a'; take one of the two lines out "
              "[*replaced-element]\n");
}

TEST(FindingsTest, AReplacedElementMayKeepItsSecondPath) {
    EXPECT_EQ(found("[attrs]\nM:\\b\\..\\a=x\nM:\\a=y\n", "M:\\v\\"),
              "2:1 line 3 replaces the element 'M:\\a', except for its second path "
              "'M:\\v\\M:\\b\\..\\a'; take one of the two lines out [replaced-element]\n"
              "2:1 no path can name the element's second path 'M:\\v\\M:\\b\\..\\a'; write "
              "'M:\\a' [unreachable-second-path]\n");
}

TEST(FindingsTest, AnElementThatAnEarlierLineHasIsFound) {
    EXPECT_EQ(found("[attrs]\nC:\\a=x*null\nC:/a=x*null\n"),
              "2:1 line 3 replaces the element 'C:\\a'; take one of the two lines out "
              "[*replaced-element]\n"
              "3:1 line 2 says the same of the element 'C:\\a'; take one of the two lines out "
              "[*repeated-element]\n");
    EXPECT_EQ(found("[attrs]\nC:\\a=x*null\nC:/a=y*null\nC:/a=x*version\n"),
              "2:1 line 4 replaces the element 'C:\\a'; take one of the two lines out "
              "[*replaced-element]\n"
              "3:1 line 4 replaces the element 'C:\\a'; take one of the two lines out "
              "[*replaced-element]\n");
}

TEST(FindingsTest, AnUnknownTypeIsFoundWithTheOneThatWasMeant) {
    EXPECT_EQ(found("[attrs]\nC:\\a=x*checked-out-file\n"),
              "2:8 there is no type 'checked-out-file', and so the element is a link; write "
              "checked_out_file [unknown-type]\n");
    for (const char* type : {"", "link"}) {
        EXPECT_EQ(found("[attrs]\nC:\\a=\xc3\xb6*" + std::string(type) + "\n"),
                  "2:8 there is no type '" + std::string(type) +
                      "', and so the element is a link; write unexpected, null, version, "
                      "directory_version, symbolic_link, view_private, view_derived, "
                      "derived_object, checked_out_file or checked_out_dir [unknown-type]\n");
    }
}

TEST(FindingsTest, AReplacedElementOfAnUnknownTypeHasTheEffectOfAComplaint) {
    EXPECT_EQ(found("[attrs]\nC:\\a=x*nul\nC:\\a=y\n"),
              "2:1 line 3 replaces the element 'C:\\a'; take one of the two lines out "
              "[replaced-element]\n"
              "2:8 there is no type 'nul', and so the element is a link; write null "
              "[unknown-type]\n");
}

TEST(FindingsTest, ElementsThatDifferInCaseAloneAreFound) {
    EXPECT_EQ(found("[attrs]\nC:\\\xc3\x96=x\nC:\\b=x\nc:\\\xc3\xb6=y\nC:/B=z\nC:\\B\\c=z\n"),
              "4:1 only case distinguishes 'c:\\\xc3\xb6' from 'C:\\\xc3\x96' in line 2, and they "
              "are two elements; take one out, or spell it as the host does [case-differs]\n"
              "5:1 only case distinguishes 'C:\\B' from 'C:\\b' in line 3, and they are two "
              "elements; take one out, or spell it as the host does [case-differs]\n");
}

TEST(FindingsTest, ABlankAtAnEqualsSignIsFound) {
    EXPECT_EQ(found("[vobs]\n\\v = ro\n[attrs]\nC:\\a\t= x\nC:\\b= y*null\nC:\\c=\tx\n"),
              "2:3 the blank before '=' belongs to the VOB tag; take it out "
              "[blank-before-equals]\n"
              "4:5 the blank before '=' belongs to the path; take it out [blank-before-equals]\n"
              "4:7 the blank after '=' belongs to the text of the link; take it out "
              "[blank-after-equals]\n"
              "6:6 the blank after '=' belongs to the text of the link; take it out "
              "[blank-after-equals]\n");
}

TEST(FindingsTest, APathWithANullCharacterIsFound) {
    const std::string null(1, '\0');
    EXPECT_EQ(found("[attrs]\nC:\\a" + null + "=x\nC:\\" + null + "\\..\\b=x\n"),
              "2:1 no path can name the element 'C:\\a" + null +
                  "', which has a null character in it; take the null character out "
                  "[unreachable-element]\n");
}

TEST(FindingsTest, ASecondPathThatNoPathCanNameIsFound) {
    const std::string file = "[attrs]\nC:/a=x\n";
    const std::string begin = "2:1 no path can name the element's second path '";
    EXPECT_EQ(found(file, "M:\\v"), begin +
                                        "M:\\vC:/a'; write 'C:\\a' "
                                        "[unreachable-second-path]\n");
    EXPECT_EQ(found(file, "v"), begin +
                                    "vC:/a'; set CLEARCASE_ROOT to an absolute path, or remove "
                                    "it [unreachable-second-path]\n");
    for (const char* root : {"M:/v", "M:\\w\\..\\v"}) {
        EXPECT_EQ(
            found("[attrs]\nC:\\a=x\n", root),
            begin + root + "C:\\a'; set CLEARCASE_ROOT to 'M:\\v' [unreachable-second-path]\n");
    }
    EXPECT_EQ(found("[attrs]\n\\\\s\\h\\x=x\n", "M:\\v"),
              begin +
                  "M:\\v\\\\s\\h\\x'; if hosts ask for the element below 'M:\\v', add a line "
                  "with that path [unreachable-second-path]\n");
    EXPECT_EQ(found("[attrs]\nC:\\a=x\n", "M:\\v"), "");
}

TEST(FindingsTest, APathThatIsNotAbsoluteIsAnError) {
    EXPECT_EQ(found("[attrs]\nrel=x*nonsense\n\\root =x\n"),
              "2:1 the path 'rel' isn't absolute, and so this line stops the host; begin with a "
              "drive or with a server and a share [relative-path]\n"
              "3:1 the path '\\root ' isn't absolute, and so this line stops the host; begin with "
              "a drive or with a server and a share [relative-path]\n");
}

TEST(FindingsTest, FindingsAreInTheOrderOfTheFile) {
    const auto list = findings(
        ConfigurationLines("[attrs]\nC:\\A =x*y\nC:\\a =x*y\nrel=\nx\n[vobs]\na=b c\na=\nz", ""));
    ASSERT_EQ(list.size(), 11U);
    for (size_t i = 1; i < list.size(); ++i) {
        EXPECT_LE(std::pair(list[i - 1].line, list[i - 1].column),
                  std::pair(list[i].line, list[i].column));
    }
}

}  // namespace
