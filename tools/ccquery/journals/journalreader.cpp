#include "tools/ccquery/journals/journalreader.h"

namespace ccquery {
namespace {

JournalProblem problemOf(LineProblem problem, bool hasEnd) {
    switch (problem) {
        case LineProblem::otherVersion:
            return JournalProblem::otherVersion;
        case LineProblem::operation:
            return JournalProblem::operation;
        case LineProblem::field:
            return JournalProblem::field;
        default:
            return hasEnd ? JournalProblem::notJson : JournalProblem::torn;
    }
}

}  // namespace

void JournalReader::begin(size_t file) {
    mPlace = {.file = file, .line = 0};
    mIsEmpty = true;
    mBegun.clear();
    mBegunBytes = 0;
}

void JournalReader::read(std::string_view bytes) {
    for (size_t end = bytes.find('\n'); end != std::string_view::npos; end = bytes.find('\n')) {
        if (mBegunBytes == 0) {
            readLine(bytes.substr(0, end), /*hasEnd=*/true);
        } else {
            collect(bytes.substr(0, end));
            readLine(mBegun, /*hasEnd=*/true);
            mBegun.clear();
            mBegunBytes = 0;
        }
        bytes.remove_prefix(end + 1);
    }
    collect(bytes);
}

void JournalReader::end() {
    if (mBegunBytes != 0) {
        readLine(mBegun, /*hasEnd=*/false);
    }
    if (mIsEmpty) {
        mPlace.line = 0;
        report(JournalProblem::empty, "the journal is empty");
    }
}

void JournalReader::collect(std::string_view bytes) {
    mBegunBytes += bytes.size();
    if (mBegunBytes <= longestLine) {
        mBegun += bytes;
    } else {
        mBegun.clear();
        mBegun.shrink_to_fit();
    }
}

void JournalReader::readLine(std::string_view line, bool hasEnd) {
    ++mPlace.line;
    if (mBegunBytes > longestLine || line.size() > longestLine) {
        mIsEmpty = false;
        report(JournalProblem::tooLong, "a line of more than 64 MiB");
        return;
    }
    if (line.find_first_not_of(" \t\r") == std::string_view::npos) {
        return;
    }
    mIsEmpty = false;
    const LineProblem problem = mParser.parse(line);
    if (problem == LineProblem::none) {
        mVisitor.take(mParser.line(), mPlace);
    } else {
        report(problemOf(problem, hasEnd), mParser.problem());
    }
}

void JournalReader::report(JournalProblem kind, const std::string& problem) {
    mVisitor.report(kind, mPlace, problem);
}

}  // namespace ccquery
