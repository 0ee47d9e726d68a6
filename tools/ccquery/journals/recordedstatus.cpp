#include "tools/ccquery/journals/recordedstatus.h"

#include <algorithm>
#include <optional>
#include <sstream>
#include <utility>

#include <boost/container_hash/hash.hpp>

#include "clearcase/configuration.h"
#include "clearcase/elementstatus.h"
#include "tools/ccquery/ask.h"
#include "util/pathfun.h"

namespace ccquery {
namespace {

const char* const byTheDisk = "; the file on the disk decides";

std::string textOr(const JournalText& text, const char* otherwise) {
    return text ? "'" + *text + "'" : otherwise;
}

/// Returns the answer of a fake with these elements; nothing if the disk decides.
std::optional<StatusAnswer> answerOf(const Configuration& configuration,
                                     const StatusQuestion& question) {
    StatusAnswer answer{.type = 0, .version = question.version, .target = question.target};
    const auto type = configuredStatus(configuration.index, question.path.c_str(),
                                       answer.version ? &*answer.version : nullptr,
                                       answer.target ? &*answer.target : nullptr);
    if (!type) {
        return std::nullopt;
    }
    answer.type = *type;
    return answer;
}

Configuration read(const std::string& text, const std::string& viewRoot) {
    std::istringstream input(text);
    std::ostringstream complaints;
    Configuration configuration;
    readConfiguration(input, viewRoot, configuration, complaints);
    return configuration;
}

/// Whether the host asked for all that a line needs.
bool isComplete(const StatusQuestion& question) {
    switch (question.answer.type) {
        case elementSymbolicLink:
            return question.answer.target.has_value();
        case elementVersion:
        case elementDirectoryVersion:
            return question.answer.version.has_value();
        default:
            return true;
    }
}

std::string answerText(const StatusAnswer& answer) {
    const auto name = elementTypeName(answer.type);
    std::string text = "type " + (name ? *name : std::to_string(answer.type));
    if (answer.version) {
        text += ", version '" + *answer.version + "'";
    }
    if (answer.target) {
        text += ", target '" + *answer.target + "'";
    }
    return text;
}

}  // namespace

std::string questionText(const StatusQuestion& question) {
    return "getElementStatus '" + question.path + "'";
}

size_t RecordedStatus::Hash::operator()(size_t index) const {
    const StatusQuestion& question = questions[index];
    size_t hash = std::hash<std::string>()(question.path);
    boost::hash_combine(hash, question.viewRoot);
    for (const JournalText* const text : {&question.version, &question.target}) {
        boost::hash_combine(hash, *text ? std::hash<std::string>()(**text) : 1);
    }
    return hash;
}

RecordedStatus::RecordedStatus(const Announce& announce)
    : mAnnounce(announce), mIndex(0, Hash{mQuestions}, Equal{mQuestions}) {}

void RecordedStatus::add(const JournalLine& line, const JournalPlace& place, size_t viewRoot) {
    const JournalText& path = line.arguments.path;
    if (!path || !isAbsolutePath(*path, windowsPaths)) {
        const std::string question = "getElementStatus " + textOr(path, "of a null pointer");
        mAnnounce({.place = place,
                   .question = question,
                   .problem = "a path that isn't absolute would stop the host of a fake; it is "
                              "left out"});
        return;
    }
    mQuestions.push_back({.place = place,
                          .viewRoot = viewRoot,
                          .path = *path,
                          .version = line.arguments.version,
                          .target = line.arguments.target,
                          .answer = {.type = line.result.type,
                                     .version = line.result.version,
                                     .target = line.result.target}});
    const auto [found, isNew] = mIndex.insert(mQuestions.size() - 1);
    if (isNew) {
        return;
    }
    const StatusQuestion& first = mQuestions[*found];
    if (mQuestions.back().answer != first.answer) {
        mAnnounce({.place = place,
                   .question = questionText(first),
                   .problem = "the answer differs from the one before (" +
                              answerText(mQuestions.back().answer) + " in place of " +
                              answerText(first.answer) + "); the first one is kept"});
    }
    mQuestions.pop_back();
}

std::string RecordedStatus::makeLines() {
    std::vector<std::pair<std::string, size_t>> keys;
    keys.reserve(mQuestions.size());
    for (size_t i = 0; i < mQuestions.size(); ++i) {
        keys.emplace_back(elementKey(mQuestions[i].path), i);
    }
    std::sort(keys.begin(), keys.end());
    std::string lines;
    for (auto begin = keys.begin(); begin != keys.end();) {
        const auto end = std::find_if(
            begin, keys.end(), [&](const auto& entry) { return entry.first != begin->first; });
        Group group;
        std::for_each(begin, end, [&](const auto& entry) { group.push_back(entry.second); });
        lines += lineFor(begin->first, group);
        begin = end;
    }
    return lines;
}

std::string RecordedStatus::lineFor(const std::string& key, const Group& group) {
    const auto complete = std::find_if(
        group.begin(), group.end(), [this](size_t index) { return isComplete(mQuestions[index]); });
    const StatusQuestion& question =
        mQuestions[complete == group.end() ? group.front() : *complete];
    const ElementLines lines = elementLines(key, question.path, question.answer);
    if (lines.candidates.empty()) {
        for (const size_t index : group) {
            mProblems[index] = lines.problem;
        }
        return {};
    }
    const std::string* best = &lines.candidates.front();
    if (lines.candidates.size() > 1) {
        best = &*std::max_element(lines.candidates.begin(), lines.candidates.end(),
                                  [&](const std::string& a, const std::string& b) {
                                      return countAnswered(a, group) < countAnswered(b, group);
                                  });
    }
    return *best;
}

size_t RecordedStatus::countAnswered(const std::string& line, const Group& group) const {
    const Configuration configuration = read("[attrs]\n" + line, /*viewRoot=*/"");
    return static_cast<size_t>(std::count_if(group.begin(), group.end(), [&](size_t index) {
        return answerOf(configuration, mQuestions[index]) == mQuestions[index].answer;
    }));
}

void RecordedStatus::check(const std::string& text,
                           const std::vector<std::string>& viewRoots) const {
    std::vector<Group> byRoot(viewRoots.size());
    for (size_t i = 0; i < mQuestions.size(); ++i) {
        byRoot[mQuestions[i].viewRoot].push_back(i);
    }
    for (size_t root = 0; root < viewRoots.size(); ++root) {
        if (byRoot[root].empty()) {
            continue;
        }
        const Configuration configuration = read(text, viewRoots[root]);
        for (const size_t index : byRoot[root]) {
            const StatusQuestion& question = mQuestions[index];
            const std::optional<StatusAnswer> answer = answerOf(configuration, question);
            if (!answer) {
                announceUnanswered(index);
            } else if (*answer != question.answer) {
                announceDifference(question, *answer);
            }
        }
    }
}

void RecordedStatus::announceUnanswered(size_t index) const {
    const StatusQuestion& question = mQuestions[index];
    // An element has a line, which is found by its key, or a reason for having none.
    mAnnounce({.place = question.place,
               .question = questionText(question),
               .problem = mProblems.at(index) + byTheDisk});
}

void RecordedStatus::announceDifference(const StatusQuestion& question,
                                        const StatusAnswer& answer) const {
    const StatusAnswer& recorded = question.answer;
    if (answer.type == recorded.type && answer.target == recorded.target) {
        mAnnounce({.place = question.place,
                   .question = questionText(question),
                   .problem = "the version " + textOr(recorded.version, "") + " becomes " +
                              textOr(answer.version, "") + "; verify with --ignore version"});
        return;
    }
    mAnnounce({.place = question.place,
               .question = questionText(question),
               .problem = answerText(recorded) + " becomes " + answerText(answer) +
                          "; another answer decides about this element"});
}

}  // namespace ccquery
