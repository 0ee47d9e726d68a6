// A journal. Input: its bytes. Each line that isn't blank is either taken or reported, once and in
// order, in whatever pieces the bytes come.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tools/ccquery/journals/journalreader.h"
#include "util/assertion.h"

namespace {

using namespace ccquery;

/// What became of the lines of a journal.
struct Outcome {
    std::vector<uint64_t> lines = {};  ///< the numbers of those that were taken or reported
    std::string what = {};             ///< their content as it was read
    bool isEmpty = false;

    friend bool operator==(const Outcome&, const Outcome&) = default;
};

class Visitor : public JournalVisitor {
public:
    void take(const JournalLine& line, const JournalPlace& place) override {
        mOutcome.lines.push_back(place.line);
        mOutcome.what += operationName(line.operation);
        for (const JournalFields* const fields : {&line.arguments, &line.result}) {
            for (const JournalText* const text : {&fields->path, &fields->version, &fields->target,
                                                  &fields->text, &fields->viewRoot}) {
                mOutcome.what += '|' + text->value_or("-");
            }
            mOutcome.what += std::to_string(fields->vobTags.size() + fields->results.size() +
                                            fields->info.size() + fields->drives.size());
        }
        // What the contract says of a path holds for each line that is taken.
        NB_ASSERT(line.operation != Operation::getElementStatus || !line.arguments.path ||
                  line.arguments.path->find('\0') == std::string::npos);
        NB_ASSERT(line.operation != Operation::canonicalizeViewPath || line.arguments.path);
    }

    void report(JournalProblem kind, const JournalPlace& place,
                const std::string& problem) override {
        NB_ASSERT(!problem.empty());
        if (kind == JournalProblem::empty) {
            mOutcome.isEmpty = true;
            return;
        }
        mOutcome.lines.push_back(place.line);
        mOutcome.what += problem;
    }

    const Outcome& outcome() const { return mOutcome; }

private:
    Outcome mOutcome;
};

Outcome read(std::string_view journal, size_t block) {
    Visitor visitor;
    JournalReader reader(visitor);
    reader.begin(/*file=*/0);
    while (!journal.empty()) {
        reader.read(journal.substr(0, block));
        journal.remove_prefix(std::min(block, journal.size()));
    }
    reader.end();
    return visitor.outcome();
}

std::vector<uint64_t> linesWithText(std::string_view journal) {
    std::vector<uint64_t> lines;
    for (uint64_t number = 1; !journal.empty(); ++number) {
        const std::string_view line = journal.substr(0, journal.find('\n'));
        if (line.find_first_not_of(" \t\r") != std::string_view::npos) {
            lines.push_back(number);
        }
        journal.remove_prefix(std::min(journal.size(), line.size() + 1));
    }
    return lines;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view journal(reinterpret_cast<const char*>(data), size);
    const Outcome outcome = read(journal, size + 1);
    NB_ASSERT(outcome.lines == linesWithText(journal));
    NB_ASSERT(outcome.isEmpty == outcome.lines.empty());
    NB_ASSERT(read(journal, 1) == outcome);
    NB_ASSERT(read(journal, 5) == outcome);
    return 0;
}
