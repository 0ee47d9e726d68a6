#include "tools/ccquery/configurationlines.h"

#include <algorithm>
#include <sstream>
#include <utility>

#include "util/pathfun.h"

namespace ccquery {
namespace {

constexpr char endOfText = '\x1a';  // Ctrl+Z

ConfigurationLine& addLine(std::vector<ConfigurationLine>& lines, std::string_view untrimmed,
                           std::string_view trimmed, ConfigurationSection section) {
    ConfigurationLine& added = lines.emplace_back();
    added.number = lines.size();
    added.text = untrimmed;
    added.trimmed = trimmed;
    added.section = section;
    return added;
}

/// Records what the reader does to each line.
class LineRecorder : public ConfigurationObserver {
public:
    /// `keys` owns the texts of keys that aren't spelled like this in the lines.
    LineRecorder(std::vector<ConfigurationLine>& lines, std::deque<std::string>& keys)
        : mLines(lines), mKeys(keys) {}

    void beginLine(std::string_view untrimmed, std::string_view line) {
        addLine(mLines, untrimmed, line, mSection);
    }
    void skipLine() {
        mLines.back().saysNothing = true;
        mLines.back().kind = mLines.back().trimmed.empty() ? LineKind::empty : LineKind::comment;
    }
    void enterSection(ConfigurationSection section) {
        mSection = section;
        mLines.back().section = section;
        mLines.back().kind = LineKind::header;
    }
    void ignoreLine() { mLines.back().kind = LineKind::outside; }
    void rejectLine() { mLines.back().kind = LineKind::badLine; }
    void addVob(std::string_view tag, std::string_view flags) {
        mLines.back().kind = LineKind::vob;
        mLines.back().tag = tag;
        mLines.back().flags = flags;
    }
    bool takesPath(std::string_view path) {
        const bool isAbsolute = isAbsolutePath(path, windowsPaths);
        mLines.back().kind = isAbsolute ? LineKind::element : LineKind::relativePath;
        mLines.back().path = path;
        return isAbsolute;
    }
    void replaceUnknownType(std::string_view name) { mLines.back().unknownType = name; }
    void addElement(ElementType type, std::string_view value) {
        mLines.back().type = type;
        mLines.back().value = value;
    }
    void storeKey(std::string_view key) {
        ConfigurationLine& line = mLines.back();
        (line.key.empty() ? line.key : line.secondKey) =
            key == line.path ? line.path : mKeys.emplace_back(key);
    }

    [[nodiscard]] ConfigurationSection section() const { return mSection; }

private:
    std::vector<ConfigurationLine>& mLines;
    std::deque<std::string>& mKeys;
    ConfigurationSection mSection = ConfigurationSection::none;
};

/// Records lines that the library doesn't read, all of one kind.
class UnreadRecorder : public ConfigurationObserver {
public:
    UnreadRecorder(std::vector<ConfigurationLine>& lines, ConfigurationSection section)
        : mLines(lines), mSection(section) {}

    void beginLine(std::string_view untrimmed, std::string_view line) {
        addLine(mLines, untrimmed, line, mSection).kind = kind;
    }
    void skipLine() { mLines.back().saysNothing = true; }
    static bool takesPath(std::string_view /*path*/) { return false; }

    LineKind kind = LineKind::unfinished;

private:
    std::vector<ConfigurationLine>& mLines;
    const ConfigurationSection mSection;
};

/// A reader whose results nobody wants but its observer.
template <class Observer>
class ReaderAlone {
public:
    ReaderAlone(const std::string& viewRootPrefix, Observer& observer)
        : mReader(viewRootPrefix, mConfiguration, mErrors, observer) {}

    ConfigurationReader<Observer>* operator->() { return &mReader; }

private:
    Configuration mConfiguration;
    std::ostringstream mErrors;
    ConfigurationReader<Observer> mReader;
};

}  // namespace

ConfigurationLines::ConfigurationLines(std::string text, std::string viewRootPrefix)
    : mText(std::move(text)), mViewRootPrefix(std::move(viewRootPrefix)) {
    const size_t end = mText.find(endOfText);
    if (end != std::string::npos) {
        mCtrlZ = end;
    }
    std::ostringstream complaints;
    LineRecorder recorder(mLines, mKeys);
    ConfigurationReader reader(mViewRootPrefix, mConfiguration, complaints, recorder);
    const auto unfinished = reader.readLines(std::string_view(mText).substr(0, end));
    reader.finish();
    mComplaints = complaints.str();
    addUnreadLines(unfinished, recorder.section());
    indexKeys();
}

void ConfigurationLines::addUnreadLines(std::string_view unfinished, ConfigurationSection section) {
    if (unfinished.empty() && !mCtrlZ) {
        return;
    }
    UnreadRecorder recorder(mLines, section);
    ReaderAlone reader(mViewRootPrefix, recorder);
    reader->readLine(unfinished);
    if (!mCtrlZ) {
        return;
    }
    const char* const textEnd = mText.data() + mText.size();
    std::string_view rest(unfinished.data(), static_cast<size_t>(textEnd - unfinished.data()));
    const size_t end = std::min(rest.find('\n'), rest.size());
    mLines.back().text = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    recorder.kind = LineKind::afterCtrlZ;
    rest = reader->readLines(rest);
    if (!rest.empty()) {
        reader->readLine(rest);
    }
}

void ConfigurationLines::indexKeys() {
    mDeciders.reserve(mConfiguration.elements.size());
    for (ConfigurationLine& line : mLines) {
        if (line.kind == LineKind::element) {
            line.keyBefore = setDecider(line.key, line.number);
        }
        if (!line.secondKey.empty()) {
            line.secondKeyBefore = setDecider(line.secondKey, line.number);
        }
    }
}

/// Returns the number of the line that has decided so far, or 0.
size_t ConfigurationLines::setDecider(std::string_view key, size_t number) {
    return std::exchange(mDeciders[key], number);
}

const ConfigurationLine* ConfigurationLines::deciding(std::string_view key) const {
    const auto found = mDeciders.find(key);
    return found == mDeciders.end() ? nullptr : &line(found->second);
}

std::optional<PossibleElement> ConfigurationLines::asElement(const ConfigurationLine& line) const {
    std::vector<ConfigurationLine> read;
    std::deque<std::string> keys;
    LineRecorder recorder(read, keys);
    ReaderAlone reader(mViewRootPrefix, recorder);
    reader->readLine("[attrs]");
    reader->readLine(line.trimmed);
    while (read.back().kind == LineKind::comment) {
        const std::string_view unmarked = read.back().trimmed.substr(1);
        read.clear();  // a line may consist of millions of marks
        reader->readLine(unmarked);
    }
    const ConfigurationLine& last = read.back();
    if (last.kind != LineKind::element) {
        return std::nullopt;
    }
    return PossibleElement{.path = last.path,
                           .key = std::string(last.key),
                           .secondKey = std::string(last.secondKey),
                           .type = last.type,
                           .value = last.value,
                           .unknownType = last.unknownType};
}

}  // namespace ccquery
