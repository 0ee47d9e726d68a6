#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace testing_support {

/// Checks `value` by a JSON schema. Returns an empty text, or a line for each way in which the
/// value doesn't match, with its place in the value. Throws std::logic_error for a keyword that it
/// doesn't know, so that nothing in the schema goes unchecked. It knows type, const, enum, pattern,
/// minimum, required, properties, additionalProperties (false), items, minItems, maxItems, oneOf,
/// anyOf, and $ref into the schema. Must not be called by two threads at once.
[[nodiscard]] std::string schemaComplaints(const nlohmann::json& schema,
                                           const nlohmann::json& value);

/// Returns the schema of a line of a journal.
[[nodiscard]] const nlohmann::json& journalSchema();

/// Checks each line of a journal by its schema. Returns an empty text, or the complaints with their
/// lines. A last line without its end is a complaint.
[[nodiscard]] std::string journalComplaints(const std::string& journal);

}  // namespace testing_support
