#pragma once

// A configuration line by line, for questions about the file rather than about the elements in it.

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "clearcase/configuration.h"
#include "clearcase/configurationreader.h"

namespace ccquery {

enum class LineKind {
    empty,
    comment,
    header,
    vob,
    element,
    badLine,       ///< without `=`: the library complains
    relativePath,  ///< the line of an element whose path isn't absolute: it stops the host
    outside,       ///< in no section that is read
    unfinished,    ///< the last line, if it has no line feed or if Ctrl+Z is in it: not read
    afterCtrlZ,    ///< a line after that with the first Ctrl+Z: not read
};

/// A line of a configuration. A field that doesn't apply to its kind is empty.
struct ConfigurationLine {
    size_t number = 0;         ///< from 1
    std::string_view text;     ///< without the line feed
    std::string_view trimmed;  ///< without the white space at its ends; what the library reads
    LineKind kind = LineKind::empty;
    bool saysNothing = false;  ///< it is empty or a comment; also of a line that isn't read
    /// The section that a header begins; otherwise that in which the line is.
    ConfigurationSection section = ConfigurationSection::none;

    /// A VOB.
    std::string_view tag;
    std::string_view flags;

    /// An element, as spelled. A relative path has nothing but `path`.
    std::string_view path;
    std::string_view key;        ///< see elementKey
    std::string_view secondKey;  ///< the view root prefix and `path`; empty if there is no prefix
    ElementType type = elementSymbolicLink;
    std::string_view value;  ///< the text of a link; nothing reads that of other types
    /// The name that isn't one of a type. The library complains, and makes the element a link.
    std::optional<std::string_view> unknownType = {};
    /// The number of the last line before this one that has the key too, as its first or its second
    /// one; 0 if there is none.
    size_t keyBefore = 0;
    size_t secondKeyBefore = 0;  ///< the same for `secondKey`
};

/// An element that a line would be (see ConfigurationLines::asElement).
struct PossibleElement {
    std::string_view path;
    std::string key;
    std::string secondKey;
    ElementType type = elementSymbolicLink;
    std::string_view value;
    std::optional<std::string_view> unknownType = {};
};

/// The lines of a configuration, and what the library's reader does to each. An element whose path
/// is relative counts as if it weren't there; the library would stop at it.
class ConfigurationLines {
public:
    /// `text`: the bytes of the file. `viewRootPrefix`: CLEARCASE_ROOT, or empty.
    ConfigurationLines(std::string text, std::string viewRootPrefix);
    ConfigurationLines(const ConfigurationLines&) = delete;
    ConfigurationLines& operator=(const ConfigurationLines&) = delete;

    [[nodiscard]] const std::string& text() const { return mText; }
    [[nodiscard]] const std::string& viewRootPrefix() const { return mViewRootPrefix; }

    /// All lines, in order. That of number n is the element n - 1.
    [[nodiscard]] const std::vector<ConfigurationLine>& lines() const { return mLines; }
    [[nodiscard]] const ConfigurationLine& line(size_t number) const { return mLines[number - 1]; }

    /// The line that decides about the element with this key (see elementKey), or null. It is the
    /// last one that has the key, as its first or its second one.
    [[nodiscard]] const ConfigurationLine* deciding(std::string_view key) const;

    /// Where the first Ctrl+Z is in the text, which ends the file for the library.
    [[nodiscard]] std::optional<size_t> ctrlZ() const { return mCtrlZ; }

    /// The element that `line` would be if it were a finished line in the section "[attrs]", in
    /// front of any Ctrl+Z, and without comment marks at its start; nothing if that has no `=` or
    /// its path isn't absolute.
    [[nodiscard]] std::optional<PossibleElement> asElement(const ConfigurationLine& line) const;

    /// What the library has read.
    [[nodiscard]] const Configuration& configuration() const { return mConfiguration; }
    /// Its complaints, each with a line feed.
    [[nodiscard]] const std::string& complaints() const { return mComplaints; }

private:
    void addUnreadLines(std::string_view unfinished, ConfigurationSection section);
    void indexKeys();
    size_t setDecider(std::string_view key, size_t number);

    const std::string mText;
    const std::string mViewRootPrefix;
    std::optional<size_t> mCtrlZ;
    Configuration mConfiguration;
    std::string mComplaints;
    std::vector<ConfigurationLine> mLines;
    std::deque<std::string> mKeys;  ///< those that aren't spelled like this in the text
    std::unordered_map<std::string_view, size_t> mDeciders;  ///< by key, the number of a line
};

}  // namespace ccquery
