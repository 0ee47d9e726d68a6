#pragma once

#include <cstddef>
#include <cstring>

namespace testing_support {

/// Calls the entry at `offset` in an object's table.
template <class Result = int, class... Arguments>
Result callAt(void* object, size_t offset, Arguments... arguments) {
    const std::byte* table = nullptr;
    std::memcpy(&table, object, sizeof table);
    Result (*entry)(void*, Arguments...) = nullptr;
    std::memcpy(&entry, table + offset, sizeof entry);
    return entry(object, arguments...);
}

/// Returns the value at `offset` in an object's table.
template <class Value>
Value valueAt(void* object, size_t offset) {
    const std::byte* table = nullptr;
    std::memcpy(&table, object, sizeof table);
    Value value = 0;
    std::memcpy(&value, table + offset, sizeof value);
    return value;
}

}  // namespace testing_support
