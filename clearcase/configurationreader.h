#pragma once

// The reader of configurations, for callers that also want to know what it does to each line. The
// format is described in clearcase/configuration.h.

#include <cstddef>
#include <locale>
#include <map>
#include <ostream>
#include <string>
#include <string_view>

#include "clearcase/configuration.h"
#include "clearcase/elementtable.h"
#include "util/normalform.h"
#include "util/pathbytes.h"

/// What the lines below a header are; `none` for those that nothing reads.
enum class ConfigurationSection { none, vobs, attrs };

/// An observer of a ConfigurationReader that ignores everything. Another one has functions of the
/// same names. Texts are parts of the line, except for `key`, which is valid only during the call.
/// A call of `beginLine` is followed by one of the calls up to `takesPath`. If that returns true,
/// the others follow.
struct ConfigurationObserver {
    /// `untrimmed` is the line without its line feed, `line` without the white space at its ends.
    void beginLine(std::string_view /*untrimmed*/, std::string_view /*line*/) {}
    /// The line is empty or a comment.
    void skipLine() {}
    void enterSection(ConfigurationSection /*section*/) {}
    /// The line is in no section that is read.
    void ignoreLine() {}
    /// The line has no `=`.
    void rejectLine() {}
    void addVob(std::string_view /*tag*/, std::string_view /*flags*/) {}
    /// Returns whether the element with this path is to be read. The line is dropped otherwise. If
    /// it is read and the path isn't absolute, an assertion stops the process.
    bool takesPath(std::string_view /*path*/) { return true; }
    /// The element becomes a link, and there is a complaint.
    void replaceUnknownType(std::string_view /*name*/) {}
    void addElement(ElementType /*type*/, std::string_view /*value*/) {}
    /// Called for each key of the element.
    void storeKey(std::string_view /*key*/) {}
};

/// Whether `isWanted` is true for one of a VOB's flags. It is asked about each up to that one; an
/// empty text counts as a flag too.
template <class IsWanted>
[[nodiscard]] bool hasFlag(std::string_view flags, IsWanted isWanted) {
    for (;;) {
        const size_t separator = flags.find_first_of(",; ");
        if (isWanted(flags.substr(0, separator))) {
            return true;
        }
        if (separator == std::string_view::npos) {
            return false;
        }
        flags.remove_prefix(separator + 1);
    }
}

/// Whether a VOB with this flag is read-only. No other flag has a meaning.
[[nodiscard]] inline bool isReadOnlyFlag(std::string_view flag) { return flag == "ro"; }

/// Reads one file, and remembers the current section.
template <class Observer>
class ConfigurationReader {
public:
    /// The arguments must outlive the reader. `configuration` is empty.
    ConfigurationReader(const std::string& viewRootPrefix, Configuration& configuration,
                        std::ostream& errors, Observer& observer)
        : mViewRootPrefix(viewRootPrefix),
          mConfiguration(configuration),
          mElements(configuration.elements),
          mErrors(errors),
          mObserver(observer) {}

    /// Reads the lines that a line feed ends, and returns what is after the last of them.
    [[nodiscard]] std::string_view readLines(std::string_view text) {
        // Speed: Benchmark.ConfigurationBesideAReader
        for (;;) {
            const size_t end = pathbytes::findByte('\n', text.data(), text.size());
            if (end == text.size()) {
                return text;
            }
            readLine(text.substr(0, end));
            text.remove_prefix(end + 1);
        }
    }

    /// `untrimmed` is without its line feed.
    void readLine(std::string_view untrimmed) {
        const std::string_view line = trimmed(untrimmed);
        mObserver.beginLine(untrimmed, line);
        if (line.empty() || line.front() == ';' || line.front() == '#') {
            mObserver.skipLine();
            return;
        }
        if (line.front() == '[') {
            enterSection(line);
        } else if (mSection == ConfigurationSection::vobs) {
            readVob(line);
        } else if (mSection == ConfigurationSection::attrs) {
            readElement(line);
        } else {
            mObserver.ignoreLine();
        }
    }

    /// To be called after the last line.
    void finish() {
        mElements.finish();
        mConfiguration.index = ElementIndex(mConfiguration.elements);
    }

private:
    std::string_view trimmed(std::string_view line) const {
        const auto isSpace = [this](char c) { return mCharacters.is(std::ctype_base::space, c); };
        while (!line.empty() && isSpace(line.back())) {
            line.remove_suffix(1);
        }
        while (!line.empty() && isSpace(line.front())) {
            line.remove_prefix(1);
        }
        return line;
    }

    void enterSection(std::string_view line) {
        std::string header(line);
        mCharacters.tolower(header.data(), header.data() + header.size());
        mSection = header == "[vobs]"    ? ConfigurationSection::vobs
                   : header == "[attrs]" ? ConfigurationSection::attrs
                                         : ConfigurationSection::none;
        mObserver.enterSection(mSection);
    }

    void readVob(std::string_view line) {
        const size_t equals = line.find('=');
        if (equals == std::string_view::npos) {
            mErrors << "Invalid line in [vobs]:  " << line << '\n';
            mObserver.rejectLine();
            return;
        }
        const std::string_view tag = line.substr(0, equals);
        const std::string_view flags = line.substr(equals + 1);
        const bool readOnly = hasFlag(flags, isReadOnlyFlag);
        mConfiguration.vobs.push_back({std::string(tag), readOnly ? vobReadOnly : vobWritable});
        mObserver.addVob(tag, flags);
    }

    void readElement(std::string_view line) {
        const size_t equals = pathbytes::findByte('=', line.data(), line.size());
        if (equals == line.size()) {
            mErrors << "Invalid line in [attrs]:  " << line << '\n';
            mObserver.rejectLine();
            return;
        }
        const std::string_view path = line.substr(0, equals);
        if (!mObserver.takesPath(path)) {
            return;
        }
        const std::string_view text = line.substr(equals + 1);
        const size_t star = text.find('*');

        const ElementType type = star == std::string_view::npos
                                     ? elementSymbolicLink
                                     : typeNamed(text.substr(star + 1), path);
        const std::string_view value = text.substr(0, star);
        mObserver.addElement(type, value);
        PathBuffer buffer;
        store(elementKeyIn(buffer, path), type, value);
        if (!mViewRootPrefix.empty()) {
            // Compatibility: the second key is the prefix directly followed by the path as the
            // configuration spells it. Only a key in normal form with backslashes can be found.
            store(mViewRootPrefix + std::string(path), type, value);
        }
    }

    void store(std::string_view key, ElementType type, std::string_view value) {
        mObserver.storeKey(key);
        mElements.store(key, type, value);
    }

    /// An unknown name causes a complaint, and makes the element a link.
    ElementType typeNamed(std::string_view name, std::string_view path) {
        // Saves the search if the type is the same as in the previous line.
        // Speed: Benchmark.ConfigurationBesideAReader
        if (mLastType == elementTypeMap.end() || mLastType->first != name) {
            mLastType = elementTypeMap.find(std::string(name));
        }
        if (mLastType == elementTypeMap.end()) {
            mErrors << "Invalid attr '" << name << "' for " << path << '\n';
            mObserver.replaceUnknownType(name);
            return elementSymbolicLink;
        }
        return mLastType->second;
    }

    const std::string& mViewRootPrefix;
    Configuration& mConfiguration;
    ElementTableBuilder mElements;
    std::ostream& mErrors;
    Observer& mObserver;
    const std::locale mLocale;  ///< the global one
    const std::ctype<char>& mCharacters = std::use_facet<std::ctype<char>>(mLocale);
    ConfigurationSection mSection = ConfigurationSection::none;
    std::map<std::string, ElementType>::const_iterator mLastType = elementTypeMap.end();
};
