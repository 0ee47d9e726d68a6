#include "tools/ccquery/ask.h"

#include <functional>
#include <map>
#include <vector>

#include <gtest/gtest.h>

namespace {

using ccquery::Answer;
using ccquery::ask;
using ccquery::askAbout;
using ccquery::Command;
using ccquery::exitAnswered;
using ccquery::ExitCode;
using ccquery::exitComplaints;
using ccquery::exitNoAnswer;
using ccquery::headingsOf;
using ccquery::Query;
using tools::jsonText;
using tools::Report;
using tools::tableText;

/// Returns the answers that a test sets.
class Stub : public ClearCaseConnection {
public:
    std::string getOutput() override { return {}; }
    std::string getError() override { return error; }
    void clearMessages() override {}
    int getElementStatus(const char* path, std::string* version, std::string* target) override {
        return status(path, *version, *target);
    }
    std::string canonicalizeViewPath(const std::string& cwd, const std::string& path,
                                     const std::vector<std::string>& vobTags) override {
        std::string text = cwd + "|" + path;
        for (const std::string& tag : vobTags) {
            text += "|" + tag;
        }
        return text;
    }
    std::string getViewTag() override { return view; }
    void probeVobs(const std::string& root, std::vector<VobRecord>& results) override {
        for (const VobRecord& vob : vobs) {
            results.push_back({root + vob.tag, vob.state});
        }
    }
    void getProductInfo(const void*, std::map<std::string, std::string>& values) override {
        values = info;
    }
    std::string getMvfsDrives(std::map<std::string, std::string>& views) override {
        views = drives;
        return mvfsRoot;
    }
    void startSession() override {}
    bool isReady() override { return ready; }
    void killConnection() override {}

    std::string error;
    std::function<int(const std::string&, std::string&, std::string&)> status;
    std::string view;
    std::vector<VobRecord> vobs;
    std::map<std::string, std::string> info;
    std::string mvfsRoot;
    std::map<std::string, std::string> drives;
    bool ready = true;
};

class AskTest : public testing::Test {
protected:
    /// Asks, and stores both forms of the answer.
    ExitCode put(const Query& query) {
        Report report;
        ExitCode exitCode = exitAnswered;
        if (query.paths.empty()) {
            exitCode = ask(stub, query, report);
        }
        report.headings = query.paths.empty() ? report.headings : headingsOf(query.command);
        for (const std::string& path : query.paths) {
            const Answer answer = askAbout(path, stub, query);
            report.records.push_back(answer.record);
            report.rows.push_back(answer.row);
        }
        json = jsonText(report);
        table = tableText(report);
        return exitCode;
    }
    ExitCode put(Command command) { return put(Query{.command = command}); }

    Stub stub;
    std::string json;
    std::string table;
};

TEST_F(AskTest, StatusReportsEachPathInOrder) {
    stub.status = [](const std::string& path, std::string& version, std::string& target) -> int {
        if (path == "C:\\l") {
            target = "D:\\t";
            return elementSymbolicLink;
        }
        version = "/main/0";
        return elementVersion;
    };
    EXPECT_EQ(put(Query{.command = Command::status, .paths = {"C:\\l", "C:/v"}}), exitAnswered);
    EXPECT_EQ(json,
              "{\"path\":\"C:\\\\l\",\"type\":3,\"typeName\":\"symbolic_link\",\"version\":\"\","
              "\"target\":\"D:\\\\t\"}\n"
              "{\"path\":\"C:/v\",\"type\":1,\"typeName\":\"version\",\"version\":\"/main/0\","
              "\"target\":null}\n");
    EXPECT_EQ(table,
              "PATH  TYPE               VERSION  TARGET\n"
              "C:\\l  symbolic_link (3)  -        D:\\t\n"
              "C:/v  version (1)        /main/0  -\n");
}

TEST_F(AskTest, ATargetThatIsWrittenEmptyIsNoNull) {
    stub.status = [](const std::string&, std::string&, std::string& target) -> int {
        target.clear();
        return elementSymbolicLink;
    };
    put(Query{.command = Command::status, .paths = {"C:\\l"}});
    EXPECT_NE(json.find("\"target\":\"\""), std::string::npos) << json;
}

TEST_F(AskTest, ATypeThatHasNoNameIsItsNumber) {
    stub.status = [](const std::string&, std::string&, std::string&) { return 42; };
    put(Query{.command = Command::status, .paths = {"C:\\x"}});
    EXPECT_NE(json.find("\"type\":42,\"typeName\":null"), std::string::npos) << json;
    EXPECT_NE(table.find("C:\\x  42    -"), std::string::npos) << table;
}

TEST_F(AskTest, AQueryAboutPathsMustBeAskedPathByPath) {
    Report report;
    EXPECT_DEATH(
        static_cast<void>(ask(stub, {.command = Command::status, .paths = {"C:\\a"}}, report)),
        "a command without paths");
}

TEST_F(AskTest, CanonicalizeHandsOnTheDirectoryAndTheTags) {
    const Query query{.command = Command::canonicalize,
                      .paths = {"a", "b"},
                      .cwd = "C:\\w",
                      .tags = {"M:\\t\\v", "X:\\v"}};
    EXPECT_EQ(put(query), exitAnswered);
    EXPECT_EQ(json,
              "{\"path\":\"a\",\"canonical\":\"C:\\\\w|a|M:\\\\t\\\\v|X:\\\\v\"}\n"
              "{\"path\":\"b\",\"canonical\":\"C:\\\\w|b|M:\\\\t\\\\v|X:\\\\v\"}\n");
    EXPECT_EQ(table,
              "PATH  CANONICAL\n"
              "a     C:\\w|a|M:\\t\\v|X:\\v\n"
              "b     C:\\w|b|M:\\t\\v|X:\\v\n");
}

TEST_F(AskTest, VobsReportsTheStateOfEach) {
    stub.vobs = {{"/a", vobWritable},
                 {"/b", vobReadOnly},
                 {"/c", vobNotDetermined},
                 {"/d", static_cast<VobState>(7)}};
    EXPECT_EQ(put(Query{.command = Command::vobs, .root = "R"}), exitAnswered);
    EXPECT_EQ(json,
              "{\"tag\":\"R/a\",\"state\":0,\"stateName\":\"writable\"}\n"
              "{\"tag\":\"R/b\",\"state\":1,\"stateName\":\"read_only\"}\n"
              "{\"tag\":\"R/c\",\"state\":2,\"stateName\":\"not_determined\"}\n"
              "{\"tag\":\"R/d\",\"state\":7,\"stateName\":null}\n");
    EXPECT_EQ(table,
              "VOB  STATE\n"
              "R/a  writable (0)\n"
              "R/b  read_only (1)\n"
              "R/c  not_determined (2)\n"
              "R/d  7\n");
}

TEST_F(AskTest, WithoutVobsTheTableSaysSoAndJsonIsEmpty) {
    EXPECT_EQ(put(Command::vobs), exitAnswered);
    EXPECT_EQ(json, "");
    EXPECT_EQ(table, "no VOBs are configured\n");
}

TEST_F(AskTest, DrivesReportsTheMvfsDriveAndTheDrivesOfViews) {
    stub.mvfsRoot = "M:";
    stub.drives = {{"X:", "tag1"}, {"Y:", "tag2"}};
    EXPECT_EQ(put(Command::drives), exitAnswered);
    EXPECT_EQ(json, "{\"mvfsRoot\":\"M:\",\"drives\":{\"X:\":\"tag1\",\"Y:\":\"tag2\"}}\n");
    EXPECT_EQ(table,
              "DRIVE  LEADS TO\n"
              "M:     all views (the MVFS drive)\n"
              "X:     view tag1\n"
              "Y:     view tag2\n");
}

TEST_F(AskTest, WithoutDrivesTheTableSaysSo) {
    EXPECT_EQ(put(Command::drives), exitAnswered);
    EXPECT_EQ(json, "{\"mvfsRoot\":\"\",\"drives\":{}}\n");
    EXPECT_EQ(table, "no drives of views are connected\n");
}

TEST_F(AskTest, ViewReportsTheViewTag) {
    stub.view = "abc";
    EXPECT_EQ(put(Command::view), exitAnswered);
    EXPECT_EQ(json, "{\"viewTag\":\"abc\"}\n");
    EXPECT_EQ(table, "abc\n");
}

TEST_F(AskTest, WithoutAViewTheTableSaysSo) {
    EXPECT_EQ(put(Command::view), exitAnswered);
    EXPECT_EQ(json, "{\"viewTag\":\"\"}\n");
    EXPECT_EQ(table, "no view is set\n");
}

TEST_F(AskTest, InfoReportsWhatTheLibrarySaysAndWhetherItIsReady) {
    stub.info = {{"product", "P"}, {"version", "n/a"}};
    EXPECT_EQ(put(Command::info), exitAnswered);
    EXPECT_EQ(json, "{\"info\":{\"product\":\"P\",\"version\":\"n/a\"},\"ready\":true}\n");
    EXPECT_EQ(table, "product  P\nversion  n/a\nready    yes\n");
    stub.ready = false;
    put(Command::info);
    EXPECT_NE(json.find("\"ready\":false"), std::string::npos);
    EXPECT_NE(table.find("ready    no\n"), std::string::npos);
}

TEST(ExitCodeTest, TheCodesHaveTheirNumbers) {
    EXPECT_EQ(exitAnswered, 0);
    EXPECT_EQ(exitComplaints, 1);
    EXPECT_EQ(exitNoAnswer, 2);
}

TEST_F(AskTest, ErrorsReportsTheTextAndItsLinesWithItsExitCode) {
    stub.error = "Invalid line in [vobs]:  x\nInvalid line in [attrs]:  y\n";
    EXPECT_EQ(put(Command::errors), exitComplaints);
    EXPECT_EQ(json,
              "{\"error\":\"Invalid line in [vobs]:  x\\nInvalid line in [attrs]:  y\\n\","
              "\"lines\":[\"Invalid line in [vobs]:  x\",\"Invalid line in [attrs]:  y\"]}\n");
    EXPECT_EQ(table, "Invalid line in [vobs]:  x\nInvalid line in [attrs]:  y\n");
}

TEST_F(AskTest, WithoutErrorsTheExitCodeIsThatOfAnAnswer) {
    EXPECT_EQ(put(Command::errors), exitAnswered);
    EXPECT_EQ(json, "{\"error\":\"\",\"lines\":[]}\n");
    EXPECT_EQ(table, "no complaints\n");
}

TEST(ElementTypeNameTest, EveryTypeHasItsNameAndOtherNumbersHaveNone) {
    EXPECT_EQ(ccquery::elementTypeName(-1), "unexpected");
    EXPECT_EQ(ccquery::elementTypeName(0), "null");
    EXPECT_EQ(ccquery::elementTypeName(8), "checked_out_dir");
    EXPECT_EQ(ccquery::elementTypeName(9), std::nullopt);
    EXPECT_EQ(ccquery::elementTypeName(-2), std::nullopt);
}

}  // namespace
