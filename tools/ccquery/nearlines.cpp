#include "tools/ccquery/nearlines.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <iterator>
#include <optional>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>

#include <boost/locale/utf.hpp>

#include "clearcase/configuration.h"
#include "tools/ccquery/configurationlines.h"
#include "tools/ccquery/letterdistance.h"
#include "util/pathcollation.h"
#include "util/pathfun.h"
#include "util/pathroot.h"
#include "util/utf8decoder.h"

namespace ccquery {
namespace {

constexpr size_t mostLines = 3;
constexpr char separator = '\\';  // of keys

/// The text with one letter for both cases of each. Texts that differ in nothing else are those
/// that `comparePaths` takes for equal.
std::string folded(std::string_view text) {
    std::string result;
    const char* begin = text.data();
    for (PathUnitCursor cursor(text); !cursor.atEnd(); cursor.next()) {
        const char* const end = cursor.position + 1;
        const uint16_t otherCase = pathCaseSwapTable[cursor.unit];
        if (otherCase > cursor.unit) {
            boost::locale::utf::utf_traits<char>::encode(otherCase, std::back_inserter(result));
        } else {
            result.append(begin, end);  // nothing at the second unit of a character
        }
        begin = end;
    }
    return result;
}

/// A key in normal form, with parts of the same without its case.
struct FoldedKey {
    explicit FoldedKey(std::string text) : key(std::move(text)), ignoringCase(folded(key)) {
        const size_t last = ignoringCase.rfind(separator);
        nameBegin = last == std::string::npos ? 0 : last + 1;
    }

    std::string_view folder() const { return std::string_view(ignoringCase).substr(0, nameBegin); }
    std::string_view name() const { return std::string_view(ignoringCase).substr(nameBegin); }
    /// What is after a drive; nothing if the path isn't on a drive.
    std::optional<std::string_view> belowDrive() const {
        return beginsWithDrive(ignoringCase)
                   ? std::optional(std::string_view(ignoringCase).substr(driveLength))
                   : std::nullopt;
    }

    std::string key;
    std::string ignoringCase;
    size_t nameBegin = 0;
};

/// A path that a line has, or would have if it were read.
struct Entry {
    const ConfigurationLine* line;
    FoldedKey path;
    /// The second key of the line where the path is its normal form, and differs from it.
    std::string unfound;
};

/// A name of a folder.
struct NameEntry {
    LetterSet letters;
    const Entry* entry;
};

/// A line that is near, for one reason.
struct Candidate {
    const Entry* entry;
    NearReason reason;
    size_t count;  ///< of letters that differ, or of names that are equal

    bool isNearerThan(const Candidate& other) const { return rank() < other.rank(); }

private:
    std::tuple<NearReason, bool, std::ptrdiff_t, std::ptrdiff_t> rank() const {
        const auto difference = static_cast<std::ptrdiff_t>(count);
        return {reason, entry->line->kind != LineKind::element,
                reason == NearReason::similarName ? difference : -difference,
                -static_cast<std::ptrdiff_t>(entry->line->number)};
    }
};

/// Keeps the nearest lines, each once, the nearest first.
class Nearest {
public:
    void add(const Candidate& added) {
        if (mCandidates.size() == mostLines && !added.isNearerThan(mCandidates.back())) {
            return;
        }
        const auto same = std::find_if(mCandidates.begin(), mCandidates.end(), [&](const auto& c) {
            return c.entry->line == added.entry->line;
        });
        if (same != mCandidates.end()) {
            if (!added.isNearerThan(*same)) {
                return;
            }
            mCandidates.erase(same);
        }
        const auto place = std::find_if(mCandidates.begin(), mCandidates.end(),
                                        [&](const auto& c) { return added.isNearerThan(c); });
        mCandidates.insert(place, added);
        mCandidates.resize(std::min(mCandidates.size(), mostLines), added);
    }

    const std::vector<Candidate>& candidates() const { return mCandidates; }

private:
    std::vector<Candidate> mCandidates;
};

/// Returns how many whole names at the end of two folded keys are equal. The keys differ.
size_t equalLastNames(std::string_view a, std::string_view b) {
    const auto difference = std::mismatch(a.rbegin(), a.rend(), b.rbegin(), b.rend()).first;
    return static_cast<size_t>(std::count(a.rbegin(), difference, separator));
}

/// Compares with a path that has the same last name.
Candidate compareFolders(const Entry& entry, const FoldedKey& asked) {
    if (entry.path.ignoringCase == asked.ignoringCase) {
        const bool isExact = entry.path.key == asked.key;
        const NearReason reason = !isExact                ? NearReason::otherCase
                                  : entry.unfound.empty() ? NearReason::notRead
                                                          : NearReason::otherSpelling;
        return {&entry, reason, 0};
    }
    const auto below = asked.belowDrive();
    if (below && entry.path.belowDrive() == below) {
        return {&entry, NearReason::otherDrive, 0};
    }
    return {&entry, NearReason::otherFolder,
            equalLastNames(entry.path.ignoringCase, asked.ignoringCase)};
}

/// Appends one of several reasons.
void addReason(std::string& reasons, const std::string& reason) {
    reasons += (reasons.empty() || reason.empty() ? "" : "; ") + reason;
}

/// Why the file ends in the line or before it; empty if it doesn't.
std::string whyNotReached(LineKind kind, bool hasCtrlZ) {
    switch (kind) {
        case LineKind::unfinished:
            return hasCtrlZ ? "a Ctrl+Z in it ends the file" : "it has no line feed at its end";
        case LineKind::afterCtrlZ:
            return "it is after a Ctrl+Z, which ends the file";
        default:
            return "";
    }
}

/// Everything that keeps the library from reading a line; empty if it reads it.
std::string whyNotRead(const ConfigurationLine& line, bool hasCtrlZ) {
    std::string reasons;
    addReason(reasons, line.saysNothing ? "it is a comment" : "");
    if (line.section == ConfigurationSection::vobs) {
        addReason(reasons, "it is in [vobs]");
    } else if (line.section != ConfigurationSection::attrs) {
        addReason(reasons, "it is outside [vobs] and [attrs]");
    }
    addReason(reasons, whyNotReached(line.kind, hasCtrlZ));
    return reasons;
}

std::string counted(size_t count, const std::string& one) {
    return count == 1 ? "one " + one : std::to_string(count) + " " + one + "s";
}

/// How the path of a line differs; empty if it doesn't.
std::string howItDiffers(const Candidate& candidate) {
    const Entry& entry = *candidate.entry;
    switch (candidate.reason) {
        case NearReason::notRead:
            return "";
        case NearReason::otherCase:
            return "differs in case";
        case NearReason::otherSpelling:
            return "below CLEARCASE_ROOT it is spelled '" + entry.unfound +
                   "', which isn't in normal form with backslashes";
        case NearReason::otherDrive:
            return "is on drive " + entry.path.key.substr(0, driveLength);
        case NearReason::similarName:
            return "the name differs in " + counted(candidate.count, "letter");
        default:
            return candidate.count == 1
                       ? "has the last name in another folder"
                       : "has the last " + counted(candidate.count, "name") + " in another folder";
    }
}

std::string whyNot(const Candidate& candidate, bool hasCtrlZ) {
    std::string reasons = howItDiffers(candidate);
    addReason(reasons, whyNotRead(*candidate.entry->line, hasCtrlZ));
    return reasons;
}

/// Returns how many letters a similar name may differ in.
size_t mostLetters(std::string_view name) {
    constexpr size_t shortName = 4;
    return std::min<size_t>(name.size() <= shortName ? 1 : 2, name.empty() ? 0 : name.size() - 1);
}

}  // namespace

/// The entries of all lines, by their last name and by their folder.
class NearLines::Index {
public:
    explicit Index(const ConfigurationLines& lines) : mLines(lines) {
        for (const ConfigurationLine& line : lines.lines()) {
            if (line.kind == LineKind::element) {
                add(line, line.key, line.secondKey);
            } else if (const auto element = lines.asElement(line)) {
                add(line, element->key, element->secondKey);
            }
        }
    }

    std::vector<NearLine> of(StringSpan path) const {
        const FoldedKey asked(elementKey(path));
        std::vector<NearLine> result;
        if (mLines.deciding(asked.key) != nullptr) {
            return result;
        }
        Nearest nearest;
        addSameNames(asked, nearest);
        addSimilarNames(asked, nearest);
        for (const Candidate& candidate : nearest.candidates()) {
            result.push_back({.line = candidate.entry->line,
                              .reason = candidate.reason,
                              .why = whyNot(candidate, mLines.ctrlZ().has_value())});
        }
        return result;
    }

private:
    template <class Element>
    using Groups = std::unordered_map<std::string_view, std::vector<Element>>;

    void add(const ConfigurationLine& line, std::string_view key, std::string_view secondKey) {
        addEntry({&line, FoldedKey(std::string(key)), ""});
        // A second key that isn't absolute is never found, and is near to nothing.
        if (!secondKey.empty() && isAbsolutePath(secondKey, windowsPaths)) {
            FoldedKey normal(elementKey(secondKey));
            std::string unfound = normal.key == secondKey ? "" : std::string(secondKey);
            addEntry({&line, std::move(normal), std::move(unfound)});
        }
    }

    void addEntry(Entry added) {
        const Entry& entry = mEntries.emplace_back(std::move(added));
        mByName[entry.path.name()].push_back(&entry);
        mByFolder[entry.path.folder()].push_back({LetterSet(entry.path.name()), &entry});
    }

    void addSameNames(const FoldedKey& asked, Nearest& nearest) const {
        const auto group = mByName.find(asked.name());
        if (group == mByName.end()) {
            return;
        }
        for (const Entry* const entry : group->second) {
            const Candidate candidate = compareFolders(*entry, asked);
            if (candidate.reason != NearReason::otherFolder || !asked.name().empty()) {
                nearest.add(candidate);
            }
        }
    }

    void addSimilarNames(const FoldedKey& asked, Nearest& nearest) const {
        const auto group = mByFolder.find(asked.folder());
        if (group == mByFolder.end()) {
            return;
        }
        const size_t most = mostLetters(asked.name());
        const LetterSet askedLetters(asked.name());
        for (const auto& [entryLetters, entry] : group->second) {
            if (!entryLetters.mayBeWithin(askedLetters, most)) {
                continue;
            }
            const size_t letters = letterDistance(entry->path.name(), asked.name(), most);
            if (letters != 0 && letters <= most) {
                nearest.add({entry, NearReason::similarName, letters});
            }
        }
    }

    const ConfigurationLines& mLines;
    std::deque<Entry> mEntries;  ///< the groups have views of their texts
    Groups<const Entry*> mByName;
    Groups<NameEntry> mByFolder;
};

NearLines::NearLines(const ConfigurationLines& lines) : mIndex(std::make_unique<Index>(lines)) {}

NearLines::~NearLines() = default;

std::vector<NearLine> NearLines::of(StringSpan path) const { return mIndex->of(path); }

}  // namespace ccquery
