#include "tools/ccquery/journals/askagain.h"

#include <cstddef>
#include <exception>
#include <map>
#include <typeinfo>
#include <utility>

#include <boost/core/demangle.hpp>

#include "tools/ccquery/ask.h"
#include "tools/ccquery/journals/journalfields.h"
#include "util/assertion.h"

namespace ccquery {
namespace {

std::string* pointerTo(JournalText& text) { return text ? &*text : nullptr; }

/// Asks, and stores the result.
void ask(ClearCaseConnection& connection, const JournalFields& arguments, Operation operation,
         JournalFields& result) {
    switch (operation) {
        case Operation::getOutput:
            result.text = connection.getOutput();
            break;
        case Operation::getError:
            result.text = connection.getError();
            break;
        case Operation::clearMessages:
            connection.clearMessages();
            break;
        case Operation::getElementStatus:
            result.version = arguments.version;
            result.target = arguments.target;
            result.type = connection.getElementStatus(
                arguments.path->c_str(), pointerTo(result.version), pointerTo(result.target));
            break;
        case Operation::canonicalizeViewPath:
            result.text =
                connection.canonicalizeViewPath(*arguments.cwd, *arguments.path, arguments.vobTags);
            break;
        case Operation::getViewTag:
            result.text = connection.getViewTag();
            break;
        case Operation::probeVobs:
            result.results = arguments.results;
            connection.probeVobs(*arguments.root, result.results);
            break;
        case Operation::getProductInfo:
            result.info = arguments.info;
            connection.getProductInfo(/*unused=*/nullptr, result.info);
            break;
        case Operation::getMvfsDrives:
            result.drives = arguments.drives;
            result.text = connection.getMvfsDrives(result.drives);
            break;
        case Operation::startSession:
            connection.startSession();
            break;
        case Operation::isReady:
            result.ready = connection.isReady();
            break;
        case Operation::killConnection:
            connection.killConnection();
            break;
        default:
            NB_ASSERT_AS(false, "a line that isn't a question");
    }
}

/// The parts of an answer, by their names, each with the field that it is of.
class AnswerParts {
public:
    explicit AnswerParts(const JournalLine& line) {
        if (line.failed) {
            add("exception", "exception",
                line.result.exceptionType.value_or("no std::exception") + ": " +
                    line.result.what.value_or(""));
            return;
        }
        const FieldSet set = requiredFields(line.operation, LinePart::result);
        for (size_t i = 0; i < fieldCount; ++i) {
            if ((set & setOf(static_cast<Field>(i))) != 0) {
                addField(static_cast<Field>(i), line.result);
            }
        }
    }

    struct Part {
        std::string field;
        std::string name;
        std::string value;
    };
    const std::vector<Part>& parts() const { return mParts; }

private:
    void add(const std::string& field, const std::string& name, std::string value) {
        mParts.push_back({field, name, std::move(value)});
    }

    void addField(Field field, const JournalFields& result) {
        const FieldInfo& info = infoOf(field);
        const std::string name(info.name);
        switch (info.kind) {
            case FieldKind::number: {
                const std::string number = std::to_string(result.type);
                const auto type = elementTypeName(result.type);
                add(name, name, type ? *type + " (" + number + ")" : number);
                break;
            }
            case FieldKind::flag:
                add(name, name, result.ready ? "true" : "false");
                break;
            case FieldKind::records:
                for (size_t i = 0; i < result.results.size(); ++i) {
                    const VobRecord& vob = result.results[i];
                    const auto state = vobStateName(vob.state);
                    add(name, name + ' ' + std::to_string(i + 1),
                        vob.tag + " (" + (state ? *state : std::to_string(vob.state)) + ")");
                }
                break;
            case FieldKind::pairs:
                for (const auto& [key, value] : result.*info.map) {
                    std::string part = name;
                    add(name, part.append(" '").append(key).append("'"), value);
                }
                break;
            default:
                if (const JournalText& text = result.*info.text) {
                    add(name, name, *text);
                }
        }
    }

    std::vector<Part> mParts;
};

}  // namespace

JournalLine askAgain(ClearCaseConnection& connection, const JournalLine& question) {
    JournalLine line{.operation = question.operation,
                     .process = question.process,
                     .connection = question.connection,
                     .arguments = question.arguments};
    try {
        ask(connection, question.arguments, question.operation, line.result);
    } catch (const std::exception& exception) {
        line.failed = true;
        line.result.clear();
        line.result.exceptionType = boost::core::demangle(typeid(exception).name());
        line.result.what = exception.what();
    } catch (...) {
        line.failed = true;
        line.result.clear();
    }
    return line;
}

std::vector<AnswerDifference> differences(const JournalLine& recorded,
                                          const JournalLine& answered) {
    const AnswerParts before(recorded);
    const AnswerParts after(answered);
    std::map<std::string, const AnswerParts::Part*> byName;
    for (const auto& part : after.parts()) {
        byName[part.name] = &part;
    }
    std::vector<AnswerDifference> found;
    for (const auto& part : before.parts()) {
        const auto other = byName.find(part.name);
        if (other == byName.end()) {
            found.push_back({.field = part.field, .name = part.name, .recorded = part.value});
            continue;
        }
        if (other->second->value != part.value) {
            found.push_back({.field = part.field,
                             .name = part.name,
                             .recorded = part.value,
                             .answered = other->second->value});
        }
        byName.erase(other);
    }
    for (const auto& part : after.parts()) {
        if (byName.count(part.name) != 0) {
            found.push_back({.field = part.field, .name = part.name, .answered = part.value});
        }
    }
    return found;
}

std::string questionText(const JournalLine& line) {
    std::string text(operationName(line.operation));
    const JournalFields& arguments = line.arguments;
    if (line.operation == Operation::getElementStatus) {
        text += arguments.path ? " '" + *arguments.path + "'" : " of a null pointer";
    } else if (line.operation == Operation::probeVobs) {
        text += " '" + *arguments.root + "'";
    } else if (line.operation == Operation::canonicalizeViewPath) {
        return viewPathQuestionText(*arguments.path, *arguments.cwd, arguments.vobTags);
    }
    return text;
}

std::string missingText(const JournalLine& line) {
    return std::to_string(line.result.lines) + " lines before this one are missing (" +
           line.result.error.value_or("") + ")";
}

std::string viewPathQuestionText(const std::string& path, const std::string& cwd,
                                 const std::vector<std::string>& vobTags) {
    std::string text = "canonicalizeViewPath '" + path + "' in '" + cwd + "'";
    for (const std::string& tag : vobTags) {
        text += ", tag '" + tag + "'";
    }
    return text;
}

}  // namespace ccquery
