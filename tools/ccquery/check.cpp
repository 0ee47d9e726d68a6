#include "tools/ccquery/check.h"

#include "tools/ccquery/findings.h"
#include "tools/shared/report.h"

namespace ccquery {

using tools::Colour;
using tools::jsonLine;
using tools::oneLine;
using tools::Painter;

namespace {

std::string severityOf(const Finding& finding) { return finding.isError ? "error" : "warning"; }

std::string textLine(const std::string& file, const Finding& finding, const Painter& painter) {
    const std::string place = oneLine(file) + ":" + std::to_string(finding.line) + ":" +
                              std::to_string(finding.column) + ":";
    const Colour colour = finding.isError ? Colour::error : Colour::warning;
    return painter.paint(Colour::place, place) + " " +
           painter.paint(colour, severityOf(finding) + ":") + " " + oneLine(finding.text) + " [" +
           finding.name + "]\n";
}

Json record(const std::string& file, const Finding& finding) {
    return {{"file", file},
            {"line", finding.line},
            {"lastLine", finding.lastLine},
            {"column", finding.column},
            {"severity", severityOf(finding)},
            {"name", finding.name},
            {"text", finding.text},
            {"withoutEffect", finding.isWithoutEffect}};
}

}  // namespace

CheckResult check(const std::string& file, const std::string& text,
                  const std::string& viewRootPrefix, bool json, const Painter& painter) {
    CheckResult result;
    for (const Finding& finding : findings(ConfigurationLines(text, viewRootPrefix))) {
        result.output += json ? jsonLine(record(file, finding)) : textLine(file, finding, painter);
        result.exitCode = exitComplaints;
    }
    return result;
}

}  // namespace ccquery
