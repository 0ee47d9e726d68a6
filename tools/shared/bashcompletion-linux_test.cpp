// The script in bash itself.

#include <filesystem>

#include <gtest/gtest.h>

#include "testing/processes/bashcompletion.h"
#include "testing/scopes/tempfolder.h"
#include "tools/shared/bashcompletion.h"

namespace {

using namespace testing_support;
using namespace tools;

using Texts = std::vector<std::string>;

const std::string files = " -o bashdefault -o default";
const std::string folders = " -o dirnames";

ProgramDescription description() {
    const OptionDescription json{.names = {"-j", "--json"}};
    const OptionDescription file{
        .names = {"--file"}, .value = ValueDescription{.label = "FILE", .kind = ValueKind::file}};
    const OptionDescription folder{
        .names = {"--folder"},
        .value = ValueDescription{.label = "DIR", .kind = ValueKind::folder}};
    const OptionDescription text{.names = {"--text"}, .value = ValueDescription{.label = "TEXT"}};
    const OptionDescription word{
        .names = {"-w", "--word"},
        .value = ValueDescription{.label = "WORD", .words = {"one", "two", "three"}}};
    return {.name = "prog",
            .options = {json, file},
            .commands = {{.name = "files",
                          .options = {json, file, folder, text, word},
                          .arguments = {{.label = "WORD", .words = {"first", "last"}},
                                        {.label = "FILE", .kind = ValueKind::file}},
                          .lastRepeats = true},
                         {.name = "folder",
                          .options = {json, folder},
                          .arguments = {{.label = "DIR", .kind = ValueKind::folder}}},
                         {.name = "none", .options = {json}}}};
}

class BashTest : public testing::Test {
protected:
    BashTest()
        : mBash{.program = "prog",
                .script = bashCompletion(description()),
                .folder = mFolder.path()} {}

    std::string reply(const std::string& line) const { return mBash.repliesTo({line}).at(0); }

    TempFolder mFolder;
    BashCompletion mBash;
};

TEST_F(BashTest, TheFirstWordIsACommandOrAnOption) {
    EXPECT_EQ(mBash.repliesTo({"prog ", "prog f", "prog n", "prog x", "prog -", "prog --j",
                               "prog --json f", "prog --file x no", "prog --file=x no"}),
              (Texts{"files folder none", "files folder", "none", "", "-j --json --file", "--json",
                     "files folder", "none", "none"}));
}

TEST_F(BashTest, AfterACommandItsOptionsAreOffered) {
    EXPECT_EQ(mBash.repliesTo({"prog files -", "prog files first x --f", "prog --json none --",
                               "prog unknown -", "prog 'folder' --f"}),
              (Texts{"-j --json --file --folder --text -w --word", "--file --folder", "--json", "",
                     "--folder"}));
}

TEST_F(BashTest, ArgumentsAreCountedWithoutOptionsAndTheirValues) {
    EXPECT_EQ(mBash.repliesTo({"prog files ", "prog files l", "prog files first ",
                               "prog files first a b c", "prog files --text first ",
                               "prog files --json ", "prog files -w one --file=x ", "prog folder ",
                               "prog folder a ", "prog none "}),
              (Texts{"first last", "last", files, files, "first last", "first last", "first last",
                     folders, "", ""}));
}

TEST_F(BashTest, ValuesAreOfferedWithABlankOrAnEqualsSignInFront) {
    EXPECT_EQ(
        mBash.repliesTo({"prog files --word ", "prog files --word t", "prog files -w t",
                         "prog files --word=", "prog files --word=th", "prog files --text ",
                         "prog files --text=", "prog files --json=", "prog files --unknown=",
                         "prog --file ", "prog --file=a", "prog folder --folder=", "prog --word="}),
        (Texts{"one two three", "two three", "two three", "one two three", "three", "", "", "", "",
               files, files, folders, ""}));
}

TEST_F(BashTest, AfterTwoHyphensThereAreNoOptions) {
    EXPECT_EQ(
        mBash.repliesTo({"prog files -- first --j", "prog files -- --j", "prog files first -- ",
                         "prog -- f", "prog none -- -", "prog files -- first --file "}),
        (Texts{files, "", files, "", "", files}));
}

TEST_F(BashTest, AHyphenAloneIsAnArgument) { EXPECT_EQ(reply("prog files - "), files); }

TEST_F(BashTest, ARedirectionTakesAFile) {
    EXPECT_EQ(mBash.repliesTo({"prog none > ", "prog none >x", "prog none 2> ", "prog files < x"}),
              (Texts{files, files, files, files}));
}

TEST_F(BashTest, OnlyWhatIsInFrontOfTheCursorCounts) {
    EXPECT_EQ(reply("prog fil --json\x01\x1b\x66\x1b\x66"), "files");
    EXPECT_EQ(reply("x=1 prog no"), "none");
    EXPECT_EQ(reply("true; prog no"), "none");
}

TEST_F(BashTest, QuotesAndColonsDoNotSplitWords) {
    EXPECT_EQ(
        mBash.repliesTo({"prog --file 'a b' n", "prog --file \"a 'b\" n", "prog --file a\\ b n",
                         "prog --file '' n", "prog --file C:\\x n", "prog --file \"\\\" n\" n",
                         "prog --file 'a\\' n", "prog files --word 't", "prog files --word=\"t",
                         "prog o\"n", "prog fi\\l"}),
        (Texts{"none", "none", "none", "none", "none", "none", "none", "two three", "two three", "",
               ""}));
}

TEST_F(BashTest, ThePathOfADriveIsCompletedAsAWhole) {
    // For bash this is a folder with that name.
    create_directories(mFolder.path() / "C:" / "a folder" / "sub");
    mFolder.write("C:/a file", "");
    mFolder.write("C:/other", "");
    EXPECT_EQ(mBash.repliesTo({"prog --file C:/o", "prog --file=C:\\o", "prog --file 'C:\\o",
                               "prog --file \"C:/o", "prog files first C:/a\\ fo",
                               "prog folder C:", "prog --file C:/x"}),
              (Texts{"/other -o filenames", "/other -o filenames", "C:/other -o filenames",
                     "C:/other -o filenames", "/a folder/ -o filenames -o nospace",
                     "/ -o filenames -o nospace", " -o filenames"}));
}

TEST_F(BashTest, AFolderWithCharactersThatBashQuotesIsGoneInto) {
    const auto folder = mFolder.path() / "C:" / "Program Files (x86)" / "R&D";
    create_directories(folder / "end");
    EXPECT_EQ(mBash.argumentsOf({"prog folder C:/Pro\tR\te\t", "prog folder C:\\Pro\tR\te\t"}),
              (Texts{"<folder><C:/Program Files (x86)/R&D/end/>",
                     "<folder><C:/Program Files (x86)/R&D/end/>"}));
    EXPECT_EQ(reply("prog folder 'C:/Program Files (x86)/R&D/e"),
              "C:/Program Files (x86)/R&D/end -o filenames");
}

TEST_F(BashTest, TheCompletedLineRuns) {
    create_directories(mFolder.path() / "C:" / "a folder");
    create_directory(mFolder.path() / "a folder");
    mFolder.write("a folder/a file", "");
    mFolder.write("a file", "");
    EXPECT_EQ(
        mBash.argumentsOf(
            {"prog.exe() { prog \"$@\"; }", "prog fol\t--fo\ta\t", "prog.exe no\t--j\t",
             "prog files --w\tth\t--wor\tone\t", "prog files --word=th\tx", "prog --file=a\\ fi\t",
             "prog --file 'a fo\ta\t", "prog folder C:\\a\t", "prog folder 'C:\\a\t"}),
        (Texts{"", "<folder><--folder><a folder/>", "<none><--json>",
               "<files><--word><three><--word><one>", "<files><--word=three><x>", "<--file=a file>",
               "<--file><a folder/a file>", "<folder><C:/a folder/>", "<folder><C:/a folder/>"}));
}

TEST_F(BashTest, WordsThatBashDoesNotSplitAtTheEqualsSignAreCompletedToo) {
    mFolder.write("other", "");
    create_directory(mFolder.path() / "folder");
    mBash.script += "COMP_WORDBREAKS=${COMP_WORDBREAKS//[=:]/}\n";
    EXPECT_EQ(mBash.repliesTo({"prog files --word=th", "prog --file=o", "prog --file o",
                               "prog folder --folder=f"}),
              (Texts{"--word=three", "--file=other -o filenames", files,
                     "--folder=folder/ -o filenames -o nospace"}));
    EXPECT_EQ(
        mBash.argumentsOf({"prog files --word=th\tx", "prog --file=o\tnone", "prog --file=fol\t"}),
        (Texts{"<files><--word=three><x>", "<--file=other><none>", "<--file=folder/>"}));
}

}  // namespace
