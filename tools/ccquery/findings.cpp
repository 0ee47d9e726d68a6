#include "tools/ccquery/findings.h"

#include <algorithm>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "tools/ccquery/elementfindings.h"
#include "tools/ccquery/lineeffects.h"
#include "tools/ccquery/nearestname.h"
#include "tools/shared/characters.h"

namespace ccquery {
namespace {

using Section = ConfigurationSection;
using tools::characterCount;

std::string nameOf(Section section) { return section == Section::vobs ? "[vobs]" : "[attrs]"; }

bool isUtf16(std::string_view text) {
    return text.starts_with("\xff\xfe") || text.starts_with("\xfe\xff");
}

/// Returns the text about a byte order mark in front of the file, or nothing.
std::string markProblem(std::string_view text) {
    if (text.starts_with("\xef\xbb\xbf")) {
        return "a byte order mark is in front, and so this line isn't read; save the file as UTF-8 "
               "without it";
    }
    if (isUtf16(text)) {
        return "the file is UTF-16, and so it isn't read; save it as UTF-8 without a byte order "
               "mark";
    }
    return {};
}

void addUnknownSection(const ConfigurationLine& line, FindingList& list) {
    const std::string_view inside = line.trimmed.substr(1, line.trimmed.find(']') - 1);
    const auto meant = nearestName(inside, {"vobs", "attrs"});
    list.add(line, line.trimmed, "unknown-section",
             "there is no section '" + std::string(line.trimmed) +
                 "', and the lines below it aren't read; write " +
                 (meant ? "[" + *meant + "]" : "[vobs] or [attrs]"));
}

/// `before` is the section that ends at the header, and `isEmpty` whether no line is below it.
void checkHeader(const ConfigurationLine& line, Section before, bool isEmpty, FindingList& list) {
    if (line.section == Section::none) {
        addUnknownSection(line, list);
    } else if (list.hasEffect(line)) {
        return;
    } else if (line.section == before) {
        list.add(line, line.trimmed, "header-without-effect",
                 "the lines below are in " + nameOf(before) + " anyway; take the header out");
    } else {
        list.add(line, line.trimmed, "header-without-effect",
                 isEmpty ? "no line follows in this section; take the header out"
                         : "no line of this section has an effect; take them out");
    }
}

void addOutside(const ConfigurationLine& line, size_t header, FindingList& list) {
    list.add(line, line.trimmed, "outside-section",
             (header == 0
                  ? "no section begins above this line"
                  : "the section that begins in line " + std::to_string(header) + " isn't read") +
                 std::string("; put the line below [vobs] or [attrs]"));
}

void checkVob(const ConfigurationLine& line, FindingList& list) {
    static_cast<void>(hasFlag(line.flags, [&](std::string_view flag) {
        if (!flag.empty() && !isReadOnlyFlag(flag)) {
            list.add(line, flag, "unknown-flag",
                     "the flag '" + std::string(flag) + "' means nothing; " +
                         (nearestName(flag, {"ro"}) ? "write ro" : "the only flag is ro"));
        }
        return false;
    }));
    addBlankBeforeEquals(line, line.tag, "VOB tag", list);
}

void addBadLine(const ConfigurationLine& line, FindingList& list) {
    list.add(line, line.trimmed, "no-equals",
             "there is no '=' in this line; write " +
                 std::string(line.section == Section::vobs ? "TAG=FLAGS"
                                                           : "PATH=TEXT or PATH=TEXT*TYPE"));
}

/// `line` is the last one that the library sees something of.
void checkUnfinished(const ConfigurationLines& file, const ConfigurationLine& line,
                     FindingList& list) {
    if (const auto ctrlZ = file.ctrlZ()) {
        list.add(line, std::string_view(file.text()).substr(*ctrlZ), "ctrl-z",
                 line.saysNothing ? "Ctrl+Z ends the file here; take it out"
                                  : "Ctrl+Z ends the file here, and so this line isn't read; take "
                                    "the Ctrl+Z out");
    } else if (!line.saysNothing) {
        list.add(line, line.trimmed, "unfinished-line",
                 "the last line doesn't end in a line feed, and so it isn't read; add one");
    }
}

void checkAfterCtrlZ(const ConfigurationLines& file, FindingList& list) {
    const auto isRead = [](const ConfigurationLine& line) {
        return line.kind != LineKind::afterCtrlZ || line.saysNothing;
    };
    const auto& lines = file.lines();
    const auto first = std::find_if_not(lines.begin(), lines.end(), isRead);
    if (first == lines.end()) {
        return;
    }
    const auto last = std::find_if_not(lines.rbegin(), lines.rend(), isRead);
    const auto isUnfinished = [](const ConfigurationLine& line) {
        return line.kind == LineKind::unfinished;
    };
    const auto ctrlZ = std::find_if(lines.begin(), first, isUnfinished);
    list.add(*first, first->trimmed, "after-ctrl-z",
             "nothing after the Ctrl+Z in line " + std::to_string(ctrlZ->number) +
                 " is read; take that out")
        .lastLine = last->number;
}

/// Adds the findings about everything but elements.
class LineChecks {
public:
    LineChecks(const ConfigurationLines& file, FindingList& list) : mFile(file), mList(list) {}

    void run() {
        const std::string mark = markProblem(mFile.text());
        if (isUtf16(mFile.text()) && mList.noneHasEffect()) {
            // One thing is wrong, and the lines aren't those that an editor shows.
            const ConfigurationLine& first = mFile.lines().front();
            mList.add(first, first.text, "byte-order-mark", mark).lastLine = mFile.lines().size();
            return;
        }
        for (const ConfigurationLine& line : mFile.lines()) {
            if (line.number == 1 && !mark.empty()) {
                mList.add(line, line.text, "byte-order-mark", mark);
            }
            if (line.number != 1 || mark.empty() || line.kind != LineKind::outside) {
                check(line);
            }
        }
        checkAfterCtrlZ(mFile, mList);
    }

private:
    void check(const ConfigurationLine& line) {
        switch (line.kind) {
            case LineKind::header:
                checkHeader(line, mSection, isEmptyBelow(line), mList);
                mSection = line.section;
                mHeader = line.number;
                break;
            case LineKind::outside:
                addOutside(line, mHeader, mList);
                break;
            case LineKind::vob:
                checkVob(line, mList);
                checkTag(line);
                break;
            case LineKind::badLine:
                addBadLine(line, mList);
                break;
            case LineKind::unfinished:
                checkUnfinished(mFile, line, mList);
                break;
            default:
                break;
        }
    }

    /// Whether there is nothing between the header and the next one, or the end.
    [[nodiscard]] bool isEmptyBelow(const ConfigurationLine& header) const {
        const auto begin = mFile.lines().begin() + static_cast<std::ptrdiff_t>(header.number);
        const auto next =
            std::find_if(begin, mFile.lines().end(),
                         [](const ConfigurationLine& line) { return !line.saysNothing; });
        return next == mFile.lines().end() || next->kind == LineKind::header ||
               next->kind == LineKind::unfinished || next->kind == LineKind::afterCtrlZ;
    }

    void checkTag(const ConfigurationLine& line) {
        const auto [known, isNew] = mTags.try_emplace(line.tag, line.number);
        if (!isNew) {
            mList.add(line, line.tag, "repeated-vob",
                      "line " + std::to_string(known->second) + " has the VOB '" +
                          std::string(line.tag) + "' too; take one of the two lines out");
        }
    }

    const ConfigurationLines& mFile;
    FindingList& mList;
    Section mSection = Section::none;
    size_t mHeader = 0;                                  ///< the number of the last header, or 0
    std::unordered_map<std::string_view, size_t> mTags;  ///< with the number of the first line
};

}  // namespace

FindingList::FindingList(const ConfigurationLines& file) : mEffects(lineEffects(file)) {}

bool FindingList::noneHasEffect() const {
    return std::find(mEffects.begin(), mEffects.end(), true) == mEffects.end();
}

Finding& FindingList::add(const ConfigurationLine& line, std::string_view at, const char* name,
                          std::string text) {
    const auto offset = static_cast<size_t>(at.data() - line.text.data());
    return mFindings.emplace_back(Finding{.line = line.number,
                                          .lastLine = line.number,
                                          .column = characterCount(line.text.substr(0, offset)) + 1,
                                          .isError = false,
                                          .isWithoutEffect = !hasEffect(line),
                                          .name = name,
                                          .text = std::move(text)});
}

std::vector<Finding> FindingList::take() {
    std::stable_sort(mFindings.begin(), mFindings.end(), [](const Finding& a, const Finding& b) {
        return std::tie(a.line, a.column) < std::tie(b.line, b.column);
    });
    return std::move(mFindings);
}

std::vector<Finding> findings(const ConfigurationLines& file) {
    FindingList list(file);
    LineChecks(file, list).run();
    addElementFindings(file, list);
    return list.take();
}

}  // namespace ccquery
