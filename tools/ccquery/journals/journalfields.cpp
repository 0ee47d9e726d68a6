#include "tools/ccquery/journals/journalfields.h"

#include <algorithm>
#include <array>

namespace ccquery {
namespace {

/// In the order of `Field`.
constexpr std::array<FieldInfo, fieldCount> fields = {{
    {"type", FieldKind::number},
    {"path", FieldKind::textOrNull, &JournalFields::path},
    {"version", FieldKind::textOrNull, &JournalFields::version},
    {"target", FieldKind::textOrNull, &JournalFields::target},
    {"cwd", FieldKind::text, &JournalFields::cwd},
    {"root", FieldKind::text, &JournalFields::root},
    {"text", FieldKind::text, &JournalFields::text},
    {"CLEARCASE_ROOT", FieldKind::textOrNull, &JournalFields::viewRoot},
    {"error", FieldKind::text, &JournalFields::error},
    {"lines", FieldKind::count},
    {"ready", FieldKind::flag},
    {"vobTags", FieldKind::texts},
    {"results", FieldKind::records},
    {"info", FieldKind::pairs, nullptr, &JournalFields::info},
    {"drives", FieldKind::pairs, nullptr, &JournalFields::drives},
    {"type", FieldKind::textOrNull, &JournalFields::exceptionType},
    {"what", FieldKind::textOrNull, &JournalFields::what},
}};

constexpr auto firstOfException = static_cast<size_t>(Field::exceptionType);

constexpr std::array<Field, fieldCount> allFields = [] {
    std::array<Field, fieldCount> all{};
    for (size_t i = 0; i < fieldCount; ++i) {
        all[i] = static_cast<Field>(i);
    }
    return all;
}();

FieldSet argumentsOf(Operation operation) {
    switch (operation) {
        case Operation::getElementStatus:
            return setOf(Field::path) | setOf(Field::version) | setOf(Field::target);
        case Operation::canonicalizeViewPath:
            return setOf(Field::cwd) | setOf(Field::path) | setOf(Field::vobTags);
        case Operation::probeVobs:
            return setOf(Field::root) | setOf(Field::results);
        case Operation::getProductInfo:
            return setOf(Field::info);
        case Operation::getMvfsDrives:
            return setOf(Field::drives);
        default:
            return 0;
    }
}

FieldSet resultOf(Operation operation) {
    switch (operation) {
        case Operation::getOutput:
        case Operation::getError:
        case Operation::getViewTag:
        case Operation::canonicalizeViewPath:
            return setOf(Field::text);
        case Operation::getElementStatus:
            return setOf(Field::type) | setOf(Field::version) | setOf(Field::target);
        case Operation::probeVobs:
            return setOf(Field::results);
        case Operation::getProductInfo:
            return setOf(Field::info);
        case Operation::getMvfsDrives:
            return setOf(Field::text) | setOf(Field::drives);
        case Operation::isReady:
            return setOf(Field::ready);
        case Operation::connect:
            return setOf(Field::viewRoot);
        case Operation::lost:
            return setOf(Field::lines) | setOf(Field::error);
        default:
            return 0;
    }
}

}  // namespace

const FieldInfo& infoOf(Field field) { return fields[static_cast<size_t>(field)]; }

std::string_view partName(LinePart part) {
    switch (part) {
        case LinePart::arguments:
            return "arguments";
        case LinePart::result:
            return "result";
        default:
            return "exception";
    }
}

FieldSet requiredFields(Operation operation, LinePart part) {
    switch (part) {
        case LinePart::arguments:
            return argumentsOf(operation);
        case LinePart::result:
            return resultOf(operation);
        default:
            return setOf(Field::exceptionType) | setOf(Field::what);
    }
}

const Field* fieldNamed(std::string_view name, LinePart part) {
    const bool isException = part == LinePart::exception;
    const auto* const begin = allFields.begin() + (isException ? firstOfException : 0);
    const auto* const end = isException ? allFields.end() : begin + firstOfException;
    const auto* const found =
        std::find_if(begin, end, [&](Field field) { return infoOf(field).name == name; });
    return found == end ? nullptr : found;
}

}  // namespace ccquery
