#include "testing/jsonschema.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <regex>
#include <sstream>
#include <stdexcept>

/// Of docs/journal.schema.json; CMake makes the source.
extern const char* const journalSchemaText;

namespace testing_support {
namespace {

using Json = nlohmann::json;

/// Checks values by one schema.
class SchemaCheck {
public:
    explicit SchemaCheck(const Json& root) : mRoot(root) {}

    void check(const Json& schema, const Json& value, const std::string& place) {
        for (const auto& [keyword, rule] : schema.items()) {
            if (keyword == "$schema" || keyword == "title" || keyword == "$defs") {
                continue;
            }
            const auto found = keywords.find(keyword);
            if (found == keywords.end()) {
                throw std::logic_error("the schema has the unknown keyword " + keyword);
            }
            if (!(this->*found->second)(rule, value, place, schema)) {
                mComplaints.append(place).append(": ").append(keyword).append(" ");
                mComplaints.append(rule.dump()).append("\n");
            }
        }
    }

    const std::string& complaints() const { return mComplaints; }

private:
    using Keyword = bool (SchemaCheck::*)(const Json& rule, const Json& value,
                                          const std::string& place, const Json& schema);

    bool reference(const Json& rule, const Json& value, const std::string& place, const Json&) {
        check(mRoot.at(Json::json_pointer(rule.get<std::string>().substr(1))), value, place);
        return true;
    }
    bool type(const Json& rule, const Json& value, const std::string&, const Json&) {
        return rule == value.type_name() || (rule == "integer" && value.is_number_integer());
    }
    bool constant(const Json& rule, const Json& value, const std::string&, const Json&) {
        return rule == value;
    }
    bool oneOfConstants(const Json& rule, const Json& value, const std::string&, const Json&) {
        return std::find(rule.begin(), rule.end(), value) != rule.end();
    }
    bool pattern(const Json& rule, const Json& value, const std::string&, const Json&) {
        // Compiling a pattern takes longer than all other checks of a line.
        static std::map<std::string, std::regex> patterns;
        const auto& text = rule.get_ref<const std::string&>();
        const std::regex& compiled = patterns.try_emplace(text, text).first->second;
        return !value.is_string() ||
               std::regex_search(value.get_ref<const std::string&>(), compiled);
    }
    bool minimum(const Json& rule, const Json& value, const std::string&, const Json&) {
        return !value.is_number() || value >= rule;
    }
    bool required(const Json& rule, const Json& value, const std::string&, const Json&) {
        return !value.is_object() || std::all_of(rule.begin(), rule.end(), [&](const Json& name) {
            return value.contains(name.get<std::string>());
        });
    }
    bool properties(const Json& rule, const Json& value, const std::string& place, const Json&) {
        for (const auto& [name, property] : rule.items()) {
            if (value.is_object() && value.contains(name)) {
                check(property, value[name], std::string(place).append("/").append(name));
            }
        }
        return true;
    }
    bool additionalProperties(const Json& rule, const Json& value, const std::string&,
                              const Json& schema) {
        if (rule != false) {
            throw std::logic_error("the schema has additionalProperties that aren't false");
        }
        const auto& items = value.items();
        return !value.is_object() || std::all_of(items.begin(), items.end(), [&](const auto& item) {
            return schema.at("properties").contains(item.key());
        });
    }
    bool items(const Json& rule, const Json& value, const std::string& place, const Json&) {
        for (size_t i = 0; value.is_array() && i != value.size(); ++i) {
            check(rule, value[i], place + "/" + std::to_string(i));
        }
        return true;
    }
    bool minItems(const Json& rule, const Json& value, const std::string&, const Json&) {
        return !value.is_array() || value.size() >= rule;
    }
    bool maxItems(const Json& rule, const Json& value, const std::string&, const Json&) {
        return !value.is_array() || value.size() <= rule;
    }
    bool anyOf(const Json& rule, const Json& value, const std::string&, const Json&) {
        return matches(rule, value) >= 1;
    }
    bool oneOf(const Json& rule, const Json& value, const std::string&, const Json&) {
        return matches(rule, value) == 1;
    }

    /// Returns how many of the schemas the value matches.
    std::ptrdiff_t matches(const Json& schemas, const Json& value) const {
        return std::count_if(schemas.begin(), schemas.end(), [&](const Json& schema) {
            SchemaCheck alternative(mRoot);
            alternative.check(schema, value, "");
            return alternative.complaints().empty();
        });
    }

    static const std::map<std::string, Keyword> keywords;

    const Json& mRoot;
    std::string mComplaints;
};

const std::map<std::string, SchemaCheck::Keyword> SchemaCheck::keywords = {
    {"$ref", &SchemaCheck::reference},
    {"type", &SchemaCheck::type},
    {"const", &SchemaCheck::constant},
    {"enum", &SchemaCheck::oneOfConstants},
    {"pattern", &SchemaCheck::pattern},
    {"minimum", &SchemaCheck::minimum},
    {"required", &SchemaCheck::required},
    {"properties", &SchemaCheck::properties},
    {"additionalProperties", &SchemaCheck::additionalProperties},
    {"items", &SchemaCheck::items},
    {"minItems", &SchemaCheck::minItems},
    {"maxItems", &SchemaCheck::maxItems},
    {"anyOf", &SchemaCheck::anyOf},
    {"oneOf", &SchemaCheck::oneOf},
};

}  // namespace

std::string schemaComplaints(const Json& schema, const Json& value) {
    SchemaCheck check(schema);
    check.check(schema, value, "");
    return check.complaints();
}

const Json& journalSchema() {
    static const Json schema = Json::parse(journalSchemaText);
    return schema;
}

std::string journalComplaints(const std::string& journal) {
    std::string complaints;
    std::istringstream text(journal);
    size_t number = 0;
    for (std::string line; std::getline(text, line);) {
        ++number;
        const Json value = Json::parse(line, nullptr, /*allow_exceptions=*/false);
        const std::string found =
            value.is_discarded() ? "is no JSON\n" : schemaComplaints(journalSchema(), value);
        if (!found.empty()) {
            complaints.append("line ").append(std::to_string(number)).append(": ");
            complaints.append(line).append("\n").append(found);
        }
    }
    if (!journal.empty() && journal.back() != '\n') {
        complaints += "the last line has no end\n";
    }
    return complaints;
}

}  // namespace testing_support
