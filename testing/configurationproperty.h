#pragma once

// The property of a FakeConfiguration: what it accepts comes back from the library's reader
// exactly, and what it refuses couldn't.

#include <cstddef>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "clearcase/configuration.h"
#include "clearcase/configurationreader.h"
#include "clearcase/elementtypes.h"
#include "clearcase/fakeconfiguration.h"
#include "testing/portablefake.h"
#include "util/pathfun.h"

namespace testing_support {

/// A call of a FakeConfiguration.
struct ConfigurationCall {
    enum class Kind { element, link, vob };

    Kind kind = Kind::element;
    std::string path = {};              ///< or the VOB tag
    ElementType type = elementVersion;  ///< of an element
    std::string text = {};              ///< of a link
};

/// What the library reads of a configuration.
struct ReadConfiguration {
    std::vector<std::string> vobs = {};
    std::map<std::string, std::pair<ElementType, std::string>> elements = {};
    size_t elementLines = 0;
    /// There were complaints, a path that would stop the host, or a line that isn't read.
    bool isBad = false;

    friend bool operator==(const ReadConfiguration&, const ReadConfiguration&) = default;
};

/// Reads the bytes of a file as the library does.
inline ReadConfiguration readBack(const std::string& bytes) {
    struct Observer : ConfigurationObserver {
        bool takesPath(std::string_view path) {
            ++elementLines;
            const bool isAbsolute = isAbsolutePath(path, windowsPaths);
            isBad = isBad || !isAbsolute;
            return isAbsolute;
        }
        void ignoreLine() { isBad = true; }
        size_t elementLines = 0;
        bool isBad = false;
    };
    Configuration configuration;
    std::ostringstream complaints;
    Observer observer;
    const std::string noViewRoot;
    ConfigurationReader reader(noViewRoot, configuration, complaints, observer);
    const std::string text = PortableFake::asText(bytes);
    const bool isWhole = reader.readLines(text).empty();
    reader.finish();

    ReadConfiguration result;
    for (const VobRecord& vob : configuration.vobs) {
        result.vobs.push_back(vob.tag);
    }
    for (const auto& [key, element] : configuration.elements) {
        result.elements[key] = {element.type, element.value};
    }
    result.elementLines = observer.elementLines;
    result.isBad = observer.isBad || !isWhole || !complaints.str().empty();
    return result;
}

/// What a reader is to find after a call. The path is absolute.
inline void say(const ConfigurationCall& call, ReadConfiguration& said) {
    switch (call.kind) {
        case ConfigurationCall::Kind::element:
            said.elements[elementKey(call.path)] = {call.type, ""};
            ++said.elementLines;
            break;
        case ConfigurationCall::Kind::link:
            said.elements[elementKey(call.path)] = {elementSymbolicLink, call.text};
            ++said.elementLines;
            break;
        case ConfigurationCall::Kind::vob:
            said.vobs.push_back(call.path);
            break;
    }
}

/// Whether a line without any check would come back exactly, and a host could ask for it.
inline bool canBeSaid(const ConfigurationCall& call) {
    if (call.kind == ConfigurationCall::Kind::vob) {
        ReadConfiguration said;
        say(call, said);
        return readBack("[vobs]\n" + call.path + "=\n") == said;
    }
    const bool isLink = call.kind == ConfigurationCall::Kind::link;
    const char* name = nullptr;
    for (const ElementTypeName* entry = elementTypeNames; entry->name != nullptr; ++entry) {
        if (entry->type == (isLink ? elementSymbolicLink : call.type)) {
            name = entry->name;
        }
    }
    const bool canBeAsked =
        isAbsolutePath(call.path, windowsPaths) && call.path.find('\0') == std::string::npos;
    if (name == nullptr || !canBeAsked) {
        return false;
    }
    ReadConfiguration said;
    say(call, said);
    const std::string text = isLink ? call.text : "";
    return readBack("[attrs]\n" + call.path + "=" + text + "*" + name + "\n") == said;
}

/// Makes the call. Returns whether it is accepted.
inline bool accepts(FakeConfiguration& configuration, const ConfigurationCall& call) {
    try {
        switch (call.kind) {
            case ConfigurationCall::Kind::element:
                configuration.element(call.path, call.type);
                break;
            case ConfigurationCall::Kind::link:
                configuration.link(call.path, call.text);
                break;
            case ConfigurationCall::Kind::vob:
                configuration.vob(call.path);
                break;
        }
        return true;
    } catch (const std::invalid_argument&) {
        return false;
    }
}

/// Makes the calls. Returns what is against the property, or an empty text.
inline std::string againstTheProperty(const std::vector<ConfigurationCall>& calls) {
    FakeConfiguration configuration;
    ReadConfiguration said;
    for (const ConfigurationCall& call : calls) {
        const std::string before = configuration.text();
        const bool isAccepted = accepts(configuration, call);
        if (isAccepted != canBeSaid(call)) {
            return (isAccepted ? "accepted: " : "refused: ") + call.path + " | " + call.text;
        }
        if (isAccepted) {
            say(call, said);
        } else if (configuration.text() != before) {
            return "changed by what it refused: " + call.path;
        }
    }
    return readBack(configuration.text()) == said ? "" : "read otherwise: " + configuration.text();
}

}  // namespace testing_support
