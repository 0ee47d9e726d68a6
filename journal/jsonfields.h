#pragma once

// Writes JSON into a text, field by field. A tree of the JSON library for each line would cost
// several times the write to the file.

#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "clearcase/clearcaseconnection.h"
#include "journal/linetext.h"

namespace journal {

/// Appends fields of a JSON object to a text: `"name":value`, with a comma between two. The braces
/// are the caller's. Text that isn't UTF-8 becomes `{"hex":"..."}`. Names must need no escapes.
class JsonFields {
public:
    /// `text` must outlive the object.
    explicit JsonFields(LineText& text) : mText(text) {}

    void add(std::string_view name, std::string_view value) {
        addName(name);
        addText(value);
    }
    /// A null pointer becomes `null`.
    void add(std::string_view name, const char* value) {
        if (value == nullptr) {
            addJson(name, "null");
        } else {
            add(name, std::string_view(value));
        }
    }
    void add(std::string_view name, const std::string* value) {
        if (value == nullptr) {
            addJson(name, "null");
        } else {
            add(name, std::string_view(*value));
        }
    }
    void add(std::string_view name, const std::vector<std::string>& values);
    /// A list of pairs, since a key may be no UTF-8.
    void add(std::string_view name, const std::map<std::string, std::string>& values);
    void add(std::string_view name, const std::vector<VobRecord>& records);
    void add(std::string_view name, bool value) { addJson(name, value ? "true" : "false"); }
    template <std::integral Number>
    void add(std::string_view name, Number value) {
        constexpr size_t longest = 20;
        addName(name);
        char* const digits = mText.room(longest);
        mText.setEnd(std::to_chars(digits, digits + longest, value).ptr);
    }
    /// Adds `value`, which is JSON, as it is.
    void addJson(std::string_view name, std::string_view value) {
        addName(name);
        mText.append(value);
    }
    /// Adds an object, whose fields are those that are added until `endObject`.
    void beginObject(std::string_view name) {
        addJson(name, "{");
        mHasFields = false;
    }
    void endObject() {
        mText.append("}");
        mHasFields = true;
    }

private:
    // Inline, so that names, which are constants, are copied without a call.
    void addName(std::string_view name) {
        constexpr size_t marks = 4;  // the comma, the quotation marks and the colon
        char* place = mText.room(name.size() + marks);
        if (mHasFields) {
            *place++ = ',';
        }
        mHasFields = true;
        *place++ = '"';
        std::memcpy(place, name.data(), name.size());
        place += name.size();
        *place++ = '"';
        *place++ = ':';
        mText.setEnd(place);
    }
    void addText(std::string_view value);
    template <class List, class AddElement>
    void addList(std::string_view name, const List& list, AddElement addElement);

    LineText& mText;
    bool mHasFields = false;
};

}  // namespace journal
