#pragma once

// What a line of a journal says, as values. docs/journal.md documents the format.

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "clearcase/clearcaseconnection.h"

namespace ccquery {

/// The operations of a connection, in the order of the contract, and the lines that the journal
/// adds.
enum class Operation {
    getOutput,
    getError,
    clearMessages,
    getElementStatus,
    canonicalizeViewPath,
    getViewTag,
    probeVobs,
    getProductInfo,
    getMvfsDrives,
    startSession,
    isReady,
    killConnection,
    connect,
    disconnect,
    lost,
};

/// Returns the name that the journal and the contract have for an operation.
[[nodiscard]] std::string_view operationName(Operation operation);
/// Returns the operation with this name, or nothing.
[[nodiscard]] std::optional<Operation> operationNamed(std::string_view name);

/// A text, or nothing for a null pointer.
using JournalText = std::optional<std::string>;
using TextMap = std::map<std::string, std::string>;

/// The arguments of a call, or its result. An operation uses few of the fields; the others are
/// empty.
struct JournalFields {
    JournalText path = {};
    JournalText version = {};
    JournalText target = {};
    JournalText cwd = {};
    JournalText root = {};
    JournalText text = {};
    JournalText viewRoot = {};  ///< CLEARCASE_ROOT
    JournalText error = {};
    JournalText exceptionType = {};  ///< "type" of an exception
    JournalText what = {};
    int32_t type = 0;
    uint64_t lines = 0;
    bool ready = false;
    std::vector<std::string> vobTags = {};
    std::vector<VobRecord> results = {};
    TextMap info = {};
    TextMap drives = {};

    /// Empties all fields, and keeps their memory for the next line.
    void clear();
};

/// A line. All fields that the format has for the operation are there.
struct JournalLine {
    Operation operation = Operation::lost;
    uint64_t process = 0;
    uint64_t connection = 0;
    JournalFields arguments = {};
    /// If `failed` is set, these are the fields of the exception.
    JournalFields result = {};
    bool failed = false;
};

/// Where a line is.
struct JournalPlace {
    size_t file = 0;    ///< the number of the journal, from 0
    uint64_t line = 0;  ///< from 1
};

}  // namespace ccquery
