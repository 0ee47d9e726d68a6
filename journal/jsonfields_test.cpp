#include "journal/jsonfields.h"

#include <algorithm>
#include <iterator>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using journal::JsonFields;
using journal::LineText;
using Json = nlohmann::json;

/// Returns the text of one field whose name is "a".
template <class Value>
std::string field(const Value& value) {
    LineText text;
    JsonFields(text).add("a", value);
    return std::string(text.view());
}

std::string field(const std::string& value) { return field(&value); }

TEST(JsonFieldsTest, FieldsAreSeparatedByCommas) {
    LineText text;
    JsonFields fields(text);
    EXPECT_EQ(text.view(), "");
    fields.add("a", 1);
    EXPECT_EQ(text.view(), "\"a\":1");
    fields.add("b", true);
    fields.addJson("c", "[]");
    fields.beginObject("d");
    fields.add("e", 2);
    fields.endObject();
    fields.beginObject("f");
    fields.endObject();
    fields.add("g", false);
    EXPECT_EQ(text.view(), "\"a\":1,\"b\":true,\"c\":[],\"d\":{\"e\":2},\"f\":{},\"g\":false");
}

TEST(JsonFieldsTest, NumbersAreDecimal) {
    EXPECT_EQ(field(-1), "\"a\":-1");
    EXPECT_EQ(field(uint32_t{4294967295}), "\"a\":4294967295");
    EXPECT_EQ(field(uint64_t{18446744073709551615U}), "\"a\":18446744073709551615");
    EXPECT_EQ(field(INT64_MIN), "\"a\":-9223372036854775808");
}

TEST(JsonFieldsTest, TextIsEscapedWhereJsonNeedsIt) {
    EXPECT_EQ(field(std::string("C:\\a \"b\"/c")), "\"a\":\"C:\\\\a \\\"b\\\"/c\"");
    EXPECT_EQ(field(std::string("\n\r\t\x01\x1f\x7f")), "\"a\":\"\\n\\r\\t\\u0001\\u001f\x7f\"");
    EXPECT_EQ(field(std::string(1, '\0')), "\"a\":\"\\u0000\"");
    EXPECT_EQ(field(std::string()), "\"a\":\"\"");
    EXPECT_EQ(field(std::string("\xc3\xb6\xe2\x82\xac\xf0\x9f\x98\x80")),
              "\"a\":\"\xc3\xb6\xe2\x82\xac\xf0\x9f\x98\x80\"");
}

TEST(JsonFieldsTest, TextThatIsNoUtf8IsItsBytesInHexadecimal) {
    EXPECT_EQ(field(std::string("a\xff")), "\"a\":{\"hex\":\"61ff\"}");
    EXPECT_EQ(field(std::string("\xc3", 1)), "\"a\":{\"hex\":\"c3\"}");
    EXPECT_EQ(field(std::string("\xed\xa0\x80")), "\"a\":{\"hex\":\"eda080\"}") << "a surrogate";
}

TEST(JsonFieldsTest, TextOfAnyLengthIsWritten) {
    for (const size_t length : {1023U, 1024U, 1025U, 100'000U}) {
        const std::string plain(length, 'x');
        EXPECT_EQ(field(plain), "\"a\":\"" + plain + "\"");
        std::string nulls;
        std::string hexadecimal;
        for (size_t i = 0; i < length; ++i) {
            nulls += "\\u0000";
            hexadecimal += "ff";
        }
        EXPECT_EQ(field(std::string(length, '\0')), "\"a\":\"" + nulls + "\"");
        EXPECT_EQ(field(std::string(length, '\xff')), "\"a\":{\"hex\":\"" + hexadecimal + "\"}");
    }
}

TEST(JsonFieldsTest, ANullPointerIsNull) {
    EXPECT_EQ(field<const char*>(nullptr), "\"a\":null");
    EXPECT_EQ(field<const std::string*>(nullptr), "\"a\":null");
    EXPECT_EQ(field("text"), "\"a\":\"text\"");
}

TEST(JsonFieldsTest, ListsMapsAndRecordsKeepTheirOrder) {
    EXPECT_EQ(field(std::vector<std::string>{}), "\"a\":[]");
    EXPECT_EQ(field(std::vector<std::string>{"x", "\xff"}), "\"a\":[\"x\",{\"hex\":\"ff\"}]");
    EXPECT_EQ(field(std::map<std::string, std::string>{{"k", "v"}, {"l", ""}}),
              "\"a\":[[\"k\",\"v\"],[\"l\",\"\"]]");
    EXPECT_EQ(field(std::vector<VobRecord>{{"t", vobReadOnly}, {"u", vobNotDetermined}}),
              "\"a\":[{\"tag\":\"t\",\"state\":1},{\"tag\":\"u\",\"state\":2}]");
}

/// Returns the text that a field of a journal stands for.
std::string textOf(const Json& value) {
    if (value.is_string()) {
        return value.get<std::string>();
    }
    const auto hex = value["hex"].get<std::string>();
    std::string text;
    for (size_t i = 0; i < hex.size(); i += 2) {
        text += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    }
    return text;
}

TEST(JsonFieldsTest, EveryShortTextComesBackFromAReader) {
    // Every text of up to two bytes, and every lead byte with continuations.
    for (int first = 0; first < 256; ++first) {
        std::vector<std::string> values = {std::string(1, static_cast<char>(first))};
        for (int second = 0; second < 256; ++second) {
            const std::string two{static_cast<char>(first), static_cast<char>(second)};
            for (const std::string& value :
                 {two, two + "\x80", two + "\xbf\x80" + "a", "ascii before it " + two}) {
                values.push_back(value);
            }
        }
        const Json read = Json::parse("{" + field(values) + "}")["a"];
        std::vector<std::string> back;
        std::transform(read.begin(), read.end(), std::back_inserter(back), textOf);
        ASSERT_EQ(back, values);
    }
}

}  // namespace
