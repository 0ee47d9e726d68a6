#include "journal/journaledconnection.h"

#include <functional>
#include <stdexcept>
#include <thread>
#include <utility>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "testing/calls/fakesurroundings.h"
#include "testing/jsonschema.h"

namespace {

using namespace testing_support;
using journal::JournaledConnection;
using journal::Origin;
using Json = nlohmann::ordered_json;

/// A connection that does what a test sets. Where its test sets nothing, it throws.
class ScriptedConnection : public ClearCaseConnection {
public:
    struct Script {
        std::function<std::string(const std::string&)> text;  ///< of the operation with this name
        std::function<void(const std::string&)> act;
        std::function<int(const char*, std::string*, std::string*)> status;
        std::function<std::string(const std::string&, const std::string&,
                                  const std::vector<std::string>&)>
            canonicalize;
        std::function<void(const std::string&, std::vector<VobRecord>&)> probe;
        std::function<void(const void*, std::map<std::string, std::string>&)> info;
        std::function<std::string(std::map<std::string, std::string>&)> drives;
        bool ready = true;
        bool ended = false;
    };

    explicit ScriptedConnection(Script& script) : mScript(script) {}
    ~ScriptedConnection() override { mScript.ended = true; }

    std::string getOutput() override { return mScript.text("getOutput"); }
    std::string getError() override { return mScript.text("getError"); }
    void clearMessages() override { mScript.act("clearMessages"); }
    int getElementStatus(const char* path, std::string* version, std::string* target) override {
        return mScript.status(path, version, target);
    }
    std::string canonicalizeViewPath(const std::string& cwd, const std::string& path,
                                     const std::vector<std::string>& vobTags) override {
        return mScript.canonicalize(cwd, path, vobTags);
    }
    std::string getViewTag() override { return mScript.text("getViewTag"); }
    void probeVobs(const std::string& root, std::vector<VobRecord>& results) override {
        mScript.probe(root, results);
    }
    void getProductInfo(const void* unused, std::map<std::string, std::string>& info) override {
        mScript.info(unused, info);
    }
    std::string getMvfsDrives(std::map<std::string, std::string>& drives) override {
        return mScript.drives(drives);
    }
    void startSession() override { mScript.act("startSession"); }
    bool isReady() override { return mScript.ready; }
    void killConnection() override { mScript.act("killConnection"); }

private:
    Script& mScript;
};

class JournaledConnectionTest : public testing::Test {
protected:
    JournaledConnectionTest() {
        mWritten.errors = errorsOfConnect;
        mConnection = std::make_unique<JournaledConnection>(
            std::make_unique<ScriptedConnection>(mScript), /*number=*/3, mOrigin,
            std::make_unique<FakeSurroundings>(mWritten), /*begin=*/1'769'903'999'000'000'000);
    }

    ~JournaledConnectionTest() override {
        mConnection.reset();
        for (const std::string& piece : mWritten.pieces) {
            EXPECT_EQ(journalComplaints(piece), "");
        }
    }

    /// Returns the last line.
    Json last() const { return Json::parse(mWritten.pieces.back()); }
    /// Expects the last line to be of this call, with these fields as JSON.
    void expectLine(const std::string& operation, const std::string& arguments,
                    const std::string& result) const {
        EXPECT_EQ(last()["operation"], operation);
        EXPECT_EQ(last()["arguments"].dump(), arguments);
        EXPECT_EQ(last()["result"].dump(), result);
        EXPECT_FALSE(last().contains("exception"));
    }

    static constexpr journal::ErrorNumbers errorsOfConnect = {7, 8};

    ScriptedConnection::Script mScript;
    Origin mOrigin{.library = "L", .host = "H", .directory = "D", .viewRoot = "V"};
    WrittenJournal mWritten;
    std::unique_ptr<ClearCaseConnection> mConnection;
};

TEST_F(JournaledConnectionTest, TheFirstLineReportsTheConnection) {
    EXPECT_EQ(mWritten.pieces.size(), 1U);
    EXPECT_EQ(last()["call"], 0);
    EXPECT_EQ(last()["connection"], 3);
    expectLine("connect", "{}",
               R"({"library":"L","host":"H","directory":"D","CLEARCASE_ROOT":"V",)"
               R"("NBCLEARCASE_FAKE_INI":null})");
}

TEST_F(JournaledConnectionTest, TheFirstLineSaysHowLongTheLibraryTook) {
    EXPECT_EQ(last()["time"], "2026-01-31T23:59:59.000000Z");
    EXPECT_EQ(last()["microseconds"].dump(), "123456.789");
}

TEST_F(JournaledConnectionTest, TheLastLineReportsTheEnd) {
    mConnection.reset();
    EXPECT_TRUE(mScript.ended);
    EXPECT_EQ(last()["call"], 1);
    expectLine("disconnect", "{}", "{}");
}

TEST_F(JournaledConnectionTest, ALineSaysHowLongTheCallTook) {
    EXPECT_TRUE(mConnection->isReady());
    EXPECT_EQ(last()["microseconds"].dump(), "1234.567");
}

TEST_F(JournaledConnectionTest, TextsComeBackAsTheyAre) {
    mScript.text = [](const std::string& operation) { return "of " + operation; };
    const std::pair<std::string, std::string (ClearCaseConnection::*)()> operations[] = {
        {"getOutput", &ClearCaseConnection::getOutput},
        {"getError", &ClearCaseConnection::getError},
        {"getViewTag", &ClearCaseConnection::getViewTag},
    };
    for (const auto& [name, operation] : operations) {
        EXPECT_EQ((*mConnection.*operation)(), "of " + name);
        expectLine(name, "{}", R"({"text":"of )" + name + R"("})");
    }
}

TEST_F(JournaledConnectionTest, OperationsWithoutResultsArePassedOn) {
    std::string acted;
    mScript.act = [&](const std::string& operation) { acted = operation; };
    const std::pair<std::string, void (ClearCaseConnection::*)()> operations[] = {
        {"clearMessages", &ClearCaseConnection::clearMessages},
        {"startSession", &ClearCaseConnection::startSession},
        {"killConnection", &ClearCaseConnection::killConnection},
    };
    for (const auto& [name, operation] : operations) {
        (*mConnection.*operation)();
        EXPECT_EQ(acted, name);
        expectLine(name, "{}", "{}");
    }
}

TEST_F(JournaledConnectionTest, IsReadyIsPassedOn) {
    for (const bool ready : {true, false}) {
        mScript.ready = ready;
        EXPECT_EQ(mConnection->isReady(), ready);
        expectLine("isReady", "{}", ready ? R"({"ready":true})" : R"({"ready":false})");
    }
}

TEST_F(JournaledConnectionTest, AStatusKeepsItsPointersAndShowsTextsBeforeAndAfter) {
    const char* const path = "C:\\a";
    std::string version = "old";
    std::string target = "kept";
    mScript.status = [&](const char* givenPath, std::string* givenVersion,
                         std::string* givenTarget) -> int {
        EXPECT_EQ(givenPath, path);
        EXPECT_EQ(givenVersion, &version);
        EXPECT_EQ(givenTarget, &target);
        *givenVersion = "/main/0";
        return elementVersion;
    };
    EXPECT_EQ(mConnection->getElementStatus(path, &version, &target), elementVersion);
    EXPECT_EQ(version, "/main/0");
    EXPECT_EQ(target, "kept");
    expectLine("getElementStatus", R"({"path":"C:\\a","version":"old","target":"kept"})",
               R"({"type":1,"version":"/main/0","target":"kept"})");
}

TEST_F(JournaledConnectionTest, NullPointersOfAStatusArePassedOn) {
    mScript.status = [](const char* path, std::string* version, std::string* target) {
        EXPECT_EQ(path, nullptr);
        EXPECT_EQ(version, nullptr);
        EXPECT_EQ(target, nullptr);
        return -7;
    };
    EXPECT_EQ(mConnection->getElementStatus(nullptr, nullptr, nullptr), -7);
    expectLine("getElementStatus", R"({"path":null,"version":null,"target":null})",
               R"({"type":-7,"version":null,"target":null})");
}

TEST_F(JournaledConnectionTest, ACanonicalPathComesWithItsQuestion) {
    const std::string cwd = "C:\\w";
    const std::string path = "a\xff";
    const std::vector<std::string> tags = {"M:\\v", "X:\\v"};
    mScript.canonicalize = [&](const std::string& givenCwd, const std::string& givenPath,
                               const std::vector<std::string>& givenTags) {
        EXPECT_EQ(&givenCwd, &cwd);
        EXPECT_EQ(&givenPath, &path);
        EXPECT_EQ(&givenTags, &tags);
        return std::string("answer");
    };
    EXPECT_EQ(mConnection->canonicalizeViewPath(cwd, path, tags), "answer");
    expectLine("canonicalizeViewPath",
               R"({"cwd":"C:\\w","path":{"hex":"61ff"},"vobTags":["M:\\v","X:\\v"]})",
               R"({"text":"answer"})");
}

TEST_F(JournaledConnectionTest, ResultsOfAProbeAreShownBeforeAndAfter) {
    const std::string root = "R";
    std::vector<VobRecord> results = {{"before", vobWritable}};
    mScript.probe = [&](const std::string& givenRoot, std::vector<VobRecord>& givenResults) {
        EXPECT_EQ(&givenRoot, &root);
        EXPECT_EQ(&givenResults, &results);
        givenResults.push_back({"new", vobReadOnly});
    };
    mConnection->probeVobs(root, results);
    EXPECT_EQ(results.size(), 2U);
    expectLine("probeVobs", R"({"root":"R","results":[{"tag":"before","state":0}]})",
               R"({"results":[{"tag":"before","state":0},{"tag":"new","state":1}]})");
}

TEST_F(JournaledConnectionTest, MapsAreShownBeforeAndAfter) {
    std::map<std::string, std::string> map = {{"k", "v"}};
    int argument = 0;
    mScript.info = [&](const void* given, std::map<std::string, std::string>& info) {
        EXPECT_EQ(given, &argument);
        EXPECT_EQ(&info, &map);
        info["l"] = "w";
    };
    mConnection->getProductInfo(&argument, map);
    expectLine("getProductInfo", R"({"info":[["k","v"]]})", R"({"info":[["k","v"],["l","w"]]})");
    mScript.drives = [&](std::map<std::string, std::string>& drives) {
        EXPECT_EQ(&drives, &map);
        drives = {{"X:", "tag"}};
        return std::string("M:");
    };
    EXPECT_EQ(mConnection->getMvfsDrives(map), "M:");
    expectLine("getMvfsDrives", R"({"drives":[["k","v"],["l","w"]]})",
               R"({"text":"M:","drives":[["X:","tag"]]})");
}

/// An exception of a class that only this file knows.
class OwnException : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

TEST_F(JournaledConnectionTest, AnExceptionComesThroughAsItWasThrown) {
    const OwnException* thrown = nullptr;
    mScript.act = [&](const std::string&) {
        try {
            throw OwnException("no session");
        } catch (const OwnException& exception) {
            thrown = &exception;
            throw;
        }
    };
    try {
        mConnection->startSession();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const OwnException& exception) {
        EXPECT_EQ(&exception, thrown);
        EXPECT_STREQ(exception.what(), "no session");
    }
    EXPECT_EQ(last()["exception"]["what"], "no session");
    const auto type = last()["exception"]["type"].get<std::string>();
    EXPECT_NE(type.find("OwnException"), std::string::npos) << type;
    EXPECT_FALSE(last().contains("result"));
}

TEST_F(JournaledConnectionTest, WhatIsThrownThatIsNoExceptionComesThroughToo) {
    mScript.act = [](const std::string&) { throw 42; };
    EXPECT_THROW(mConnection->killConnection(), int);
    EXPECT_EQ(last()["exception"].dump(), R"({"type":null,"what":null})");
}

TEST_F(JournaledConnectionTest, AnswersStayRightWhenTheFileCannotBeWritten) {
    mWritten.failure = "the disk is full";
    EXPECT_TRUE(mConnection->isReady());
    mScript.act = [](const std::string&) { throw 42; };
    EXPECT_THROW(mConnection->startSession(), int);
    EXPECT_EQ(mWritten.complaints.size(), 1U);
}

TEST_F(JournaledConnectionTest, TheErrorsThatTheLibraryLeavesStay) {
    EXPECT_EQ(mWritten.errors, errorsOfConnect);
    const journal::ErrorNumbers left = {2, 3};
    mScript.act = [&](const std::string&) { mWritten.errors = left; };
    mConnection->clearMessages();
    EXPECT_EQ(mWritten.errors, left);
    mScript.act = [&](const std::string&) {
        mWritten.errors = left;
        throw 42;
    };
    EXPECT_THROW(mConnection->clearMessages(), int);
    EXPECT_EQ(mWritten.errors, left);
}

TEST_F(JournaledConnectionTest, CallsOfManyThreadsAreNumberedInTheOrderOfTheirLines) {
    constexpr int threads = 4;
    constexpr int calls = 250;
    {
        std::vector<std::jthread> callers;
        callers.reserve(threads);
        for (int i = 0; i < threads; ++i) {
            callers.emplace_back([this] {
                for (int call = 0; call < calls; ++call) {
                    EXPECT_TRUE(mConnection->isReady());
                }
            });
        }
    }
    ASSERT_EQ(mWritten.pieces.size(), 1U + threads * calls);
    for (size_t i = 0; i < mWritten.pieces.size(); ++i) {
        EXPECT_EQ(Json::parse(mWritten.pieces[i])["call"], i);
    }
}

}  // namespace
