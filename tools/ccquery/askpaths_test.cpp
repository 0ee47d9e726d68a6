#include "tools/ccquery/askpaths.h"

#include <map>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace ccquery;

using Texts = std::vector<std::string>;

/// Answers "=PATH" to `canonicalize`, and throws for the paths "throw" and "throwint". The type of
/// every element is `elementVersion`.
class EchoConnection : public ClearCaseConnection {
public:
    std::string getOutput() override { return {}; }
    std::string getError() override { return {}; }
    void clearMessages() override {}
    int getElementStatus(const char* path, std::string* version, std::string*) override {
        *version = path;
        return elementVersion;
    }
    std::string canonicalizeViewPath(const std::string&, const std::string& path,
                                     const std::vector<std::string>&) override {
        if (path == "throw") {
            throw std::runtime_error("no answer");
        }
        if (path == "throwint") {
            throw 42;
        }
        return "=" + path;
    }
    std::string getViewTag() override { return {}; }
    void probeVobs(const std::string&, std::vector<VobRecord>&) override {}
    void getProductInfo(const void*, std::map<std::string, std::string>&) override {}
    std::string getMvfsDrives(std::map<std::string, std::string>&) override { return {}; }
    void startSession() override {}
    bool isReady() override { return true; }
    void killConnection() override {}
};

class AskPathsTest : public testing::Test {
protected:
    ExitCode put(const Query& query, std::istream& input, const Explain& explain = nullptr) {
        const auto complete = [](const std::string& path) -> std::string {
            if (path.empty()) {
                throw std::runtime_error("an empty path");
            }
            return "C:/" + path;
        };
        EchoConnection connection;
        return askPaths(
            connection, query,
            {.input = input,
             .complete = complete,
             .print = [this](const std::string& text) { output += text; },
             .complain = [this](const std::string& text) { complaints.push_back(text); },
             .explain = explain});
    }

    /// Puts a query of `canonicalize`, with `input` as standard input.
    ExitCode canonicalize(const Texts& paths, const std::string& input = "", bool json = false,
                          bool endedByNull = false) {
        std::istringstream stream(input);
        return put({.command = Command::canonicalize,
                    .json = json,
                    .paths = paths,
                    .endedByNull = endedByNull},
                   stream);
    }

    std::string output;
    Texts complaints;
};

/// Standard input whose next line comes only after the answer to the one before it.
class Dialogue : public std::streambuf {
public:
    Dialogue(Texts lines, const std::string& output) : mLines(std::move(lines)), mOutput(output) {}

    /// What had been printed when each line was read.
    Texts printedBefore;

protected:
    int_type underflow() override {
        if (printedBefore.size() == mLines.size()) {
            return traits_type::eof();
        }
        std::string& line = mLines[printedBefore.size()];
        printedBefore.push_back(mOutput);
        setg(line.data(), line.data(), line.data() + line.size());
        return traits_type::to_int_type(line.front());
    }

private:
    Texts mLines;
    const std::string& mOutput;
};

/// An input that can't be read.
class BrokenInput : public std::streambuf {
protected:
    int_type underflow() override { throw std::runtime_error("broken"); }
};

TEST_F(AskPathsTest, TheAnswersAreOneTable) {
    EXPECT_EQ(canonicalize({"a", "long"}), exitAnswered);
    EXPECT_EQ(output, "PATH  CANONICAL\na     =a\nlong  =long\n");
    EXPECT_EQ(complaints, Texts{});
}

TEST_F(AskPathsTest, TheAnswersInJsonAreALineEach) {
    EXPECT_EQ(canonicalize({"a", "b"}, "", /*json=*/true), exitAnswered);
    EXPECT_EQ(output,
              "{\"path\":\"a\",\"canonical\":\"=a\"}\n{\"path\":\"b\",\"canonical\":\"=b\"}\n");
}

TEST_F(AskPathsTest, ADashIsThePathsOnStandardInput) {
    EXPECT_EQ(canonicalize({"a", "-", "b"}, "x\ny\r\nz"), exitAnswered);
    EXPECT_EQ(output, "a\t=a\nx\t=x\ny\t=y\nz\t=z\nb\t=b\n");
}

TEST_F(AskPathsTest, ASecondDashHasNothingLeftToRead) {
    EXPECT_EQ(canonicalize({"-", "-"}, "x\n"), exitAnswered);
    EXPECT_EQ(output, "x\t=x\n");
}

TEST_F(AskPathsTest, PathsThatEndInNullMayHaveLineEnds) {
    const std::string input("x\ny\r\0z", 6);
    EXPECT_EQ(canonicalize({"-"}, input, /*json=*/false, /*endedByNull=*/true), exitAnswered);
    EXPECT_EQ(output, "x\\ny\\r\t=x\\ny\\r\nz\t=z\n");
}

TEST_F(AskPathsTest, AByteOrderMarkInFrontOfStandardInputIsNoPartOfAPath) {
    const std::string mark = "\xef\xbb\xbf";
    for (const bool endedByNull : {false, true}) {
        output.clear();
        const std::string end(1, endedByNull ? '\0' : '\n');
        std::string paths = mark;
        paths.append("x").append(end).append(mark).append("y").append(end);
        EXPECT_EQ(canonicalize({"-"}, paths, /*json=*/false, endedByNull), exitAnswered);
        EXPECT_EQ(output,
                  "x\t=x\n\xef\xbb\xbf"
                  "y\t=\xef\xbb\xbf"
                  "y\n");
    }
}

TEST_F(AskPathsTest, APathWithANullCharacterIsNotAskedAbout) {
    for (const Command command : {Command::status, Command::canonicalize}) {
        output.clear();
        complaints.clear();
        std::istringstream input(std::string("a\0b\0\nc\n", 7));
        EXPECT_EQ(put({.command = command, .json = true, .paths = {"-"}}, input), exitNoAnswer);
        EXPECT_EQ(
            output.find("\"path\":\"" + std::string(command == Command::status ? "C:/c" : "c")), 1U)
            << output;
        EXPECT_EQ(complaints,
                  Texts{"'a' is followed by a null character; write the paths in UTF-8, or use "
                        "--null if null characters end them"});
    }
}

TEST_F(AskPathsTest, EmptyStandardInputIsNoQuestion) {
    EXPECT_EQ(canonicalize({"-"}), exitAnswered);
    EXPECT_EQ(output, "");
}

TEST_F(AskPathsTest, EachAnswerIsPrintedBeforeTheNextPathIsRead) {
    for (const bool json : {false, true}) {
        output.clear();
        Dialogue dialogue({"x\n", "y\n"}, output);
        std::istream input(&dialogue);
        EXPECT_EQ(put({.command = Command::canonicalize, .json = json, .paths = {"-"}}, input),
                  exitAnswered);
        const std::string first = json ? "{\"path\":\"x\",\"canonical\":\"=x\"}\n" : "x\t=x\n";
        EXPECT_EQ(dialogue.printedBefore, (Texts{"", first}));
    }
}

TEST_F(AskPathsTest, AnExceptionOfTheLibraryIsAComplaintAboutItsPath) {
    EXPECT_EQ(canonicalize({"throw", "a", "throwint", "b"}), exitNoAnswer);
    EXPECT_EQ(output, "PATH  CANONICAL\na     =a\nb     =b\n");
    EXPECT_EQ(complaints, (Texts{"'throw': no answer",
                                 "'throwint': the connection library threw something that is no "
                                 "std::exception"}));
}

TEST_F(AskPathsTest, WithoutAnAnswerThereIsNoTable) {
    EXPECT_EQ(canonicalize({"throw"}), exitNoAnswer);
    EXPECT_EQ(output, "");
}

TEST_F(AskPathsTest, PathsOfStatusAreCompleted) {
    std::istringstream input("b\n\n");
    EXPECT_EQ(put({.command = Command::status, .json = true, .paths = {"a", "", "-"}}, input),
              exitNoAnswer);
    const auto answer = [](const std::string& path) {
        return "{\"path\":\"" + path + "\",\"type\":1,\"typeName\":\"version\",\"version\":\"" +
               path + "\",\"target\":null}\n";
    };
    EXPECT_EQ(output, answer("C:/a") + answer("C:/b"));
    EXPECT_EQ(complaints, (Texts{"an empty path", "an empty path"}));
}

/// An explanation that names what it explains. It doesn't agree about the path "other".
Explanation explainPath(const std::string& path, const Json& answer) {
    return {.record = {{"of", answer["canonical"]}},
            .lines = {"path: " + path, "a\nb"},
            .agrees = path != "other"};
}

TEST_F(AskPathsTest, AnExplanationIsBelowItsAnswer) {
    std::istringstream input("y\n");
    EXPECT_EQ(put({.command = Command::canonicalize, .paths = {"a", "-"}}, input, explainPath),
              exitAnswered);
    EXPECT_EQ(output,
              "a  =a\n    path: a\n    a\\nb\n"
              "y  =y\n    path: y\n    a\\nb\n");
}

TEST_F(AskPathsTest, AnExplanationInJsonIsAField) {
    std::istringstream input("y\n");
    EXPECT_EQ(put({.command = Command::canonicalize, .json = true, .paths = {"a", "-"}}, input,
                  explainPath),
              exitAnswered);
    EXPECT_EQ(output,
              "{\"path\":\"a\",\"canonical\":\"=a\",\"explanation\":{\"of\":\"=a\"}}\n"
              "{\"path\":\"y\",\"canonical\":\"=y\",\"explanation\":{\"of\":\"=y\"}}\n");
}

TEST_F(AskPathsTest, AnExplanationIsPrintedBeforeTheNextPathIsRead) {
    Dialogue dialogue({"x\n", "y\n"}, output);
    std::istream input(&dialogue);
    EXPECT_EQ(put({.command = Command::canonicalize, .paths = {"-"}}, input, explainPath),
              exitAnswered);
    EXPECT_EQ(dialogue.printedBefore, (Texts{"", "x  =x\n    path: x\n    a\\nb\n"}));
}

TEST_F(AskPathsTest, AnAnswerOtherThanTheExplainedOneHasItsExitCode) {
    std::istringstream input;
    const auto exitCodeOf = [&](const Texts& paths) {
        return put({.command = Command::canonicalize, .paths = paths}, input, explainPath);
    };
    EXPECT_EQ(exitCodeOf({"other", "a"}), exitComplaints);
    EXPECT_EQ(exitCodeOf({"other", "throw"}), exitNoAnswer);
    EXPECT_EQ(exitCodeOf({"throw", "other"}), exitNoAnswer);
}

TEST_F(AskPathsTest, TheCompletedPathOfStatusIsExplained) {
    std::istringstream input;
    std::string explained;
    const Explain remember = [&](const std::string& path, const Json&) {
        explained = path;
        return Explanation{};
    };
    EXPECT_EQ(put({.command = Command::status, .paths = {"a"}}, input, remember), exitAnswered);
    EXPECT_EQ(explained, "C:/a");
    EXPECT_EQ(output, "C:/a  version (1)  C:/a\n");
}

TEST_F(AskPathsTest, StandardInputThatCannotBeReadEndsTheQuery) {
    BrokenInput broken;
    std::istream input(&broken);
    EXPECT_THROW(static_cast<void>(put({.command = Command::canonicalize, .paths = {"-"}}, input)),
                 std::runtime_error);
}

}  // namespace
