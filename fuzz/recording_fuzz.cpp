// A recording. Input: a line of view roots separated by `;`, a host for each; a line of drives ("M:
// X:tag", where the one without a tag is the MVFS drive); the lines of a configuration up to a line
// "?"; and a line for each question, with the number of the host in front:
//
//     0s C:\a             the status of an element; 0n without version and target
//     0d C:\a             the same, where a folder is there; 0r for a read-only file
//     0c C:\w|a|X:\vob    a view path: directory, path, tag
//     0p C:\vobs          a probe of VOBs
//     0o                  all that has no arguments
//
// Whatever the recorded configuration doesn't repeat must be announced.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "fuzz/fuzzinput.h"
#include "testing/recordingproperty.h"
#include "tools/ccquery/configurationlines.h"
#include "util/assertion.h"
#include "util/stringutilities.h"

namespace {

using namespace ccquery;
using namespace testing_support;

void takeDrives(const std::string& line, FakeWorld& world) {
    std::vector<std::string> words;
    split(line, words, " ");
    for (const std::string& word : words) {
        const std::string drive = word.substr(0, 2);
        const std::string tag = word.substr(drive.size());
        // Windows connects drives of one letter, and a view's tag is a single name.
        if (!isUpperDrive(drive)) {
            continue;
        }
        if (tag.empty()) {
            world.mvfsRoot = drive;
        } else if (drive != world.mvfsRoot && tag[0] != '.' &&
                   tag.find_first_of("/\\:") == std::string::npos) {
            world.views[drive] = tag;
        }
    }
}

/// Returns the lines of a configuration that don't stop a host.
std::string takeConfiguration(std::string_view& rest) {
    std::string text;
    while (!rest.empty()) {
        const std::string line = takeLine(rest);
        if (line == "?") {
            break;
        }
        text += line + '\n';
    }
    const ConfigurationLines lines(text, /*viewRootPrefix=*/"");
    std::string kept;
    for (const ConfigurationLine& line : lines.lines()) {
        if (line.kind != LineKind::relativePath) {
            kept.append(line.text).append(1, '\n');
        }
    }
    return kept;
}

void addOthers(size_t host, RecordedHosts& hosts) {
    for (const Operation operation :
         {Operation::getOutput, Operation::getError, Operation::clearMessages,
          Operation::getViewTag, Operation::getProductInfo, Operation::getMvfsDrives,
          Operation::startSession, Operation::isReady, Operation::killConnection}) {
        hosts.questions.emplace_back(host, JournalLine{.operation = operation});
    }
}

void addStatus(size_t host, char kind, const std::string& path, RecordedHosts& hosts) {
    if (!isAbsolutePath(path, windowsPaths) || path.find('\0') != std::string::npos) {
        return;
    }
    JournalLine line{.operation = Operation::getElementStatus};
    line.arguments.path = path;
    if (kind != 'n') {
        line.arguments.version = "before";
        line.arguments.target = "before";
    }
    if (kind == 'd' || kind == 'r') {
        using File = FakeWorld::File;
        hosts.world.disk[elementKey(path)] = kind == 'd' ? File::folder : File::readOnly;
    }
    hosts.questions.emplace_back(host, line);
}

void addViewPath(size_t host, const std::string& text, RecordedHosts& hosts) {
    std::vector<std::string> parts;
    split(text, parts, "|");
    parts.resize(3);
    if (stopsHost(parts[0], parts[1], {parts[2]},
                  {.mvfsRoot = hosts.world.mvfsRoot, .views = hosts.world.views})) {
        return;
    }
    JournalLine line{.operation = Operation::canonicalizeViewPath};
    line.arguments.cwd = parts[0];
    line.arguments.path = parts[1];
    line.arguments.vobTags = {parts[2]};
    hosts.questions.emplace_back(host, line);
}

void addQuestion(const std::string& text, RecordedHosts& hosts) {
    if (text.size() < 2) {
        return;
    }
    const size_t host = static_cast<unsigned char>(text[0]) % hosts.viewRoots.size();
    const std::string rest = text.size() < 3 ? "" : text.substr(3);
    switch (text[1]) {
        case 'c':
            addViewPath(host, rest, hosts);
            break;
        case 'p': {
            JournalLine line{.operation = Operation::probeVobs};
            line.arguments.root = rest;
            hosts.questions.emplace_back(host, line);
            break;
        }
        case 'o':
            addOthers(host, hosts);
            break;
        default:
            addStatus(host, text[1], rest, hosts);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    RecordedHosts hosts;
    std::vector<std::string> roots;
    split(takeLine(rest), roots, ";");
    roots.resize(std::min<size_t>(roots.size(), 4));
    for (const std::string& root : roots) {
        hosts.viewRoots.emplace_back(root);
    }
    takeDrives(takeLine(rest), hosts.world);
    hosts.configuration = takeConfiguration(rest);
    for (int i = 0; i < 50 && !rest.empty(); ++i) {
        addQuestion(takeLine(rest), hosts);
    }
    const std::string difference = unannouncedDifference(hosts);
    if (!difference.empty()) {
        std::fprintf(stderr, "%s\n", difference.c_str());
    }
    NB_ASSERT(difference.empty());
    return 0;
}
