#include "tools/ccquery/journals/linehandler.h"

#include <limits>
#include <string_view>
#include <utility>

namespace ccquery {
namespace {

/// Returns the value of a hexadecimal digit, or nothing. The journal writes small letters.
std::optional<unsigned> digitValue(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    if (c >= 'a' && c <= 'f') {
        return static_cast<unsigned>(c - 'a' + 10);
    }
    return std::nullopt;
}

std::optional<std::string> bytesOf(std::string_view hex) {
    std::string bytes;
    bytes.reserve(hex.size() / 2);
    for (; hex.size() >= 2; hex.remove_prefix(2)) {
        const auto high = digitValue(hex[0]);
        const auto low = digitValue(hex[1]);
        if (!high || !low) {
            return std::nullopt;
        }
        bytes += static_cast<char>(*high << 4 | *low);
    }
    return hex.empty() ? std::optional(std::move(bytes)) : std::nullopt;
}

LineKey lineKeyNamed(std::string_view name) {
    return name == "version"      ? LineKey::version
           : name == "process"    ? LineKey::process
           : name == "connection" ? LineKey::connection
           : name == "operation"  ? LineKey::operation
                                  : LineKey::other;
}

}  // namespace

void ParsedLine::clear() {
    line.arguments.clear();
    line.result.clear();
    line.failed = false;
    version.clear();
    operation.clear();
    isObject = false;
    foundKeys = 0;
    hasPart = {};
    found = {};
    wrong = {};
}

void LineHandler::begin() {
    mParsed.clear();
    mDepth = 0;
    mSkipped = 0;
}

JournalFields& LineHandler::fields() {
    return mPart == LinePart::arguments ? mParsed.line.arguments : mParsed.line.result;
}

/// Whether the current value, in a part, is of something that the format doesn't have.
bool LineHandler::isUnknown() const {
    switch (state()) {
        case State::part:
            return !mField;
        case State::hex:
            return !mIsHexKey;
        case State::record:
            return mRecordKey == RecordKey::other;
        default:
            return false;
    }
}

bool LineHandler::isField(FieldKind kind) const {
    return state() == State::part && mField && infoOf(*mField).kind == kind;
}

bool LineHandler::isTextField() const {
    return isField(FieldKind::text) || isField(FieldKind::textOrNull);
}

void LineHandler::found() { mParsed.found[static_cast<size_t>(mPart)] |= setOf(*mField); }

void LineHandler::foundKey() { mParsed.foundKeys |= 1U << static_cast<unsigned>(mKey); }

/// The current value isn't what its field holds. A field of the line itself just isn't found.
void LineHandler::wrong() {
    if (state() > State::line && !isUnknown()) {
        mParsed.wrong[static_cast<size_t>(mPart)] |= setOf(*mField);
    }
}

bool LineHandler::null() {
    if (mSkipped == 0) {
        if (isField(FieldKind::textOrNull)) {
            (fields().*infoOf(*mField).text).reset();
            found();
        } else {
            wrong();
        }
    }
    return true;
}

bool LineHandler::boolean(bool value) {
    if (mSkipped == 0) {
        if (isField(FieldKind::flag)) {
            fields().ready = value;
            found();
        } else {
            wrong();
        }
    }
    return true;
}

bool LineHandler::number_integer(int64_t value) {
    if (mSkipped == 0) {
        takeNumber(value);
    }
    return true;
}

bool LineHandler::number_unsigned(uint64_t value) {
    if (mSkipped != 0) {
        return true;
    }
    if (state() == State::line) {
        takeLineNumber(value);
    } else if (isField(FieldKind::count)) {
        fields().lines = value;
        found();
    } else if (value <= static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) {
        takeNumber(static_cast<int64_t>(value));
    } else {
        wrong();
    }
    return true;
}

bool LineHandler::number_float(double /*value*/, const std::string& text) {
    if (mSkipped != 0) {
        return true;
    }
    if (state() == State::line && mKey == LineKey::version) {
        mParsed.version = text;
        foundKey();
    } else {
        wrong();
    }
    return true;
}

bool LineHandler::string(std::string& value) {
    if (mSkipped != 0) {
        return true;
    }
    if (state() == State::line) {
        if (mKey == LineKey::operation) {
            mParsed.operation = value;
            foundKey();
        }
    } else if (state() == State::hex) {
        if (mIsHexKey) {
            mBytes = bytesOf(value);
        }
    } else {
        takeText(value);
    }
    return true;
}

void LineHandler::takeLineNumber(uint64_t value) {
    switch (mKey) {
        case LineKey::version:
            mParsed.version = std::to_string(value);
            break;
        case LineKey::process:
            mParsed.line.process = value;
            break;
        case LineKey::connection:
            mParsed.line.connection = value;
            break;
        default:
            return;
    }
    foundKey();
}

void LineHandler::takeNumber(int64_t value) {
    const bool fits = value >= std::numeric_limits<int32_t>::min() &&
                      value <= std::numeric_limits<int32_t>::max();
    if (fits && isField(FieldKind::number)) {
        fields().type = static_cast<int32_t>(value);
        found();
    } else if (fits && state() == State::record && mRecordKey == RecordKey::state) {
        fields().results.back().state = static_cast<VobState>(value);
        mHasState = true;
    } else {
        wrong();
    }
}

void LineHandler::takeText(const std::string& value) {
    if (isTextField()) {
        fields().*infoOf(*mField).text = value;
        found();
    } else if (state() == State::texts) {
        fields().vobTags.push_back(value);
    } else if (state() == State::pair) {
        if (mPairSize < mPair.size()) {
            mPair[mPairSize] = value;
        }
        ++mPairSize;
    } else if (state() == State::record && mRecordKey == RecordKey::tag) {
        fields().results.back().tag = value;
        mHasTag = true;
    } else {
        wrong();
    }
}

bool LineHandler::key(std::string& name) {
    if (mSkipped != 0) {
        return true;
    }
    switch (state()) {
        case State::line:
            mKey = lineKeyNamed(name);
            mKeyName = name;
            break;
        case State::part: {
            const Field* const field = fieldNamed(name, mPart);
            mField = field == nullptr ? std::nullopt : std::optional(*field);
            break;
        }
        case State::hex:
            mIsHexKey = name == "hex";
            break;
        default:
            mRecordKey = name == "tag"     ? RecordKey::tag
                         : name == "state" ? RecordKey::state
                                           : RecordKey::other;
    }
    return true;
}

bool LineHandler::start_object(size_t /*size*/) {
    if (mSkipped != 0 || !enterObject()) {
        wrong();
        ++mSkipped;
    }
    return true;
}

bool LineHandler::enterObject() {
    switch (state()) {
        case State::outside:
            mParsed.isObject = true;
            mKey = LineKey::other;
            enter(State::line);
            return true;
        case State::line:
            return enterPart();
        case State::part:
            return enterHex(isTextField());
        case State::texts:
        case State::pair:
            return enterHex(/*isText=*/true);
        case State::records:
            fields().results.emplace_back();
            mHasTag = false;
            mHasState = false;
            mRecordKey = RecordKey::other;
            enter(State::record);
            return true;
        case State::record:
            return enterHex(mRecordKey == RecordKey::tag);
        default:
            return false;
    }
}

bool LineHandler::enterPart() {
    for (const LinePart part : {LinePart::arguments, LinePart::result, LinePart::exception}) {
        if (mKeyName == partName(part)) {
            mPart = part;
            mParsed.hasPart[static_cast<size_t>(part)] = true;
            mField.reset();
            enter(State::part);
            return true;
        }
    }
    return false;
}

/// `isText` says whether a text can be where the object is.
bool LineHandler::enterHex(bool isText) {
    if (!isText) {
        return false;
    }
    mBytes.reset();
    mIsHexKey = false;
    enter(State::hex);
    return true;
}

bool LineHandler::end_object() {
    if (mSkipped != 0) {
        --mSkipped;
        return true;
    }
    const State ended = state();
    --mDepth;
    if (ended == State::hex) {
        if (mBytes) {
            takeText(*mBytes);
        } else {
            wrong();
        }
    } else if (ended == State::record && (!mHasTag || !mHasState)) {
        wrong();
    }
    return true;
}

bool LineHandler::start_array(size_t /*size*/) {
    if (mSkipped != 0 || !enterArray()) {
        wrong();
        ++mSkipped;
    }
    return true;
}

bool LineHandler::enterArray() {
    if (isField(FieldKind::texts)) {
        fields().vobTags.clear();
        enter(State::texts);
    } else if (isField(FieldKind::records)) {
        fields().results.clear();
        enter(State::records);
    } else if (isField(FieldKind::pairs)) {
        (fields().*infoOf(*mField).map).clear();
        enter(State::pairs);
    } else if (state() == State::pairs) {
        mPairSize = 0;
        enter(State::pair);
    } else {
        return false;
    }
    return true;
}

bool LineHandler::end_array() {
    if (mSkipped != 0) {
        --mSkipped;
        return true;
    }
    const State ended = state();
    --mDepth;
    if (ended == State::pair) {
        leavePair();
    } else {
        found();
    }
    return true;
}

void LineHandler::leavePair() {
    if (mPairSize == mPair.size()) {
        (fields().*infoOf(*mField).map).insert_or_assign(std::move(mPair[0]), std::move(mPair[1]));
    } else {
        wrong();
    }
}

}  // namespace ccquery
