#pragma once

// The fields of a journal's lines: their names, what they hold, and which operation has which.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "tools/ccquery/journals/journalline.h"

namespace ccquery {

/// What a field holds.
enum class FieldKind {
    unknown,  ///< of a field that the format doesn't have
    text,
    textOrNull,
    number,  ///< of 32 bits with a sign
    count,   ///< of 64 bits without a sign
    flag,
    texts,
    records,
    pairs,
};

/// The fields of arguments, results and exceptions.
enum class Field {
    type,
    path,
    version,
    target,
    cwd,
    root,
    text,
    viewRoot,
    error,
    lines,
    ready,
    vobTags,
    results,
    info,
    drives,
    exceptionType,  ///< "type" of an exception
    what,
};
inline constexpr size_t fieldCount = static_cast<size_t>(Field::what) + 1;

/// A set of fields, a bit for each.
using FieldSet = uint32_t;
[[nodiscard]] constexpr FieldSet setOf(Field field) {
    return FieldSet{1} << static_cast<unsigned>(field);
}

struct FieldInfo {
    std::string_view name;
    FieldKind kind;
    /// Where a text goes; null for other kinds.
    JournalText JournalFields::*text = nullptr;
    /// Where pairs go; null for other kinds.
    TextMap JournalFields::*map = nullptr;
};

[[nodiscard]] const FieldInfo& infoOf(Field field);

/// The objects of a line.
enum class LinePart { arguments, result, exception };

[[nodiscard]] std::string_view partName(LinePart part);
/// Returns the fields that this part of an operation's line must have.
[[nodiscard]] FieldSet requiredFields(Operation operation, LinePart part);

/// Returns the field with this name in an exception or elsewhere, or null.
[[nodiscard]] const Field* fieldNamed(std::string_view name, LinePart part);

}  // namespace ccquery
