#include "journal/jsonfields.h"

#include <array>
#include <cstring>

#include "util/utf8check.h"

namespace journal {
namespace {

constexpr char hexDigits[] = "0123456789abcdef";

char* writeHex(char* place, char c) {
    *place++ = hexDigits[static_cast<unsigned char>(c) >> 4];
    *place++ = hexDigits[static_cast<unsigned char>(c) & 0xf];
    return place;
}

char* write(char* place, std::string_view text) {
    std::memcpy(place, text.data(), text.size());
    return place + text.size();
}

/// For each character, what follows the backslash of its escape: 'u' for a number, or null if a
/// JSON string has the character as it is.
constexpr std::array<char, 256> escapes = [] {
    std::array<char, 256> table{};
    for (size_t control = 0; control < 0x20; ++control) {
        table[control] = 'u';
    }
    table['\n'] = 'n';
    table['\r'] = 'r';
    table['\t'] = 't';
    table['"'] = '"';
    table['\\'] = '\\';
    return table;
}();
constexpr size_t longestEscape = 6;  // \u0000

char* writeCharacter(char* place, char c) {
    const char escape = escapes[static_cast<unsigned char>(c)];
    if (escape == '\0') [[likely]] {
        *place++ = c;
        return place;
    }
    *place++ = '\\';
    *place++ = escape;
    return escape == 'u' ? writeHex(write(place, "00"), c) : place;
}

}  // namespace

void JsonFields::addText(std::string_view value) {
    if (!isUtf8(value)) {
        mText.append("{\"hex\":\"");
        char* place = mText.room(2 * value.size());
        for (const char c : value) {
            place = writeHex(place, c);
        }
        mText.setEnd(place);
        mText.append("\"}");
        return;
    }
    char* place = mText.room(longestEscape * value.size() + 2);
    *place++ = '"';
    for (const char c : value) {
        place = writeCharacter(place, c);
    }
    *place++ = '"';
    mText.setEnd(place);
}

template <class List, class AddElement>
void JsonFields::addList(std::string_view name, const List& list, AddElement addElement) {
    addJson(name, "[");
    bool isFirst = true;
    for (const auto& element : list) {
        if (!isFirst) {
            mText.append(",");
        }
        isFirst = false;
        addElement(element);
    }
    mText.append("]");
}

void JsonFields::add(std::string_view name, const std::vector<std::string>& values) {
    addList(name, values, [this](const std::string& value) { addText(value); });
}

void JsonFields::add(std::string_view name, const std::map<std::string, std::string>& values) {
    addList(name, values, [this](const auto& pair) {
        mText.append("[");
        addText(pair.first);
        mText.append(",");
        addText(pair.second);
        mText.append("]");
    });
}

void JsonFields::add(std::string_view name, const std::vector<VobRecord>& records) {
    addList(name, records, [this](const VobRecord& record) {
        mText.append("{");
        JsonFields fields(mText);
        fields.add("tag", std::string_view(record.tag));
        fields.add("state", static_cast<int32_t>(record.state));
        mText.append("}");
    });
}

}  // namespace journal
