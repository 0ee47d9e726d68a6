#include "tools/ccquery/check.h"

#include <gtest/gtest.h>

namespace {

using ccquery::check;
using ccquery::CheckResult;
using ccquery::exitAnswered;
using ccquery::exitComplaints;

TEST(CheckTest, AFileWithoutFindingsPrintsNothing) {
    for (const bool json : {false, true}) {
        const CheckResult result = check("a.ini", "[vobs]\n\\v=ro\n", "", json);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.exitCode, exitAnswered);
    }
}

TEST(CheckTest, FindingsArePrintedAsThoseOfACompiler) {
    const CheckResult result = check("dir/a.ini", "[vobs]\nbad\n[attrs]\nrel=x\n", "", false);
    EXPECT_EQ(result.output,
              "dir/a.ini:2:1: warning: there is no '=' in this line; write TAG=FLAGS [no-equals]\n"
              "dir/a.ini:4:1: error: the path 'rel' isn't absolute, and so this line stops the "
              "host; begin with a drive or with a server and a share [relative-path]\n");
    EXPECT_EQ(result.exitCode, exitComplaints);
}

TEST(CheckTest, ThePlaceAndTheSeverityArePainted) {
    const tools::Painter painter(true);
    const CheckResult result =
        check("a\x1b[m", "[vobs]\nbad\n[attrs]\n\x1b[0m=x\n", "", false, painter);
    EXPECT_EQ(
        result.output,
        "\x1b[1ma\\x1b[m:2:1:\x1b[0m \x1b[1;35mwarning:\x1b[0m there is no '=' in this line; "
        "write TAG=FLAGS [no-equals]\n"
        "\x1b[1ma\\x1b[m:4:1:\x1b[0m \x1b[1;31merror:\x1b[0m the path '\\x1b[0m' isn't "
        "absolute, and so this line stops the host; begin with a drive or with a server and a "
        "share [relative-path]\n");
    EXPECT_EQ(check("a", "[vobs]\nbad\n", "", true, painter).output.find('\x1b'),
              std::string::npos);
}

TEST(CheckTest, InJsonAFindingIsAnObjectALine) {
    const CheckResult result = check("a.ini", "[attrs]\nrel=x\n\x1a\na\n\nb\n", "", true);
    EXPECT_EQ(
        result.output,
        R"({"file":"a.ini","line":2,"lastLine":2,"column":1,"severity":"error",)"
        R"("name":"relative-path","text":"the path 'rel' isn't absolute, and so this line stops )"
        R"(the host; begin with a drive or with a server and a share","withoutEffect":false})"
        "\n"
        R"({"file":"a.ini","line":3,"lastLine":3,"column":1,"severity":"warning",)"
        R"("name":"ctrl-z","text":"Ctrl+Z ends the file here; take it out",)"
        R"("withoutEffect":false})"
        "\n"
        R"({"file":"a.ini","line":4,"lastLine":6,"column":1,"severity":"warning",)"
        R"("name":"after-ctrl-z","text":"nothing after the Ctrl+Z in line 3 is read; take that )"
        R"(out","withoutEffect":true})"
        "\n");
    EXPECT_EQ(result.exitCode, exitComplaints);
}

TEST(CheckTest, ControlCharactersAndInvalidBytesDoNotBreakTheOutput) {
    const std::string text = "[attrs]\na\x1b\r\xff=x\n";
    EXPECT_EQ(check("b\n\x07.ini", text, "", false).output,
              "b\\n\\x07.ini:2:1: error: the path 'a\\x1b\\r\xef\xbf\xbd' isn't absolute, and so "
              "this line stops the host; begin with a drive or with a server and a share "
              "[relative-path]\n");
    const std::string json = check("b\n.ini", text, "", true).output;
    EXPECT_EQ(json.find("{\"file\":\"b\\n.ini\","), 0U) << json;
    EXPECT_NE(json.find("'a\\u001b\\r\xef\xbf\xbd' "), std::string::npos) << json;
    EXPECT_EQ(json.find('\n'), json.size() - 1) << json;
}

}  // namespace
