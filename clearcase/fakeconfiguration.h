#pragma once

// The text of a configuration, made of calls, for tests of a host. Most tests use FakeScenario
// (clearcase/fakescenario.h), which writes it to a file. This header is for a host that is tested
// in a process of its own or on another system; it needs nothing but the contract's header.
//
// What a configuration can't say is refused with std::invalid_argument, which says why, and changes
// nothing:
//
//     a path            that isn't absolute, which would stop the host, or that has a null
//                       character, which no host can ask for
//     a path, a tag     that has a `=`, or begins with `;`, `#`, `[` or white space
//     a link's text     that has a `*`
//     any of these      that has a line feed, or a Ctrl+Z, which ends the file on Windows
//
// Texts are UTF-8, except VOB tags, which are in the system's code page. All are taken verbatim.

#include <stdexcept>
#include <string>
#include <string_view>

#include "clearcase/clearcaseconnection.h"

/// The rules of FakeConfiguration.
namespace fakeconfiguration {

/// Returns the name that a configuration has for the type, or null if it isn't a type.
[[nodiscard]] inline const char* typeName(ElementType type) {
    switch (type) {
        case elementUnexpected:
            return "unexpected";
        case elementNull:
            return "null";
        case elementVersion:
            return "version";
        case elementDirectoryVersion:
            return "directory_version";
        case elementSymbolicLink:
            return "symbolic_link";
        case elementViewPrivate:
            return "view_private";
        case elementViewDerived:
            return "view_derived";
        case elementDerivedObject:
            return "derived_object";
        case elementCheckedOutFile:
            return "checked_out_file";
        case elementCheckedOutDir:
            return "checked_out_dir";
    }
    return nullptr;
}

/// Returns whether the library takes the path as absolute: it begins with a drive ("C:") or with a
/// server and a share.
[[nodiscard]] inline bool isAbsolute(std::string_view path) {
    constexpr std::string_view separators = "/\\";
    if (path.size() >= 2 && path[1] == ':' && separators.find(path[0]) == std::string_view::npos) {
        return true;
    }
    const auto server = path.find_first_not_of(separators);
    if (server == std::string_view::npos || server < 2) {
        return false;
    }
    const auto share = path.find_first_of(separators, server);
    return share != std::string_view::npos &&
           path.find_first_not_of(separators, share) != std::string_view::npos;
}

/// Returns why no line of a configuration can hold the text, or null if one can.
[[nodiscard]] inline const char* problemAnywhere(std::string_view text) {
    if (text.find('\n') != std::string_view::npos) {
        return "has a line feed, which ends the line";
    }
    if (text.find('\x1a') != std::string_view::npos) {
        return "has a Ctrl+Z, which ends the file";
    }
    return nullptr;
}

/// Returns why a configuration can't hold the VOB tag, or null if it can. An empty tag is one.
[[nodiscard]] inline const char* problemOfTag(std::string_view tag) {
    if (const char* const problem = problemAnywhere(tag)) {
        return problem;
    }
    if (tag.find('=') != std::string_view::npos) {
        return "has a '=', which ends it";
    }
    if (tag.empty()) {
        return nullptr;
    }
    if (tag.front() == ';' || tag.front() == '#') {
        return "begins like a comment";
    }
    if (tag.front() == '[') {
        return "begins like the header of a section";
    }
    if (std::string_view(" \t\v\f\r").find(tag.front()) != std::string_view::npos) {
        return "begins with white space, which is removed";
    }
    return nullptr;
}

/// Returns why a configuration can't hold the path of an element, or null if it can.
[[nodiscard]] inline const char* problemOfPath(std::string_view path) {
    if (const char* const problem = problemOfTag(path)) {
        return problem;
    }
    if (path.find('\0') != std::string_view::npos) {
        return "has a null character, and no host can ask for it";
    }
    return isAbsolute(path) ? nullptr
                            : "isn't absolute and would stop the host; begin with a drive, or with "
                              "a server and a share";
}

/// Returns why a configuration can't hold the text of a symbolic link, or null if it can.
[[nodiscard]] inline const char* problemOfLinkText(std::string_view text) {
    if (const char* const problem = problemAnywhere(text)) {
        return problem;
    }
    return text.find('*') == std::string_view::npos ? nullptr : "has a '*', which ends it";
}

/// Throws std::invalid_argument if there is a problem with the text.
inline void refuse(const std::string& what, std::string_view text, const char* problem) {
    if (problem != nullptr) {
        throw std::invalid_argument(what + " " + problem + ": " + std::string(text));
    }
}

}  // namespace fakeconfiguration

/// The text of a configuration.
class FakeConfiguration {
public:
    /// Makes the element at `path` one of this type. If the path is in the configuration already,
    /// in any spelling, the later call counts. Versions have the version "/main/0".
    FakeConfiguration& element(std::string_view path, ElementType type) {
        const char* const name = fakeconfiguration::typeName(type);
        if (name == nullptr) {
            throw std::invalid_argument("no element has the type " + std::to_string(type));
        }
        return addElement(path, "", name);
    }

    /// Makes the element at `path` a symbolic link with this text.
    FakeConfiguration& link(std::string_view path, std::string_view text) {
        fakeconfiguration::refuse("the text of the link", text,
                                  fakeconfiguration::problemOfLinkText(text));
        return addElement(path, text, fakeconfiguration::typeName(elementSymbolicLink));
    }

    /// Adds a VOB, which `probeVobs` probes below the root that it is passed. Whether it can be
    /// written is up to the folder there.
    FakeConfiguration& vob(std::string_view tag) {
        fakeconfiguration::refuse("the VOB tag", tag, fakeconfiguration::problemOfTag(tag));
        return addLine("[vobs]\n", std::string(tag) + "=\n");
    }

    /// Returns the content of the file, empty at first. It is this object's own text, to which each
    /// further call adds.
    [[nodiscard]] const std::string& text() const { return mText; }

private:
    FakeConfiguration& addElement(std::string_view path, std::string_view text, const char* type) {
        fakeconfiguration::refuse("the path", path, fakeconfiguration::problemOfPath(path));
        // With its type a line ends in a letter, and so nothing is trimmed from the text of a link.
        return addLine("[attrs]\n",
                       std::string(path) + "=" + std::string(text) + "*" + type + "\n");
    }

    FakeConfiguration& addLine(std::string_view header, const std::string& line) {
        mText += mHeader == header ? line : std::string(header) + line;
        mHeader = header;
        return *this;
    }

    std::string mText;
    std::string_view mHeader;  ///< of the last line
};
