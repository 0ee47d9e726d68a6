#include "tools/ccquery/journals/journalreader.h"

#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace ccquery;

/// A line of a process.
std::string lineOf(int process) {
    return R"({"version":1,"process":)" + std::to_string(process) +
           R"(,"connection":1,"operation":"disconnect","arguments":{},"result":{}})";
}

class ListingVisitor : public JournalVisitor {
public:
    void take(const JournalLine& line, const JournalPlace& place) override {
        mTaken.push_back(std::to_string(place.file) + ':' + std::to_string(place.line) + ' ' +
                         std::to_string(line.process));
    }
    void report(JournalProblem kind, const JournalPlace& place,
                const std::string& problem) override {
        mReports.push_back(std::to_string(place.file) + ':' + std::to_string(place.line) + ' ' +
                           problem);
        mKinds.push_back(kind);
    }
    std::vector<std::string> mTaken;
    std::vector<std::string> mReports;
    std::vector<JournalProblem> mKinds;
};

using Texts = std::vector<std::string>;

/// Reads journals in blocks of this size.
void readAll(const Texts& journals, size_t block, ListingVisitor& visitor) {
    JournalReader reader(visitor);
    for (size_t file = 0; file < journals.size(); ++file) {
        reader.begin(file);
        for (std::string_view rest = journals[file]; !rest.empty();
             rest.remove_prefix(std::min(block, rest.size()))) {
            reader.read(rest.substr(0, block));
        }
        reader.end();
    }
}

void expectRead(const Texts& journals, const Texts& taken, const Texts& reports) {
    for (const size_t block : {size_t{1}, size_t{7}, size_t{1000}, size_t{1} << 20}) {
        ListingVisitor visitor;
        readAll(journals, block, visitor);
        EXPECT_EQ(visitor.mTaken, taken) << block;
        EXPECT_EQ(visitor.mReports, reports) << block;
    }
}

TEST(JournalReaderTest, LinesComeInTheOrderOfTheJournals) {
    expectRead({lineOf(5) + '\n' + lineOf(6) + '\n', lineOf(7) + "\r\n"},
               {"0:1 5", "0:2 6", "1:1 7"}, {});
}

TEST(JournalReaderTest, ALineThatCannotBeTakenDoesNotStopTheOthers) {
    expectRead({lineOf(5) + "\nx\n" + lineOf(6) + '\n'}, {"0:1 5", "0:3 6"},
               {"0:2 no JSON object"});
}

TEST(JournalReaderTest, WhiteSpaceIsNoLineButCounts) {
    expectRead({"\n \t\r\n" + lineOf(5) + '\n'}, {"0:3 5"}, {});
}

TEST(JournalReaderTest, ALastLineWithoutItsEndCountsIfItIsWhole) {
    expectRead({lineOf(5) + '\n' + lineOf(6)}, {"0:1 5", "0:2 6"}, {});
}

TEST(JournalReaderTest, AByteOrderMarkIsNoProblem) {
    expectRead({"\xef\xbb\xbf" + lineOf(5) + '\n'}, {"0:1 5"}, {});
}

TEST(JournalReaderTest, AnEmptyJournalIsReported) {
    expectRead({"", lineOf(5) + '\n', "\n \n"}, {"1:1 5"},
               {"0:0 the journal is empty", "2:0 the journal is empty"});
}

TEST(JournalReaderTest, EachProblemHasItsKind) {
    ListingVisitor visitor;
    const std::string line = lineOf(5);
    readAll({"x\n{\"version\":2}\n{\"version\":1}\n"
             "{\"version\":1,\"process\":1,\"connection\":1,\"operation\":\"fly\"}\n" +
                 line.substr(0, 30),
             ""},
            /*block=*/100, visitor);
    EXPECT_EQ(visitor.mKinds,
              (std::vector<JournalProblem>{JournalProblem::notJson, JournalProblem::otherVersion,
                                           JournalProblem::field, JournalProblem::operation,
                                           JournalProblem::torn, JournalProblem::empty}));
}

TEST(JournalReaderTest, ALineThatIsTooLongIsReportedAndNotKept) {
    const std::string tooLong(JournalReader::longestLine + 1, 'x');
    ListingVisitor visitor;
    readAll({tooLong + '\n' + lineOf(5) + '\n' + tooLong}, /*block=*/size_t{1} << 20, visitor);
    EXPECT_EQ(visitor.mTaken, (Texts{"0:2 5"}));
    EXPECT_EQ(visitor.mReports,
              (Texts{"0:1 a line of more than 64 MiB", "0:3 a line of more than 64 MiB"}));
    ListingVisitor atOnce;
    readAll({tooLong + '\n'}, /*block=*/tooLong.size() + 1, atOnce);
    EXPECT_EQ(atOnce.mReports, (Texts{"0:1 a line of more than 64 MiB"}));
}

}  // namespace
