#include "tools/ccquery/journals/journalfiles.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <gtest/gtest.h>

#include "testing/scopes/tempfolder.h"

namespace {

using namespace ccquery;
using namespace testing_support;
using Texts = std::vector<std::string>;

const std::string line =
    R"({"version":1,"process":1,"connection":1,"operation":"disconnect","arguments":{},"result":{}})"
    "\n";

/// Says what it gets.
class Listing : public JournalVisitor {
public:
    explicit Listing(Texts files) : mFiles(std::move(files)) {}
    void take(const JournalLine& /*line*/, const JournalPlace& place) override {
        mTaken.push_back(placeText(mFiles, place));
    }
    void report(JournalProblem kind, const JournalPlace& place,
                const std::string& problem) override {
        reportProblem(mFiles, kind, place, problem, mMessages);
    }
    Texts mFiles;
    Texts mTaken;
    Texts mComplaints;
    LimitedMessages mMessages{[this](const std::string& text) { mComplaints.push_back(text); }};
};

std::unique_ptr<std::istream> openFile(const std::string& file) {
    auto stream = std::make_unique<std::ifstream>(file, std::ios::binary);
    if (!stream->is_open()) {
        throw std::runtime_error("no such file");
    }
    return stream;
}

TEST(JournalFilesTest, FilesAreReadInTheirOrder) {
    const TempFolder folder;
    Listing listing({folder.write("b", line + line), folder.write("a", line)});
    uint64_t bytes = 0;
    readJournals(listing.mFiles, {openFile, [&](uint64_t now) { bytes = now; }}, listing);
    EXPECT_EQ(listing.mTaken, (Texts{listing.mFiles[0] + ":1", listing.mFiles[0] + ":2",
                                     listing.mFiles[1] + ":1"}));
    EXPECT_TRUE(listing.mComplaints.empty());
    EXPECT_EQ(bytes, 3 * line.size());
}

TEST(JournalFilesTest, AFileThatCannotBeOpenedDoesNotStopTheOthers) {
    const TempFolder folder;
    Listing listing({folder.utf8("none"), folder.write("a", line)});
    readJournals(listing.mFiles, {openFile, [](uint64_t) {}}, listing);
    EXPECT_EQ(listing.mTaken.size(), 1U);
    EXPECT_EQ(listing.mComplaints, (Texts{"can't read the journal '" + folder.utf8("none") +
                                          "': no such file; name another"}));
}

TEST(JournalFilesTest, AReadThatFailsIsReportedAfterTheLinesBefore) {
    /// Fills the first block that is read with a line, blank lines and the beginning of another
    /// line, and can't read another block.
    class Failing : public std::stringbuf {
    public:
        std::streamsize xsgetn(char* to, std::streamsize size) override {
            if (mHasBlock) {
                throw std::runtime_error("broken");
            }
            mHasBlock = true;
            std::fill_n(to, size, '\n');
            line.copy(to, line.size());
            to[size - 1] = '{';
            return size;
        }

    private:
        bool mHasBlock = false;
    };
    class FailingStream : public std::istream {
    public:
        FailingStream() : std::istream(nullptr) { rdbuf(&mBuffer); }

    private:
        Failing mBuffer;
    };
    Listing listing({"j", "k"});
    readJournals(listing.mFiles,
                 {[](const std::string& file) -> std::unique_ptr<std::istream> {
                      if (file == "j") {
                          return std::make_unique<FailingStream>();
                      }
                      return std::make_unique<std::istringstream>(line);
                  },
                  [](uint64_t) {}},
                 listing);
    EXPECT_EQ(listing.mTaken, (Texts{"j:1", "k:1"}));
    EXPECT_EQ(listing.mComplaints,
              (Texts{"can't read the journal 'j': it can't be read to its end; name another"}));
}

TEST(JournalFilesTest, TheProgressIsReportedEveryFewLines) {
    constexpr uint64_t fewLines = 10'000;
    std::string content;
    while (content.size() < 3 * fewLines) {
        content += line;
    }
    Listing listing({"j"});
    uint64_t bytes = 0;
    readJournals({"j"},
                 {[&](const std::string&) { return std::make_unique<std::istringstream>(content); },
                  [&](uint64_t now) {
                      EXPECT_LT(bytes, now);
                      EXPECT_LT(now - bytes, fewLines);
                      bytes = now;
                      // What has been read has been taken, but for a line that has begun.
                      EXPECT_EQ(listing.mTaken.size(), now / line.size());
                  }},
                 listing);
    EXPECT_EQ(bytes, content.size());
}

TEST(JournalFilesTest, WhatIsAppendedWhileAJournalIsReadIsLeftOut) {
    Listing listing({"j"});
    // More than a block that is read.
    const std::string content = std::string(size_t{2} << 20, '\n') + line;
    auto owner = std::make_unique<std::stringstream>(content);
    std::stringstream& stream = *owner;
    uint64_t bytes = 0;
    bool hasAppended = false;  // or reading might never end
    const auto append = [&](uint64_t now) {
        bytes = now;
        if (!std::exchange(hasAppended, true)) {
            stream.seekp(0, std::ios::end);
            stream << content;
        }
    };
    readJournals({"j"}, {[&](const std::string&) { return std::move(owner); }, append}, listing);
    EXPECT_EQ(listing.mTaken, (Texts{"j:2097153"}));
    EXPECT_EQ(listing.mComplaints, Texts());
    EXPECT_EQ(bytes, content.size());
}

TEST(JournalFilesTest, AStreamThatCannotTellItsSizeIsReadToItsEnd) {
    /// Like a pipe: has no position.
    class Pipe : public std::stringbuf {
    public:
        using std::stringbuf::stringbuf;

    protected:
        pos_type seekoff(off_type /*offset*/, std::ios::seekdir /*from*/,
                         std::ios::openmode /*which*/) override {
            return {off_type(-1)};
        }
        pos_type seekpos(pos_type /*position*/, std::ios::openmode /*which*/) override {
            return {off_type(-1)};
        }
    };
    Pipe pipe(line + line);
    Listing listing({"j"});
    readJournals({"j"},
                 {[&](const std::string&) { return std::make_unique<std::istream>(&pipe); },
                  [](uint64_t) {}},
                 listing);
    EXPECT_EQ(listing.mTaken, (Texts{"j:1", "j:2"}));
    EXPECT_EQ(listing.mComplaints, Texts());
}

TEST(JournalFilesTest, EachProblemIsOneLineThatSaysWhatToDo) {
    const std::tuple<JournalProblem, uint64_t, std::string, std::string> rows[] = {
        {JournalProblem::notJson, 3, "no JSON object", "b:3: no JSON object; the line is left out"},
        {JournalProblem::torn, 3, "no JSON object", "b:3: the last line is torn; it is left out"},
        {JournalProblem::tooLong, 4, "a line of more than 64 MiB",
         "b:4: a line of more than 64 MiB; it is left out"},
        {JournalProblem::otherVersion, 5, "version 2",
         "b:5: a line of version 2 of the format, and this is for version 1; use the ccquery that "
         "belongs to the journal"},
        {JournalProblem::operation, 6, "unknown operation 'fly'",
         "b:6: unknown operation 'fly'; the line is left out"},
        {JournalProblem::field, 7, "isReady lacks 'result'",
         "b:7: isReady lacks 'result'; the line is left out"},
        {JournalProblem::empty, 0, "the journal is empty",
         "b: the journal is empty; name one that a host has written"},
        {JournalProblem::unreadable, 0, "Is a directory",
         "can't read the journal 'b': Is a directory; name another"},
    };
    for (const auto& [kind, number, problem, message] : rows) {
        Listing listing({"a", "b"});
        listing.report(kind, {.file = 1, .line = number}, problem);
        EXPECT_EQ(listing.mComplaints, (Texts{message}));
    }
}

}  // namespace
