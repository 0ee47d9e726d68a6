#include "tools/ccquery/journals/journaljson.h"

#include "tools/ccquery/journals/journalfields.h"
#include "util/utf8check.h"

namespace ccquery {
namespace {

Json fieldJson(const JournalFields& fields, Field field) {
    const FieldInfo& info = infoOf(field);
    Json list = Json::array();
    switch (info.kind) {
        case FieldKind::text:
        case FieldKind::textOrNull: {
            const JournalText& text = fields.*info.text;
            return text ? journalJson(*text) : Json(nullptr);
        }
        case FieldKind::number:
            return fields.type;
        case FieldKind::count:
            return fields.lines;
        case FieldKind::flag:
            return fields.ready;
        case FieldKind::texts:
            for (const std::string& tag : fields.vobTags) {
                list.push_back(journalJson(tag));
            }
            break;
        case FieldKind::records:
            for (const VobRecord& vob : fields.results) {
                const int32_t state = vob.state;
                list.push_back({{"tag", journalJson(vob.tag)}, {"state", state}});
            }
            break;
        default:
            for (const auto& [key, value] : fields.*info.map) {
                list.push_back(Json::array({journalJson(key), journalJson(value)}));
            }
    }
    return list;
}

Json partJson(const JournalFields& fields, FieldSet set) {
    Json object = Json::object();
    for (size_t i = 0; i < fieldCount; ++i) {
        const auto field = static_cast<Field>(i);
        if ((set & setOf(field)) != 0) {
            object[std::string(infoOf(field).name)] = fieldJson(fields, field);
        }
    }
    return object;
}

}  // namespace

Json journalJson(const std::string& text) {
    if (isUtf8(text)) {
        return text;
    }
    const std::string digits = "0123456789abcdef";
    std::string hex;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        hex += digits[byte / 16];
        hex += digits[byte % 16];
    }
    return {{"hex", hex}};
}

Json argumentsJson(const JournalLine& line) {
    return partJson(line.arguments, requiredFields(line.operation, LinePart::arguments));
}

Json resultJson(const JournalLine& line) {
    if (line.failed) {
        return {{"exception",
                 partJson(line.result, requiredFields(line.operation, LinePart::exception))}};
    }
    return partJson(line.result, requiredFields(line.operation, LinePart::result));
}

}  // namespace ccquery
