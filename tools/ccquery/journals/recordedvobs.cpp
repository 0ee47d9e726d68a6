#include "tools/ccquery/journals/recordedvobs.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include "clearcase/configuration.h"
#include "clearcase/probedfolder.h"
#include "tools/ccquery/journals/elementline.h"
#include "util/pathfun.h"

namespace ccquery {
namespace {

bool isSameRecord(const VobRecord& a, const VobRecord& b) {
    return a.tag == b.tag && a.state == b.state;
}

bool isSameList(const std::vector<VobRecord>& a, const std::vector<VobRecord>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), isSameRecord);
}

bool isState(VobState state) { return state >= vobWritable && state <= vobNotDetermined; }

}  // namespace

std::string tagOfFolder(const std::string& root, const std::string& folder) {
    // The folder is the root and the tag, but for one slash of a doubled one.
    for (const size_t cut : {root.size(), root.size() - 1}) {
        if (cut > folder.size()) {
            continue;
        }
        std::string tag = folder.substr(cut);
        toBackslashes(tag);
        const bool canBeRead = problemOfName(tag).empty();
        if (!tag.empty() && canBeRead && probedFolder(root, tag) == folder) {
            return tag;
        }
    }
    return {};
}

void RecordedVobs::announce(const JournalPlace& place, const std::string& root,
                            const std::string& problem, bool isNote) const {
    mAnnounce({.place = place,
               .question = "probeVobs '" + root + "'",
               .problem = problem,
               .isNote = isNote});
}

void RecordedVobs::add(const JournalLine& line, const JournalPlace& place) {
    const std::string& root = *line.arguments.root;
    const std::vector<VobRecord>& before = line.arguments.results;
    const std::vector<VobRecord>& after = line.result.results;
    if (after.size() < before.size() ||
        !std::equal(before.begin(), before.end(), after.begin(), isSameRecord)) {
        announce(place, root, "it changed the results that it was given; the fake only adds some");
        return;
    }
    Probe probe{.place = place,
                .root = root,
                .added = {after.begin() + static_cast<std::ptrdiff_t>(before.size()), after.end()}};
    const auto [found, isNew] = mByRoot.emplace(root, mProbes.size());
    if (isNew) {
        mProbes.push_back(std::move(probe));
    } else if (!isSameList(mProbes[found->second].added, probe.added)) {
        announce(place, root, "the answer differs from the one before; the first one is kept");
    }
}

std::optional<std::string> RecordedVobs::linesOf(const Probe& probe) {
    std::string lines;
    for (const VobRecord& vob : probe.added) {
        const std::string tag = tagOfFolder(probe.root, vob.tag);
        if (tag.empty()) {
            return std::nullopt;
        }
        lines += tag + (vob.state == vobReadOnly ? "=ro\n" : "=\n");
    }
    return lines;
}

std::string RecordedVobs::makeLines() const {
    // Only a root without a separator at its end shows whether the tags begin with one.
    for (const bool endsInSeparator : {false, true}) {
        for (const Probe& probe : mProbes) {
            const bool ends = !probe.root.empty() && isPathSeparator(probe.root.back());
            const auto lines = ends == endsInSeparator ? linesOf(probe) : std::nullopt;
            if (lines) {
                return *lines;
            }
        }
    }
    return {};
}

void RecordedVobs::check(const std::string& text) const {
    std::istringstream input(text);
    std::ostringstream complaints;
    Configuration configuration;
    readConfiguration(input, /*viewRootPrefix=*/"", configuration, complaints);
    for (const Probe& probe : mProbes) {
        const bool hasFolders = std::equal(
            probe.added.begin(), probe.added.end(), configuration.vobs.begin(),
            configuration.vobs.end(), [&](const VobRecord& recorded, const VobRecord& vob) {
                return recorded.tag == probedFolder(probe.root, vob.tag);
            });
        if (!hasFolders) {
            announce(
                probe.place, probe.root,
                "the VOBs of a configuration can't have these folders; ask for one root alone");
        } else if (!std::all_of(probe.added.begin(), probe.added.end(),
                                [](const VobRecord& vob) { return isState(vob.state); })) {
            announce(probe.place, probe.root, "a fake reports none of these states");
        }
    }
    if (!mProbes.empty()) {
        announce(mProbes.front().place, mProbes.front().root,
                 "a configuration doesn't say which VOBs can be written; the folders on the disk "
                 "decide about that",
                 /*isNote=*/true);
    }
}

}  // namespace ccquery
