#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "testing/portablefake.h"
#include "tools/ccquery/journals/askagain.h"
#include "tools/ccquery/journals/journaljson.h"
#include "tools/ccquery/journals/recorder.h"

namespace testing_support {

/// Questions to fakes with one configuration.
struct RecordedHosts {
    std::string configuration = {};
    FakeWorld world = {};
    /// CLEARCASE_ROOT for each host, of which each has one connection.
    std::vector<std::optional<std::string>> viewRoots = {std::nullopt};
    /// The number of a host, and what it asks: a line without a result. No question stops a fake.
    std::vector<std::pair<size_t, ccquery::JournalLine>> questions = {};
};

/// The connections of the hosts to fakes with a configuration.
class HostConnections {
public:
    HostConnections(const RecordedHosts& hosts, const std::string& configuration) {
        for (const auto& viewRoot : hosts.viewRoots) {
            mWorlds.push_back(std::make_unique<FakeWorld>(hosts.world));
            mWorlds.back()->viewRoot = viewRoot;
            mFakes.push_back(std::make_unique<PortableFake>(configuration, *mWorlds.back()));
        }
    }
    ccquery::JournalLine ask(size_t host, const ccquery::JournalLine& question) {
        ccquery::JournalLine line = askAgain(*mFakes[host], question);
        line.process = host;
        return line;
    }

private:
    std::vector<std::unique_ptr<FakeWorld>> mWorlds;
    std::vector<std::unique_ptr<PortableFake>> mFakes;
};

/// Records what the hosts ask, and asks it again with the recorded configuration. Returns the
/// first question whose answer is another one although nothing announced it, with both answers; an
/// empty text if there is none. That is the property of a recording.
inline std::string unannouncedDifference(const RecordedHosts& hosts) {
    using namespace ccquery;
    std::set<uint64_t> announced;
    Recorder recorder([&](const Announcement& announcement) {
        if (!announcement.isNote) {
            announced.insert(announcement.place.line);
        }
    });
    for (size_t host = 0; host < hosts.viewRoots.size(); ++host) {
        JournalLine connect{.operation = Operation::connect, .process = host};
        connect.result.viewRoot = hosts.viewRoots[host];
        recorder.take(connect, {.file = 0, .line = 0});
    }
    HostConnections asked(hosts, hosts.configuration);
    std::vector<JournalLine> lines;
    // The line with the same question that was announced in place of a later one.
    std::map<std::string, uint64_t> first;
    const auto questionOf = [&](const JournalLine& line) -> std::string {
        // What the results of a probe were before doesn't matter.
        const bool isProbe = line.operation == Operation::probeVobs;
        return questionText(line) + (isProbe ? "" : argumentsJson(line).dump()) +
               (isProbe ? "" : hosts.viewRoots[line.process].value_or(""));
    };
    for (const auto& [host, question] : hosts.questions) {
        lines.push_back(asked.ask(host, question));
        first.emplace(questionOf(lines.back()), lines.size());
        recorder.take(lines.back(), {.file = 0, .line = lines.size()});
    }
    const Recording recording = recorder.finish("journal", /*withDrives=*/true);
    HostConnections again(hosts, recording.configuration);
    for (size_t i = 0; i < lines.size(); ++i) {
        const JournalLine answer = again.ask(lines[i].process, lines[i]);
        const bool isAnnounced =
            announced.count(i + 1) != 0 || announced.count(first.at(questionOf(lines[i]))) != 0;
        if (!differences(lines[i], answer).empty() && !isAnnounced) {
            return questionText(lines[i]) + ": " + resultJson(lines[i]).dump() + " becomes " +
                   resultJson(answer).dump() + " with:\n" + recording.configuration;
        }
    }
    return {};
}

}  // namespace testing_support
