// nbclearcase_journal.dll as it ships, in front of other libraries. The host is ccquery.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "testing/describedmessage.h"
#include "testing/guidemessages.h"
#include "testing/jsonschema.h"
#include "testing/processes/childprocess-win.h"
#include "testing/scopes/tempfolder.h"
#include "testing/utf8path.h"

namespace {

using namespace testing_support;
using Json = nlohmann::json;
using Texts = std::vector<std::string>;

std::string library(const char* name) { return utf8(testProgramFolder() / name); }

class ShippedJournalTest : public testing::Test {
protected:
    /// Returns a run of ccquery that asks the journal in front of the sample connection.
    ChildRun journaled(Texts arguments) const {
        arguments.insert(arguments.end(), {"--library", library("nbclearcase_journal.dll")});
        return {.program = testProgramFolder() / "ccquery.exe",
                .arguments = std::move(arguments),
                .environment = {{"NBCLEARCASE_JOURNAL_LIBRARY", library("sampleconnection.dll")},
                                {"NBCLEARCASE_JOURNAL_FILE", mFolder.utf8("j.jsonl")},
                                {"NBCLEARCASE_FAKE_INI", {}},
                                {"CLEARCASE_ROOT", {}}},
                .folder = mFolder.path()};
    }

    /// Returns the lines of the journal.
    std::vector<Json> lines(const std::string& name = "j.jsonl") const {
        std::ifstream file(mFolder.path() / name, std::ios::binary);
        const std::string text(std::istreambuf_iterator<char>(file), {});
        EXPECT_EQ(journalComplaints(text), "");
        std::vector<Json> lines;
        for (size_t begin = 0; begin < text.size(); begin = text.find('\n', begin) + 1) {
            lines.push_back(Json::parse(text.substr(begin, text.find('\n', begin) - begin)));
        }
        return lines;
    }

    /// Runs a host that gets no connection, and expects the journal's line on standard error.
    static void expectNoConnection(const ChildRun& run, const std::string& complaint) {
        const ChildResult result = runChild(run);
        EXPECT_EQ(result.exitCode, 2U);
        const std::string first = result.error.substr(0, result.error.find('\n'));
        EXPECT_TRUE(first.starts_with("nbclearcase_journal:  " + complaint)) << result.error;
        EXPECT_TRUE(isAsDescribed(first + '\n', guidemessages::noLibrary)) << first;
        EXPECT_TRUE(first.ends_with("by NBCLEARCASE_JOURNAL_LIBRARY\r") ||
                    first.ends_with("by NBCLEARCASE_JOURNAL_LIBRARY"))
            << result.error;
        EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 2) << result.error;
    }

    TempFolder mFolder;
};

TEST_F(ShippedJournalTest, TheHostGetsTheAnswersOfTheLibrary) {
    const Texts questions[] = {{"status", "--json", "C:\\a\\version", "C:/a/link", "C:\\broken"},
                               {"status", "C:\\throw", "C:\\throwint", "C:\\version"},
                               {"canonicalize", "--tag", "M:\\a", "--cwd", "C:\\w", "b"},
                               {"vobs", "R"},
                               {"drives"},
                               {"info"},
                               {"view"},
                               {"errors"}};
    for (const Texts& question : questions) {
        const ChildRun run = journaled(question);
        ChildRun bare = run;
        bare.arguments.back() = library("sampleconnection.dll");
        const ChildResult expected = runChild(bare);
        const ChildResult result = runChild(run);
        EXPECT_EQ(result.exitCode, expected.exitCode) << question[0];
        EXPECT_EQ(result.output, expected.output);
        EXPECT_EQ(result.error, expected.error);
    }
    std::multiset<std::string> operations;
    for (const Json& line : lines()) {
        operations.insert(line["operation"].get<std::string>());
    }
    EXPECT_EQ(operations.count("connect"), std::size(questions));
    EXPECT_EQ(operations.count("disconnect"), std::size(questions));
    EXPECT_EQ(operations.count("getElementStatus"), 6U);
    for (const char* once : {"canonicalizeViewPath", "probeVobs", "getMvfsDrives", "getProductInfo",
                             "isReady", "getViewTag", "getError"}) {
        EXPECT_EQ(operations.count(once), 1U) << once;
    }
}

TEST_F(ShippedJournalTest, TheFirstLineSaysWhoAsksWhom) {
    ChildRun run = journaled({"view"});
    run.environment["CLEARCASE_ROOT"] = "M:\\v";
    EXPECT_EQ(runChild(run).exitCode, 0U);
    const Json connect = lines().at(0)["result"];
    const auto name = [&](const char* field) {
        const std::string path = connect[field];
        return path.substr(path.find_last_of('\\') + 1);
    };
    EXPECT_EQ(name("library"), "sampleconnection.dll");
    EXPECT_EQ(name("host"), "ccquery.exe");
    EXPECT_EQ(name("directory"), mFolder.path().filename().string());
    EXPECT_EQ(connect["CLEARCASE_ROOT"], "M:\\v");
    EXPECT_TRUE(connect["NBCLEARCASE_FAKE_INI"].is_null());
}

TEST_F(ShippedJournalTest, WithoutVariablesTheFakeAnswersAndTheFileIsInTheCurrentFolder) {
    ChildRun run = journaled({"info", "--json"});
    run.environment = {{"NBCLEARCASE_JOURNAL_LIBRARY", {}}, {"NBCLEARCASE_JOURNAL_FILE", {}}};
    const ChildResult result = runChild(run);
    EXPECT_NE(result.output.find("Phony ClearCase Interface"), std::string::npos) << result.output;
    EXPECT_EQ(lines("nbclearcase_journal.jsonl").size(), 4U);
}

TEST_F(ShippedJournalTest, InPlaceOfTheFakeItNeedsTheNameOfALibrary) {
    const auto copy = mFolder.path() / "nbclearcase_fake.dll";
    copy_file(testProgramFolder() / "nbclearcase_journal.dll", copy);
    ChildRun run = journaled({"info"});
    run.arguments.back() = utf8(copy);
    EXPECT_EQ(runChild(run).exitCode, 0U);
    run.environment["NBCLEARCASE_JOURNAL_LIBRARY"] = std::nullopt;
    const std::string name = mFolder.path().string() + "\\nbclearcase_fake.dll";
    expectNoConnection(run, "'" + name + "' is the journal itself; name the library that answers ");
}

TEST_F(ShippedJournalTest, AJournalInFrontOfAJournalIsNoEndlessLoop) {
    const auto copy = mFolder.path() / "other.dll";
    copy_file(testProgramFolder() / "nbclearcase_journal.dll", copy);
    ChildRun run = journaled({"info"});
    run.environment["NBCLEARCASE_JOURNAL_LIBRARY"] = utf8(copy);
    expectNoConnection(run, "'" + utf8(copy) + "' is the journal itself; name the library ");
}

TEST_F(ShippedJournalTest, ALibraryThatIsMissingIsReported) {
    ChildRun run = journaled({"info"});
    run.environment["NBCLEARCASE_JOURNAL_LIBRARY"] = "C:\\missing\\a.dll";
    expectNoConnection(run, "can't load 'C:\\missing\\a.dll': LoadLibrary: ");
}

TEST_F(ShippedJournalTest, ALibraryWithoutConnectionsIsReported) {
    ChildRun run = journaled({"info"});
    run.environment["NBCLEARCASE_JOURNAL_LIBRARY"] = "kernel32.dll";
    expectNoConnection(run, "'kernel32.dll' is no connection library: it doesn't export ");
}

TEST_F(ShippedJournalTest, WithoutAFileTheHostGetsItsAnswersAndOneComplaint) {
    ChildRun run = journaled({"status", "--json", "C:\\version", "C:\\link"});
    const std::string file = mFolder.utf8("missing/j.jsonl");
    run.environment["NBCLEARCASE_JOURNAL_FILE"] = file;
    const ChildResult result = runChild(run);
    EXPECT_EQ(result.exitCode, 0U);
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 2);
    EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 1) << result.error;
    EXPECT_TRUE(isAsDescribed(result.error, guidemessages::noJournal)) << result.error;
    EXPECT_NE(result.error.find("missing\\j.jsonl': CreateFile: "), std::string::npos)
        << result.error;
    EXPECT_NE(result.error.find("; the calls go on without the journal; name another file by "
                                "NBCLEARCASE_JOURNAL_FILE"),
              std::string::npos)
        << result.error;
}

}  // namespace
