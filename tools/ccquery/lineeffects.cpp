#include "tools/ccquery/lineeffects.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>
#include <string_view>

namespace ccquery {
namespace {

using Section = ConfigurationSection;

/// `Line` is a ConfigurationLine or a PossibleElement.
template <class Line>
bool saysTheSame(const Line& element, const ConfigurationLine& other) {
    return element.type == other.type && element.value == other.value;
}

/// Returns the number of the last line before `line` that has one of its keys too.
size_t lineBefore(const ConfigurationLine& line, std::string_view key) {
    return line.key == key ? line.keyBefore : line.secondKeyBefore;
}

/// Whether the table would have another element for the key of `line` if the lines from `first`
/// to `line`, and others of that key between, weren't there.
bool doesDecide(const ConfigurationLines& file, const ConfigurationLine& line, std::string_view key,
                size_t first) {
    if (key.empty() || file.deciding(key) != &line) {
        return false;
    }
    size_t before = lineBefore(line, key);
    while (before >= first) {
        before = lineBefore(file.line(before), key);
    }
    return before == 0 || !saysTheSame(line, file.line(before));
}

bool hasElementEffect(const ConfigurationLines& file, const ConfigurationLine& line, size_t first) {
    return line.unknownType || doesDecide(file, line, line.key, first) ||
           doesDecide(file, line, line.secondKey, first);
}

/// The lines below a header that belong to its section, empty ones and comments left out.
std::vector<const ConfigurationLine*> linesBelow(const ConfigurationLines& file,
                                                 const ConfigurationLine& header) {
    std::vector<const ConfigurationLine*> below;
    for (size_t i = header.number; i < file.lines().size(); ++i) {
        const ConfigurationLine& line = file.lines()[i];
        if (line.kind == LineKind::header || line.kind == LineKind::unfinished) {
            break;
        }
        if (!line.saysNothing) {
            below.push_back(&line);
        }
    }
    return below;
}

/// Whether the file would change if these lines of no section were elements.
bool wouldBeElements(const ConfigurationLines& file,
                     const std::vector<const ConfigurationLine*>& lines) {
    std::set<std::string> decided;
    // Of two lines with one key the later decides, so it is seen first.
    return std::any_of(lines.rbegin(), lines.rend(), [&](const ConfigurationLine* line) {
        const auto element = file.asElement(*line);
        if (!element || element->unknownType) {
            return true;
        }
        const auto changes = [&](const std::string& key) {
            if (key.empty() || !decided.insert(key).second) {
                return false;
            }
            const ConfigurationLine* decider = file.deciding(key);
            return decider == nullptr ||
                   (decider->number < line->number && !saysTheSame(*element, *decider));
        };
        return changes(element->secondKey) || changes(element->key);
    });
}

/// `before` is the section that ends at the header.
bool hasHeaderEffect(const ConfigurationLines& file, const ConfigurationLine& header,
                     Section before) {
    if (header.section == before) {
        return false;
    }
    const auto below = linesBelow(file, header);
    // Each line of [vobs] adds a VOB or a complaint.
    if (before == Section::vobs || header.section == Section::vobs) {
        return !below.empty();
    }
    if (before == Section::attrs) {
        return wouldBeElements(file, below);
    }
    return std::any_of(below.begin(), below.end(), [&](const ConfigurationLine* line) {
        return line->kind != LineKind::element || hasElementEffect(file, *line, header.number);
    });
}

std::vector<std::string_view> relativePaths(const ConfigurationLines& file) {
    std::vector<std::string_view> paths;
    for (const ConfigurationLine& line : file.lines()) {
        if (line.kind == LineKind::relativePath) {
            paths.push_back(line.trimmed);
        }
    }
    return paths;
}

bool areEqual(const ElementTable& a, const ElementTable& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
        return x.first == y.first && x.second.type == y.second.type &&
               x.second.value == y.second.value;
    });
}

/// Whether the library would read something else without the line that has Ctrl+Z. That is no
/// question about this line alone: the lines after it would be read.
bool hasCtrlZEffect(const ConfigurationLines& file, const ConfigurationLine& line) {
    const auto begin = static_cast<size_t>(line.text.data() - file.text().data());
    std::string text = file.text();
    text.erase(begin, line.text.size() + 1);
    const ConfigurationLines without(text, file.viewRootPrefix());
    // More lines would be read, and so VOBs could only be added.
    return file.configuration().vobs.size() != without.configuration().vobs.size() ||
           !areEqual(file.configuration().elements, without.configuration().elements) ||
           file.complaints() != without.complaints() ||
           relativePaths(file) != relativePaths(without);
}

}  // namespace

std::vector<bool> lineEffects(const ConfigurationLines& file) {
    std::vector<bool> effects;
    effects.reserve(file.lines().size());
    Section section = Section::none;
    for (const ConfigurationLine& line : file.lines()) {
        switch (line.kind) {
            case LineKind::header:
                effects.push_back(hasHeaderEffect(file, line, section));
                section = line.section;
                break;
            case LineKind::element:
                effects.push_back(hasElementEffect(file, line, line.number));
                break;
            case LineKind::vob:
            case LineKind::badLine:
            case LineKind::relativePath:
                effects.push_back(true);
                break;
            case LineKind::unfinished:
                effects.push_back(file.ctrlZ() && hasCtrlZEffect(file, line));
                break;
            default:
                effects.push_back(false);
        }
    }
    return effects;
}

}  // namespace ccquery
