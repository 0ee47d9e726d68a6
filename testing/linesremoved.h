#pragma once

// The rule of the findings about a configuration, held by trial: each line is taken out, and the
// library reads the rest.

#include <algorithm>
#include <cstddef>
#include <locale>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/trim.hpp>

#include "clearcase/configuration.h"
#include "tools/ccquery/findings.h"
#include "util/pathfun.h"

namespace testing_support {

/// What a file makes a host see.
struct FileOutcome {
    std::vector<std::pair<std::string, VobState>> vobs;
    std::map<std::string, std::pair<ElementType, std::string>> elements;
    std::string complaints;
    /// The lines with relative paths. The library would stop at the first one, so it doesn't get
    /// them.
    std::vector<std::string> relative;

    friend bool operator==(const FileOutcome&, const FileOutcome&) = default;
};

/// Returns the lines with their line feeds; the last one may lack it.
inline std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(end);
    }
    return lines;
}

inline std::string withoutBlanks(std::string line) {
    boost::trim_if(line, boost::is_any_of(" \t\n\v\f\r"));
    return line;
}

inline bool isEmptyOrComment(const std::string& line) {
    const std::string trimmed = withoutBlanks(line);
    return trimmed.empty() || trimmed[0] == ';' || trimmed[0] == '#';
}

/// `file` has all bytes; those from Ctrl+Z on don't count.
inline FileOutcome outcomeOf(const std::string& file, const std::string& viewRootPrefix) {
    FileOutcome outcome;
    std::string kept;
    std::string section;
    for (const std::string& line : linesOf(std::string_view(file).substr(0, file.find('\x1a')))) {
        const std::string trimmed = withoutBlanks(line);
        if (trimmed.starts_with('[') && line.ends_with('\n')) {
            section = boost::to_lower_copy(trimmed, std::locale::classic());
        }
        const size_t equals = trimmed.find('=');
        if (section == "[attrs]" && line.ends_with('\n') && !trimmed.starts_with('[') &&
            !isEmptyOrComment(line) && equals != std::string::npos &&
            !isAbsolutePath(trimmed.substr(0, equals), windowsPaths)) {
            outcome.relative.push_back(trimmed);
        } else {
            kept += line;
        }
    }
    std::istringstream input(kept);
    std::ostringstream complaints;
    Configuration configuration;
    readConfiguration(input, viewRootPrefix, configuration, complaints);
    for (const VobRecord& vob : configuration.vobs) {
        outcome.vobs.emplace_back(vob.tag, vob.state);
    }
    for (const auto& [key, element] : configuration.elements) {
        outcome.elements[key] = {element.type, element.value};
    }
    outcome.complaints = complaints.str();
    return outcome;
}

/// Returns the first violation of this rule, or an empty text: a finding says that a line is
/// without effect exactly if taking it out changes nothing. Empty lines and comments are left out,
/// unless they have the Ctrl+Z that ends the file.
inline std::string wrongFinding(const std::string& file, const std::string& viewRootPrefix) {
    const ccquery::ConfigurationLines lines(file, viewRootPrefix);
    const std::vector<std::string> texts = linesOf(file);
    std::vector<bool> reported(texts.size() + 1);
    for (const ccquery::Finding& finding : ccquery::findings(lines)) {
        for (size_t i = finding.line; finding.isWithoutEffect && i <= finding.lastLine; ++i) {
            reported.at(i) = true;
        }
    }
    const FileOutcome before = outcomeOf(file, viewRootPrefix);
    size_t begin = 0;
    for (size_t i = 0; i < texts.size(); ++i) {
        const size_t end = begin + texts[i].size();
        const size_t ctrlZ = file.find('\x1a');
        const bool hasCtrlZ = begin <= ctrlZ && ctrlZ < end;
        const std::string rest = file.substr(0, begin) + file.substr(end);
        begin = end;
        if (isEmptyOrComment(texts[i]) && !hasCtrlZ) {
            continue;
        }
        const bool isWithoutEffect = outcomeOf(rest, viewRootPrefix) == before;
        if (reported[i + 1] != isWithoutEffect) {
            return std::string(isWithoutEffect ? "no" : "an")
                .append(" effect has line ")
                .append(std::to_string(i + 1))
                .append(" with the prefix '")
                .append(viewRootPrefix)
                .append("' of\n")
                .append(file);
        }
    }
    return {};
}

}  // namespace testing_support
