#include "tools/ccquery/journals/lineparser.h"

#include <cstddef>
#include <utility>

#include <nlohmann/json.hpp>

namespace ccquery {
namespace {

const std::string formatVersion = "1";

/// The name of a field in a message.
std::string fieldText(LinePart part, Field field) {
    return "'" + std::string(partName(part)) + "." + std::string(infoOf(field).name) + "'";
}

/// Returns a field that is in the set, which isn't empty.
Field firstOf(FieldSet set) {
    size_t number = 0;
    while ((set & FieldSet{1} << number) == 0) {
        ++number;
    }
    return static_cast<Field>(number);
}

/// Whether the operation is a call, which may have thrown an exception. The journal's own lines
/// have a result.
bool isCall(Operation operation) {
    return operation != Operation::connect && operation != Operation::disconnect &&
           operation != Operation::lost;
}

/// Whether a call can't have had this path: that of a status is a null pointer or a C string, and
/// that of a view path is a string.
bool isOddPath(const JournalLine& line) {
    const JournalText& path = line.arguments.path;
    switch (line.operation) {
        case Operation::getElementStatus:
            return path && path->find('\0') != std::string::npos;
        case Operation::canonicalizeViewPath:
            return !path;
        default:
            return false;
    }
}

}  // namespace

LineProblem LineParser::fail(LineProblem kind, std::string problem) {
    mProblem = std::move(problem);
    return kind;
}

LineProblem LineParser::parse(std::string_view text) {
    mHandler.begin();
    // nlohmann's parser ends a text at a null character.
    const bool isJson = text.find('\0') == std::string_view::npos &&
                        nlohmann::json::sax_parse(text.begin(), text.end(), &mHandler);
    if (!isJson || !mHandler.parsed().isObject) {
        return fail(LineProblem::notJson, "no JSON object");
    }
    return check();
}

LineProblem LineParser::check() {
    ParsedLine& parsed = mHandler.parsed();
    const std::pair<LineKey, const char*> keys[] = {{LineKey::version, "version"},
                                                    {LineKey::operation, "operation"},
                                                    {LineKey::process, "process"},
                                                    {LineKey::connection, "connection"}};
    for (const auto& [key, name] : keys) {
        if ((parsed.foundKeys & 1U << static_cast<unsigned>(key)) == 0) {
            return fail(LineProblem::field,
                        "'" + std::string(name) + "' is missing or has a wrong type");
        }
        if (key == LineKey::version && parsed.version != formatVersion) {
            return fail(LineProblem::otherVersion, "version " + parsed.version);
        }
    }
    const auto operation = operationNamed(parsed.operation);
    if (!operation) {
        return fail(LineProblem::operation, "unknown operation '" + parsed.operation + "'");
    }
    parsed.line.operation = *operation;
    parsed.line.failed =
        isCall(*operation) && parsed.hasPart[static_cast<size_t>(LinePart::exception)];
    const LineProblem problem = checkPart(LinePart::arguments);
    if (problem != LineProblem::none) {
        return problem;
    }
    if (isOddPath(parsed.line)) {
        return fail(LineProblem::field, parsed.operation + " has a wrong " +
                                            fieldText(LinePart::arguments, Field::path));
    }
    return checkPart(parsed.line.failed ? LinePart::exception : LinePart::result);
}

LineProblem LineParser::checkPart(LinePart part) {
    const ParsedLine& parsed = mHandler.parsed();
    const auto at = static_cast<size_t>(part);
    if (!parsed.hasPart[at]) {
        return fail(LineProblem::field,
                    parsed.operation + " lacks '" + std::string(partName(part)) + "'");
    }
    const FieldSet required = requiredFields(parsed.line.operation, part);
    if ((required & parsed.wrong[at]) != 0) {
        return fail(LineProblem::field, parsed.operation + " has a wrong " +
                                            fieldText(part, firstOf(required & parsed.wrong[at])));
    }
    if ((required & ~parsed.found[at]) != 0) {
        return fail(LineProblem::field, parsed.operation + " lacks " +
                                            fieldText(part, firstOf(required & ~parsed.found[at])));
    }
    return LineProblem::none;
}

}  // namespace ccquery
