#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "testing/journaltext.h"
#include "tools/ccquery/journals/recordcommand.h"
#include "util/pathcollation.h"

namespace testing_support {

using Texts = std::vector<std::string>;

inline const std::string beginning = "; Recorded by ccquery from j\n";

/// Records journals that are texts.
class RecordCommandTest : public testing::Test {
protected:
    ccquery::ExitCode run(const std::string& journal) { return run({{"j", journal}}, {"j"}); }

    ccquery::ExitCode run(std::map<std::string, std::string> files, Texts journals) {
        mQuery.journals = std::move(journals);
        return ccquery::record(
            mQuery, {.source = sourceOf(std::move(files)),
                     .print = [this](const std::string& text) { mPrinted += text; },
                     .complain = [this](const std::string& text) { mComplaints.push_back(text); },
                     .exists = [this](const std::string& file) { return mFiles.count(file) != 0; },
                     .isSamePath = [](const std::string& a,
                                      const std::string& b) { return comparePaths(a, b) == 0; },
                     .write =
                         [this](const std::string& file, const std::string& text, bool replace) {
                             EXPECT_EQ(replace, mQuery.force);
                             mFiles[file] = text;
                         }});
    }

    void expectRecorded(const std::string& journal, const std::string& configuration) {
        EXPECT_EQ(run(journal), ccquery::exitAnswered);
        EXPECT_EQ(mPrinted, beginning + configuration);
        EXPECT_EQ(mComplaints, Texts());
    }

    /// Expects that the first line of the journal isn't reproduced, and why.
    void expectAnnounced(const std::string& journal, const std::string& why) {
        mComplaints.clear();
        EXPECT_EQ(run(journal), ccquery::exitComplaints);
        EXPECT_EQ(mComplaints, (Texts{"j:1: " + why}));
    }

    std::string problem() {
        try {
            static_cast<void>(run(connectLine()));
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "(none)";
    }

    ccquery::Query mQuery{.command = ccquery::Command::record};
    std::map<std::string, std::string> mFiles;
    std::string mPrinted;
    Texts mComplaints;
};

}  // namespace testing_support
