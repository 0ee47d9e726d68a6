#pragma once

// Takes the events of a JSON parser, and makes a JournalLine of them. The part of `LineParser` that
// knows the nesting of a line.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "tools/ccquery/journals/journalfields.h"
#include "tools/ccquery/journals/journalline.h"

namespace ccquery {

/// The fields of a line beside its parts.
enum class LineKey { version, process, connection, operation, other };

/// What the events of a line said.
struct ParsedLine {
    JournalLine line = {};
    std::string version = {};    ///< as the line has it
    std::string operation = {};  ///< its name
    bool isObject = false;
    unsigned foundKeys = 0;  ///< a bit for each LineKey
    /// For each LinePart: whether it is there, and its fields that are there and of the right type.
    std::array<bool, 3> hasPart = {};
    std::array<FieldSet, 3> found = {};
    std::array<FieldSet, 3> wrong = {};

    void clear();
};

/// The names and types of the functions are those that nlohmann::json::sax_parse calls. Each
/// returns whether the parser is to go on.
class LineHandler {
public:
    /// To be called before each line.
    void begin();
    [[nodiscard]] ParsedLine& parsed() { return mParsed; }

    // NOLINTBEGIN(readability-identifier-naming)
    bool null();
    bool boolean(bool value);
    bool number_integer(int64_t value);
    bool number_unsigned(uint64_t value);
    bool number_float(double value, const std::string& text);
    bool string(std::string& value);
    /// Refuses what JSON doesn't have.
    template <class Bytes>
    bool binary(const Bytes& /*value*/) {
        return false;
    }
    bool start_object(size_t size);
    bool key(std::string& name);
    bool end_object();
    bool start_array(size_t size);
    bool end_array();
    template <class Error>
    bool parse_error(size_t /*position*/, const std::string& /*token*/, const Error& /*error*/) {
        return false;
    }
    // NOLINTEND(readability-identifier-naming)

private:
    /// What is being read. Each but the first is inside another.
    enum class State : uint8_t {
        outside,
        line,
        part,     ///< arguments, result or exception
        hex,      ///< the object of a text that isn't UTF-8
        texts,    ///< a list of texts
        pairs,    ///< a list of pairs
        pair,     ///< a pair in it
        records,  ///< a list of records
        record,   ///< a record in it
    };
    enum class RecordKey { tag, state, other };

    [[nodiscard]] State state() const { return mStates[mDepth]; }
    void enter(State state) { mStates[++mDepth] = state; }
    [[nodiscard]] bool isUnknown() const;
    [[nodiscard]] bool isField(FieldKind kind) const;
    [[nodiscard]] bool isTextField() const;
    JournalFields& fields();

    void found();
    void foundKey();
    void wrong();
    void takeLineNumber(uint64_t value);
    void takeNumber(int64_t value);
    void takeText(const std::string& value);
    bool enterObject();
    bool enterPart();
    bool enterHex(bool isText);
    bool enterArray();
    void leavePair();

    ParsedLine mParsed;
    std::array<State, 8> mStates{};  ///< more than the states can be nested
    size_t mDepth = 0;
    size_t mSkipped = 0;  ///< the number of unknown or wrong objects and lists around a value
    LineKey mKey = LineKey::other;
    std::string mKeyName;  ///< of a key that may begin a part
    LinePart mPart = LinePart::arguments;
    std::optional<Field> mField;  ///< nothing if the format doesn't have it
    bool mIsHexKey = false;
    std::optional<std::string> mBytes;
    std::array<std::string, 2> mPair;
    size_t mPairSize = 0;
    RecordKey mRecordKey = RecordKey::other;
    bool mHasTag = false;
    bool mHasState = false;
};

}  // namespace ccquery
