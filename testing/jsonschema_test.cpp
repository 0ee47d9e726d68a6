#include "testing/jsonschema.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace {

using namespace testing_support;
using Json = nlohmann::json;

std::string complaints(const char* schema, const char* value) {
    return schemaComplaints(Json::parse(schema), Json::parse(value));
}

TEST(JsonSchemaTest, EachKeywordAcceptsAndRejects) {
    struct Case {
        const char* schema;
        const char* right;
        const char* wrong;
    };
    const Case cases[] = {
        {R"({"type":"string"})", R"("a")", "1"},
        {R"({"type":"integer"})", "-1", "1.5"},
        {R"({"type":"number"})", "1.5", R"("1")"},
        {R"({"type":"object"})", "{}", "[]"},
        {R"({"type":"null"})", "null", "0"},
        {R"({"type":"boolean"})", "false", "null"},
        {R"({"const":1})", "1", "2"},
        {R"({"enum":["a","b"]})", R"("b")", R"("c")"},
        {R"({"pattern":"^a+$"})", R"("aa")", R"("ab")"},
        {R"({"minimum":1})", "1", "0"},
        {R"({"required":["a"]})", R"({"a":1})", R"({"b":1})"},
        {R"({"properties":{"a":{"type":"null"}}})", R"({"b":1})", R"({"a":1})"},
        {R"({"properties":{"a":{}},"additionalProperties":false})", R"({"a":1})", R"({"b":1})"},
        {R"({"items":{"type":"null"}})", "[null]", "[null,1]"},
        {R"({"minItems":1})", "[1]", "[]"},
        {R"({"maxItems":1})", "[1]", "[1,2]"},
        {R"({"anyOf":[{"type":"null"},{"minimum":1}]})", "null", "0"},
        {R"({"oneOf":[{"required":["a"]},{"required":["b"]}]})", R"({"a":1})", R"({"a":1,"b":1})"},
        {R"({"$ref":"#/$defs/x","$defs":{"x":{"const":1}}})", "1", "2"},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(complaints(one.schema, one.right), "") << one.schema;
        EXPECT_NE(complaints(one.schema, one.wrong), "") << one.schema;
    }
}

TEST(JsonSchemaTest, KeywordsForOtherTypesDoNotMatter) {
    EXPECT_EQ(complaints(R"({"pattern":"a","minimum":5,"required":["a"],"minItems":3})", "null"),
              "");
}

TEST(JsonSchemaTest, OnlyCallsInAJournalHaveExceptions) {
    const auto complaintsOf = [](const std::string& operation) {
        return journalComplaints(
            R"({"version":1,"time":"2026-01-31T23:59:59.123456Z","process":1,"thread":1,)"
            R"("connection":1,"call":1,"operation":")" +
            operation +
            R"(","arguments":{},"exception":{"type":null,"what":null},"microseconds":1.000})"
            "\n");
    };
    for (const char* const operation : {"connect", "disconnect", "lost"}) {
        EXPECT_NE(complaintsOf(operation), "") << operation;
    }
    EXPECT_EQ(complaintsOf("clearMessages"), "");
    EXPECT_EQ(complaintsOf("isReady"), "");
}

TEST(JsonSchemaTest, AComplaintHasThePlace) {
    EXPECT_EQ(complaints(R"({"properties":{"a":{"items":{"const":1}}}})", R"({"a":[1,2]})"),
              "/a/1: const 1\n");
}

TEST(JsonSchemaTest, WhatItDoesNotKnowIsRefused) {
    EXPECT_THROW(static_cast<void>(complaints(R"({"format":"date"})", "1")), std::logic_error);
    EXPECT_THROW(static_cast<void>(complaints(R"({"additionalProperties":{}})", "{}")),
                 std::logic_error);
}

constexpr const char* rightLine =
    R"({"version":1,"time":"2026-01-31T23:59:59.123456Z","process":1,"thread":2,"connection":1,)"
    R"("call":3,"operation":"isReady","arguments":{},"result":{"ready":true},"microseconds":0.1})";

std::string changed(const std::string& from, const std::string& to) {
    std::string line = rightLine;
    line.replace(line.find(from), from.size(), to);
    return line + "\n";
}

TEST(JournalSchemaTest, ALineThatMatchesHasNoComplaint) {
    EXPECT_EQ(journalComplaints(""), "");
    EXPECT_EQ(journalComplaints(std::string(rightLine) + "\n" + rightLine + "\n"), "");
}

TEST(JournalSchemaTest, WrongLinesAreComplainedAbout) {
    const std::string wrong[] = {
        "\n",
        "{]\n",
        rightLine,
        changed("\"version\":1", "\"version\":2"),
        changed("59.123456Z", "59Z"),
        changed("\"process\":1", "\"process\":-1"),
        changed("\"connection\":1", "\"connection\":0"),
        changed("\"call\":3,", ""),
        changed("\"isReady\"", "\"isready\""),
        changed("\"isReady\"", "\"getError\""),
        changed("\"arguments\":{}", "\"arguments\":{\"a\":1}"),
        changed("{\"ready\":true}", "{\"ready\":true,\"more\":1}"),
        changed("{\"ready\":true}", "{\"ready\":1}"),
        changed(",\"result\":{\"ready\":true}", ""),
        changed("\"result\"", "\"exception\""),
        changed("\"result\"", "\"exception\":{\"type\":null,\"what\":null},\"result\""),
        changed("0.1}", "0.1,\"more\":1}"),
    };
    for (const std::string& journal : wrong) {
        EXPECT_NE(journalComplaints(journal), "") << journal;
    }
}

}  // namespace
