#include "tools/ccquery/journals/lineparser.h"

#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "tools/ccquery/journals/linehandler.h"

namespace {

using namespace ccquery;

const std::string status =
    R"({"version":1,"time":"2026-01-31T23:59:59.123456Z","process":12,"thread":34,"connection":2,)"
    R"("call":7,"operation":"getElementStatus",)"
    R"("arguments":{"path":"C:\\a","version":"old","target":null},)"
    R"("result":{"type":1,"version":"/main/0","target":null},"microseconds":12.345})";

/// Returns a line of an operation. `rest` has its parts.
std::string lineOf(const std::string& operation, const std::string& rest) {
    return R"({"version":1,"process":1,"connection":1,"operation":")" + operation + "\"," + rest +
           "}";
}

/// Returns `text` with one part replaced.
std::string replaced(std::string text, const std::string& part, const std::string& by) {
    const size_t at = text.find(part);
    EXPECT_NE(at, std::string::npos) << part;
    return text.replace(at, part.size(), by);
}

JournalLine parsed(const std::string& text) {
    LineParser parser;
    EXPECT_EQ(parser.parse(text), LineProblem::none) << parser.problem();
    return parser.line();
}

void expectProblem(const std::string& text, LineProblem kind, const std::string& problem) {
    LineParser parser;
    EXPECT_EQ(parser.parse(text), kind) << text;
    EXPECT_EQ(parser.problem(), problem) << text;
}

void expectField(const std::string& text, const std::string& problem) {
    expectProblem(text, LineProblem::field, problem);
}

TEST(LineParserTest, AStatusHasItsTextsBeforeAndAfter) {
    const JournalLine line = parsed(status);
    EXPECT_EQ(line.operation, Operation::getElementStatus);
    EXPECT_EQ(line.process, 12U);
    EXPECT_EQ(line.connection, 2U);
    EXPECT_FALSE(line.failed);
    EXPECT_EQ(line.arguments.path, "C:\\a");
    EXPECT_EQ(line.arguments.version, "old");
    EXPECT_EQ(line.arguments.target, std::nullopt);
    EXPECT_EQ(line.result.type, 1);
    EXPECT_EQ(line.result.version, "/main/0");
    EXPECT_EQ(line.result.target, std::nullopt);
}

TEST(LineParserTest, TheOrderOfFieldsIsFree) {
    const JournalLine line =
        parsed(R"({"result":{"ready":true},"arguments":{},"operation":"isReady",)"
               R"("connection":3,"process":4,"version":1})");
    EXPECT_EQ(line.operation, Operation::isReady);
    EXPECT_TRUE(line.result.ready);
    EXPECT_EQ(line.process, 4U);
    EXPECT_EQ(line.connection, 3U);
}

TEST(LineParserTest, NothingIsLeftOfTheLineBefore) {
    LineParser parser;
    ASSERT_EQ(parser.parse(lineOf("getViewTag", R"("arguments":{},"exception":{"type":"t",)"
                                                R"("what":null})")),
              LineProblem::none);
    EXPECT_TRUE(parser.line().failed);
    ASSERT_EQ(parser.parse(status), LineProblem::none);
    EXPECT_FALSE(parser.line().failed);
    EXPECT_EQ(parser.line().result.exceptionType, std::nullopt);
    ASSERT_EQ(parser.parse(lineOf("disconnect", R"("arguments":{},"result":{})")),
              LineProblem::none);
    EXPECT_EQ(parser.line().arguments.path, std::nullopt);
    EXPECT_EQ(parser.line().result.type, 0);
}

TEST(LineParserTest, AViewPathHasItsTags) {
    const JournalLine line = parsed(
        lineOf("canonicalizeViewPath",
               R"("arguments":{"cwd":"C:\\","path":"p","vobTags":["X:\\v",{"hex":"58ff"},""]},)"
               R"("result":{"text":"C:/p"})"));
    EXPECT_EQ(line.arguments.cwd, "C:\\");
    EXPECT_EQ(line.arguments.vobTags, (std::vector<std::string>{"X:\\v", "X\xff", ""}));
    EXPECT_EQ(line.result.text, "C:/p");
}

TEST(LineParserTest, AProbeHasItsRecords) {
    const JournalLine line = parsed(
        lineOf("probeVobs",
               R"("arguments":{"root":"R","results":[]},)"
               R"("result":{"results":[{"tag":"R/a","state":0},)"
               R"({"state":-5,"more":[{}],"x":"y","z":{"tag":1},"n":7,"tag":{"hex":"ff"}}]})"));
    EXPECT_EQ(line.arguments.root, "R");
    EXPECT_TRUE(line.arguments.results.empty());
    ASSERT_EQ(line.result.results.size(), 2U);
    EXPECT_EQ(line.result.results[0].tag, "R/a");
    EXPECT_EQ(line.result.results[0].state, vobWritable);
    EXPECT_EQ(line.result.results[1].tag, "\xff");
    EXPECT_EQ(static_cast<int>(line.result.results[1].state), -5);
}

TEST(LineParserTest, MapsAreListsOfPairs) {
    const JournalLine drives =
        parsed(lineOf("getMvfsDrives", R"("arguments":{"drives":[]},"result":{"text":"M:",)"
                                       R"("drives":[["X:","one"],[{"hex":"80"},"two"]]})"));
    EXPECT_EQ(drives.result.text, "M:");
    EXPECT_EQ(drives.result.drives, (TextMap{{"X:", "one"}, {"\x80", "two"}}));
    const JournalLine info = parsed(
        lineOf("getProductInfo", R"("arguments":{"info":[["k","v"]]},"result":{"info":[]})"));
    EXPECT_EQ(info.arguments.info, (TextMap{{"k", "v"}}));
    EXPECT_TRUE(info.result.info.empty());
}

TEST(LineParserTest, AConnectionHasItsViewRootOrNone) {
    EXPECT_EQ(parsed(lineOf("connect", R"("arguments":{},"result":{"CLEARCASE_ROOT":"C:\\v",)"
                                       R"("library":"L","host":"H"})"))
                  .result.viewRoot,
              "C:\\v");
    EXPECT_EQ(parsed(lineOf("connect", R"("arguments":{},"result":{"CLEARCASE_ROOT":null})"))
                  .result.viewRoot,
              std::nullopt);
}

TEST(LineParserTest, ALossHasItsNumberAndReason) {
    const JournalLine line = parsed(lineOf(
        "lost", R"("arguments":{},"result":{"lines":18446744073709551615,"error":"disk full"})"));
    EXPECT_EQ(line.result.lines, 18446744073709551615U);
    EXPECT_EQ(line.result.error, "disk full");
}

TEST(LineParserTest, AnExceptionTakesThePlaceOfTheResult) {
    const JournalLine line =
        parsed(lineOf("startSession", R"("arguments":{},"exception":{"type":"std::runtime_error",)"
                                      R"("what":"No"})"));
    EXPECT_TRUE(line.failed);
    EXPECT_EQ(line.result.exceptionType, "std::runtime_error");
    EXPECT_EQ(line.result.what, "No");
}

TEST(LineParserTest, EveryOperationIsKnownByItsName) {
    const std::pair<const char*, const char*> rows[] = {
        {"getOutput", R"("text":"")"},
        {"getError", R"("text":"")"},
        {"clearMessages", ""},
        {"getViewTag", R"("text":"")"},
        {"startSession", ""},
        {"isReady", R"("ready":false)"},
        {"killConnection", ""},
        {"disconnect", ""},
        {"connect", R"("CLEARCASE_ROOT":null)"},
        {"lost", R"("lines":1,"error":"")"},
    };
    for (const auto& [name, result] : rows) {
        const JournalLine line =
            parsed(lineOf(name, std::string(R"("arguments":{},"result":{)") + result + "}"));
        EXPECT_EQ(operationName(line.operation), name);
    }
    EXPECT_EQ(operationNamed("none"), std::nullopt);
}

TEST(LineParserTest, FieldsThatTheFormatDoesNotHaveAreIgnored) {
    const JournalLine line = parsed(
        R"({"new":{"version":2,"arguments":[{},null,true,1.5,-1,5,"t",{"a":"b"}]},"version":1,"also":[[],{"a":null}],"process":1,)"
        R"("connection":1,"operation":"getViewTag","arguments":{"extra":[1,{"x":2}],"lines":-1,)"
        R"("more":null,"other":true,"number":5,"real":1.5},)"
        R"("result":{"text":{"hex":"ff","more":{"hex":1},"x":2,"y":"z"},"deep":{"text":1}},"end":0.5})");
    EXPECT_EQ(line.result.text, "\xff");
}

TEST(LineParserTest, FieldsOfAnotherOperationMayHaveAnyType) {
    const JournalLine line =
        parsed(lineOf("isReady", R"("arguments":{"path":5,"vobTags":{}},)"
                                 R"("result":{"ready":true,"text":[],"drives":[1],"type":"x"})"));
    EXPECT_TRUE(line.result.ready);
}

TEST(LineParserTest, DeepNestingIsIgnoredAsItIs) {
    const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
    EXPECT_TRUE(
        parsed(lineOf("isReady", R"("arguments":{"x":)" + deep + R"(},"result":{"ready":true})"))
            .result.ready);
    std::string objects;
    for (int i = 0; i < 10'000; ++i) {
        objects += R"({"arguments":)";
    }
    expectProblem(objects, LineProblem::notJson, "no JSON object");
}

TEST(LineParserTest, LongPathsAndAllBytesComeThrough) {
    const std::string path = "C:\\" + std::string(32'000, 'x');
    EXPECT_EQ(
        parsed(replaced(status, R"(C:\\a)", "C:\\\\" + std::string(32'000, 'x'))).arguments.path,
        path);
    std::string hex;
    std::string bytes;
    for (int i = 1; i < 256; ++i) {
        const std::string digits = "0123456789abcdef";
        hex += digits[static_cast<size_t>(i / 16)];
        hex += digits[static_cast<size_t>(i % 16)];
        bytes += static_cast<char>(i);
    }
    EXPECT_EQ(parsed(replaced(status, R"("C:\\a")", R"({"hex":")" + hex + "\"}")).arguments.path,
              bytes);
}

TEST(LineParserTest, WhatIsNoJsonObjectIsAProblem) {
    for (const std::string& text :
         {std::string("x"), std::string(), std::string("5"), std::string("[]"),
          std::string("\"a\""), status.substr(0, status.size() - 1), status + status, status + '\0',
          replaced(status, "old", "\xff"), std::string("null"), std::string("[{}]")}) {
        expectProblem(text, LineProblem::notJson, "no JSON object");
    }
}

TEST(LineParserTest, AnotherVersionIsAProblemBeforeAllOthers) {
    expectProblem(replaced(status, R"("version":1)", R"("version":2)"), LineProblem::otherVersion,
                  "version 2");
    expectProblem(R"({"version":2})", LineProblem::otherVersion, "version 2");
    expectProblem(R"({"version":1.5})", LineProblem::otherVersion, "version 1.5");
    expectField(R"({"version":"1"})", "'version' is missing or has a wrong type");
}

TEST(LineParserTest, AnUnknownOperationIsAProblem) {
    expectProblem(lineOf("fly", R"("arguments":{},"result":{})"), LineProblem::operation,
                  "unknown operation 'fly'");
}

TEST(LineParserTest, AFieldOfTheLineThatIsMissingIsNamed) {
    for (const char* const name : {"process", "connection", "operation", "version"}) {
        expectField(replaced(status, std::string("\"") + name + "\":", "\"x\":"),
                    std::string("'") + name + "' is missing or has a wrong type");
    }
    expectField(replaced(status, R"("process":12)", R"("process":-12)"),
                "'process' is missing or has a wrong type");
    expectField(replaced(status, R"("process":12)", R"("process":{"process":12})"),
                "'process' is missing or has a wrong type");
    expectField(replaced(status, R"("connection":2)", R"("connection":"2")"),
                "'connection' is missing or has a wrong type");
    expectField(replaced(status, R"("operation":"getElementStatus")", R"("operation":3)"),
                "'operation' is missing or has a wrong type");
}

TEST(LineParserTest, APartThatIsMissingIsNamed) {
    expectField(replaced(status, "\"arguments\"", "\"x\""), "getElementStatus lacks 'arguments'");
    expectField(replaced(status, "\"result\"", "\"x\""), "getElementStatus lacks 'result'");
    expectField(lineOf("isReady", R"("arguments":[],"result":{"ready":true})"),
                "isReady lacks 'arguments'");
}

TEST(LineParserTest, TheLinesOfTheJournalItselfHaveAResult) {
    for (const char* operation : {"connect", "disconnect", "lost"}) {
        expectField(lineOf(operation, R"("arguments":{},"exception":{"type":"t","what":"w"})"),
                    std::string(operation) + " lacks 'result'");
    }
}

TEST(LineParserTest, AFieldThatIsMissingIsNamed) {
    expectField(replaced(status, "\"path\"", "\"x\""), "getElementStatus lacks 'arguments.path'");
    expectField(replaced(status, "\"type\"", "\"x\""), "getElementStatus lacks 'result.type'");
    expectField(lineOf("isReady", R"("arguments":{},"exception":{"type":"t"})"),
                "isReady lacks 'exception.what'");
}

TEST(LineParserTest, AFieldOfAWrongTypeIsNamed) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {R"("C:\\a")", "5", "arguments.path"},
        {R"("C:\\a")", "[]", "arguments.path"},
        {R"("C:\\a")", "true", "arguments.path"},
        {R"("C:\\a")", "1.5", "arguments.path"},
        {R"("C:\\a")", R"({"hex":"0"})", "arguments.path"},
        {R"("C:\\a")", R"({"hex":"0g"})", "arguments.path"},
        {R"("C:\\a")", R"({"hex":"g0"})", "arguments.path"},
        {R"("C:\\a")", R"({"hex":"/0"})", "arguments.path"},
        {R"("C:\\a")", R"({"hex":"0A"})", "arguments.path"},
        {R"("C:\\a")", R"({"hex":5})", "arguments.path"},
        {R"("C:\\a")", R"({"hex":{"hex":"00"}})", "arguments.path"},
        {R"("C:\\a")", "{}", "arguments.path"},
        {R"("C:\\a")", R"({"hex":"4100"})", "arguments.path"},
        {R"("C:\\a")", R"("a\u0000b")", "arguments.path"},
        {R"("type":1)", R"("type":"1")", "result.type"},
        {R"("type":1)", R"("type":null)", "result.type"},
        {R"("type":1)", R"("type":2147483648)", "result.type"},
        {R"("type":1)", R"("type":-2147483649)", "result.type"},
        {R"("type":1)", R"("type":18446744073709551615)", "result.type"},
        {R"("type":1)", R"("type":1.0)", "result.type"},
        {R"("type":1)", R"("type":{})", "result.type"},
    };
    for (const auto& [part, by, field] : rows) {
        expectField(replaced(status, part, by),
                    std::string("getElementStatus has a wrong '") + field + "'");
    }
}

TEST(LineParserTest, ListsOfAWrongFormAreNamed) {
    for (const char* const tags : {"5", "null", "[5]", "[null]", "[true]", "[[]]", "{}", "[{}]"}) {
        expectField(lineOf("canonicalizeViewPath",
                           std::string(R"("arguments":{"cwd":"","path":"","vobTags":)") + tags +
                               R"(},"result":{"text":""})"),
                    "canonicalizeViewPath has a wrong 'arguments.vobTags'");
    }
    for (const char* const drives :
         {"{}", R"(["X:"])", R"([["X:"]])", R"([["X:","a","b"]])", R"([["X:",null]])",
          R"([["X:",5]])", "[5]", R"([{"X:":"a"}])"}) {
        expectField(lineOf("getMvfsDrives", std::string(R"("arguments":{"drives":)") + drives +
                                                R"(},"result":{"text":"","drives":[]})"),
                    "getMvfsDrives has a wrong 'arguments.drives'");
    }
    for (const char* const records :
         {"5", "[5]", R"([{"tag":"a"}])", R"([{"state":1}])", R"([{"tag":5,"state":1}])",
          R"([{"tag":"a","state":"1"}])", R"([{"tag":"a","state":2147483648}])", R"([[]])",
          R"([{"tag":"a","state":{}}])", R"([{"tag":[],"state":1}])"}) {
        expectField(lineOf("probeVobs", std::string(R"("arguments":{"root":"","results":)") +
                                            records + R"(},"result":{"results":[]})"),
                    "probeVobs has a wrong 'arguments.results'");
    }
}

TEST(LineParserTest, BinaryValuesWhichTextNeverHasAreRefused) {
    LineHandler handler;
    handler.begin();
    EXPECT_FALSE(handler.binary(std::string("a")));
}

TEST(LineParserTest, OnlyPointersCanBeNull) {
    expectField(lineOf("canonicalizeViewPath",
                       R"("arguments":{"cwd":"","path":null,"vobTags":[]},"result":{"text":""})"),
                "canonicalizeViewPath has a wrong 'arguments.path'");
    expectField(lineOf("getViewTag", R"("arguments":{},"result":{"text":null})"),
                "getViewTag has a wrong 'result.text'");
    EXPECT_EQ(parsed(replaced(status, R"("C:\\a")", "null")).arguments.path, std::nullopt);
}

}  // namespace
