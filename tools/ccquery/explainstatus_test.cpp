#include "tools/ccquery/explainstatus.h"

#include <map>
#include <random>
#include <sstream>

#include <gtest/gtest.h>

#include "clearcase/configuration.h"
#include "clearcase/elementstatus.h"

namespace {

using namespace ccquery;

using Texts = std::vector<std::string>;

/// The JSON of an answer.
Json answer(ElementType type, const std::string& version = "", const Json& target = nullptr) {
    const char* const names[] = {"unexpected",        "null",          "version",
                                 "directory_version", "symbolic_link", "view_private"};
    return {{"path", "not read"},
            {"type", type},
            {"typeName", names[type + 1]},
            {"version", version},
            {"target", target}};
}

const Json version = answer(elementVersion, "/main/0");
const Json viewPrivate = answer(elementViewPrivate);

/// What the explanations of most tests start from, and a disk.
class ExplainStatusTest : public testing::Test {
protected:
    Explanation explain(const std::string& path, const Json& answered) {
        const Explain explainer = statusExplainer(
            {.configName = "p.ini",
             .configText = mText,
             .viewRootPrefix = mPrefix,
             .look = [this](const std::string& file) -> std::optional<FileFacts> {
                 const auto found = mDisk.find(file);
                 return found == mDisk.end() ? std::nullopt : std::optional(found->second);
             }});
        return explainer(path, answered);
    }
    /// The lines of an explanation that agrees with the answer.
    Texts lines(const std::string& path, const Json& answered) {
        const Explanation result = explain(path, answered);
        EXPECT_TRUE(result.agrees);
        return result.lines;
    }
    Json record(const std::string& path, const Json& answered) {
        return explain(path, answered).record;
    }

    std::optional<std::string> mText = "[attrs]\n";
    std::string mPrefix;
    std::map<std::string, FileFacts> mDisk;
};

TEST_F(ExplainStatusTest, TheLineThatHasDecidedIsNamed) {
    mText = "; A file\n[attrs]\n  C:\\src\\main.c=/main/3*version \r\n";
    EXPECT_EQ(lines("c:/src\\x\\..\\main.c", viewPrivate)[0], "key: c:\\src\\main.c");
    EXPECT_EQ(
        lines("C:/src//main.c", version),
        (Texts{"key: C:\\src\\main.c", "decided by p.ini:3: C:\\src\\main.c=/main/3*version"}));
}

TEST_F(ExplainStatusTest, TheLineThatHasDecidedIsInTheJson) {
    mText = "[attrs]\nC:\\l=..\\t\n";
    const Json link = answer(elementSymbolicLink, "", "C:/..\\t");
    const Json expected = {
        {"key", "C:\\l"},
        {"decidedBy", "line"},
        {"line", {{"file", "p.ini"}, {"line", 2}, {"text", "C:\\l=..\\t"}}},
        {"matched", "path"},
        {"replaces", nullptr},
        {"answer",
         {{"type", 3}, {"typeName", "symbolic_link"}, {"version", ""}, {"target", "C:/..\\t"}}},
        {"agrees", true}};
    EXPECT_EQ(record("C:/l", link), expected);
}

TEST_F(ExplainStatusTest, ALineThatWasReplacedIsNamed) {
    mText = "[attrs]\nC:\\a=old\nC:\\a=x*version\n";
    EXPECT_EQ(lines("C:\\a", version), (Texts{"key: C:\\a", "decided by p.ini:3: C:\\a=x*version",
                                              "replaces p.ini:2: C:\\a=old"}));
    const Json replaced = {{"file", "p.ini"}, {"line", 2}, {"text", "C:\\a=old"}};
    EXPECT_EQ(record("C:\\a", version)["replaces"], replaced);
}

TEST_F(ExplainStatusTest, AnUnknownTypeIsNamed) {
    mText = "[attrs]\nC:\\a=x*Version\n";
    EXPECT_EQ(lines("C:\\a", answer(elementSymbolicLink, "", "C:/x")),
              (Texts{"key: C:\\a", "decided by p.ini:2: C:\\a=x*Version",
                     "'Version' is no type, and so makes it a link"}));
}

TEST_F(ExplainStatusTest, WithAViewRootItIsSaidWhichKeyHasMatched) {
    mPrefix = "M:\\view";
    mText = "[attrs]\nC:\\a=x*version\n";
    EXPECT_EQ(lines("C:\\a", version)[1],
              "decided by p.ini:2 by the normal form of its path: C:\\a=x*version");
    EXPECT_EQ(lines("M:/viewC:/a", version)[1],
              "decided by p.ini:2 by CLEARCASE_ROOT and its path as spelled: C:\\a=x*version");
    EXPECT_EQ(record("C:\\a", version)["matched"], "path");
    EXPECT_EQ(record("M:/viewC:/a", version)["matched"], "rootAndPath");
}

TEST_F(ExplainStatusTest, ALineMayReplaceTheSecondKeyOfAnother) {
    mPrefix = "M:\\view";
    mText = "[attrs]\nM:\\viewC:\\a=x\nC:\\a=x*version\n";
    EXPECT_EQ(lines("M:\\viewC:\\a", version)[2], "replaces p.ini:2: M:\\viewC:\\a=x");
}

TEST_F(ExplainStatusTest, WithoutALineTheFileDecides) {
    mDisk = {{"C:\\d", {.isDirectory = true, .isReadOnly = true}},
             {"C:\\r", {.isDirectory = false, .isReadOnly = true}},
             {"C:\\w", {.isDirectory = false, .isReadOnly = false}}};
    const auto expected = [](const std::string& key, const std::string& last) {
        return Texts{"key: " + key, "no line of p.ini has this key", last};
    };
    EXPECT_EQ(lines("C:\\d", answer(elementDirectoryVersion)),
              expected("C:\\d", "decided by the disk: it is a directory"));
    EXPECT_EQ(lines("C:\\r", answer(elementVersion)),
              expected("C:\\r", "decided by the disk: it is a file that is read-only"));
    EXPECT_EQ(lines("C:\\w", viewPrivate),
              expected("C:\\w", "decided by the disk: it is a file that is writable"));
    EXPECT_EQ(lines("C:\\n", viewPrivate),
              expected("C:\\n", "decided by the disk: nothing is there that can be opened"));
}

TEST_F(ExplainStatusTest, TheFileIsLookedForAsThePathIsSpelled) {
    mDisk = {{"C:/x/../r", {.isDirectory = false, .isReadOnly = true}}};
    EXPECT_EQ(lines("C:/x/../r", answer(elementVersion))[0], "key: C:\\r");
}

TEST_F(ExplainStatusTest, TheFileThatHasDecidedIsInTheJson) {
    mText = "[attrs]\nC:\\R=x\n";
    mDisk = {{"C:\\r", {.isDirectory = false, .isReadOnly = true}}};
    const Json expected = {
        {"key", "C:\\r"},
        {"config", "p.ini"},
        {"configIsRead", true},
        {"decidedBy", "file"},
        {"attribute", "read-only"},
        {"near",
         {{{"file", "p.ini"}, {"line", 2}, {"text", "C:\\R=x"}, {"why", "differs in case"}}}},
        {"answer", {{"type", 1}, {"typeName", "version"}, {"version", ""}, {"target", nullptr}}},
        {"agrees", true}};
    EXPECT_EQ(record("C:\\r", answer(elementVersion)), expected);
    EXPECT_EQ(record("C:\\none", viewPrivate)["decidedBy"], "nothing");
    EXPECT_EQ(record("C:\\none", viewPrivate)["near"], Json::array());
}

TEST_F(ExplainStatusTest, WithoutALineTheNearestAreNamed) {
    mText = "[attrs]\nD:\\src\\main.c=x*version\n# C:\\src\\main.c=x\nC:\\src\\mian.c=x\n";
    const Texts all = lines("C:\\src\\main.c", viewPrivate);
    EXPECT_EQ(Texts(all.begin() + 3, all.end()),
              (Texts{"near: p.ini:3: # C:\\src\\main.c=x (it is a comment)",
                     "near: p.ini:2: D:\\src\\main.c=x*version (is on drive D:)",
                     "near: p.ini:4: C:\\src\\mian.c=x (the name differs in one letter)"}));
}

TEST_F(ExplainStatusTest, AConfigurationThatCannotBeReadCountsAsEmpty) {
    mText.reset();
    EXPECT_EQ(lines("C:\\a", viewPrivate),
              (Texts{"key: C:\\a", "p.ini can't be read, and so counts as empty",
                     "decided by the disk: nothing is there that can be opened"}));
    EXPECT_EQ(record("C:\\a", viewPrivate)["configIsRead"], false);
}

TEST_F(ExplainStatusTest, AnotherAnswerOfTheLibraryIsReported) {
    mText = "[attrs]\nC:\\a=x*version\nC:\\l=t\n";
    const std::string end =
        ", but the library answers otherwise: it is another library, or a file has changed";
    for (const Json& other :
         {viewPrivate, answer(elementVersion), answer(elementVersion, "/main/1"),
          answer(elementVersion, "/main/0", "")}) {
        const Explanation result = explain("C:\\a", other);
        EXPECT_FALSE(result.agrees) << other;
        EXPECT_EQ(result.lines.back(), "that makes it version /main/0" + end);
        EXPECT_EQ(result.record["agrees"], false);
    }
    EXPECT_EQ(explain("C:\\l", viewPrivate).lines.back(),
              "that makes it symbolic_link to 'C:/t'" + end);
    EXPECT_EQ(explain("C:\\n", version).lines.back(), "that makes it view_private" + end);
}

TEST_F(ExplainStatusTest, ATypeWithoutANameIsAnotherAnswer) {
    Json other = viewPrivate;
    other["type"] = 42;
    other["typeName"] = nullptr;
    EXPECT_FALSE(explain("C:\\a", other).agrees);
}

TEST_F(ExplainStatusTest, APathEndsAtANullCharacterAsForTheLibrary) {
    mText = "[attrs]\nC:\\a=x*version\n";
    EXPECT_EQ(lines(std::string("C:\\a\0b", 6), version)[0], "key: C:\\a");
}

TEST_F(ExplainStatusTest, APathThatWouldStopTheProcessIsExplainedAndDoesNotStopIt) {
    const Explanation result = explain(std::string("\\\\srv\0\\sh", 9), viewPrivate);
    EXPECT_EQ(result.lines, Texts{"'\\\\srv' isn't absolute, which stops the process, but the "
                                  "library answers: it is another library"});
    EXPECT_FALSE(result.agrees);
    EXPECT_EQ(result.record, (Json{{"key", nullptr}, {"agrees", false}}));
}

TEST_F(ExplainStatusTest, ARelativePathInTheConfigurationIsPassedOver) {
    mText = "[attrs]\nrelative=x\nC:\\a=x*version\n";
    EXPECT_EQ(lines("C:\\a", version)[1], "decided by p.ini:3: C:\\a=x*version");
}

TEST_F(ExplainStatusTest, InRandomConfigurationsTheAnswerIsThatOfTheLibrary) {
    std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): reproducible
    const auto path = [&] {
        const char* const parts[] = {"C:\\", "C:/", "a", "B\\", "/", ".", "..\\", "M:\\v"};
        std::string text = "C:\\";
        for (size_t i = random() % 4; i != 0; --i) {
            text += parts[random() % std::size(parts)];
        }
        return text;
    };
    for (int i = 0; i < 3000; ++i) {
        mText = "[attrs]\n";
        for (size_t n = random() % 6; n != 0; --n) {
            const char* const values[] = {"=x*version\n", "=..\\t\n", "=D:\\t\n", "=*null\n",
                                          "=*no\n"};
            *mText += path() + values[random() % std::size(values)];
        }
        mPrefix = i % 2 == 0 ? "" : "C:\\";
        std::istringstream input(*mText);
        std::ostringstream errors;
        Configuration configuration;
        readConfiguration(input, mPrefix, configuration, errors);
        const std::string asked = path();
        Json expected = viewPrivate;
        std::string itsVersion;
        std::string target;
        const auto type =
            configuredStatus(configuration.index, asked.c_str(), &itsVersion, &target);
        if (type) {
            expected = answer(*type, itsVersion,
                              *type == elementSymbolicLink ? Json(target) : Json(nullptr));
        }
        const Explanation result = explain(asked, expected);
        ASSERT_TRUE(result.agrees) << *mText << asked << result.record;
        ASSERT_EQ(result.record["decidedBy"], type ? "line" : "nothing") << *mText << asked;
    }
}

}  // namespace
