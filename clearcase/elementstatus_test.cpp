#include "clearcase/elementstatus.h"

#include <utility>

#include <gtest/gtest.h>

namespace {

std::optional<ElementType> statusIn(const ElementTable& elements, const char* path,
                                    std::string* version, std::string* target) {
    return configuredStatus(ElementIndex(elements), path, version, target);
}

struct Answer {
    std::optional<ElementType> status;
    std::string version = "old version";
    std::string target = "old target";
};

Answer ask(const char* path, const ElementRecord& element) {
    Answer answer;
    answer.status = statusIn({{"C:\\d\\l", element}}, path, &answer.version, &answer.target);
    return answer;
}

TEST(ConfiguredStatusTest, AVersionHasTheFixedVersionAndNotTheConfiguredText) {
    for (const ElementType type : {elementVersion, elementDirectoryVersion}) {
        const Answer answer = ask("C:\\d\\l", {type, "/main/3"});
        EXPECT_EQ(answer.status, type);
        EXPECT_EQ(answer.version, "/main/0");
        EXPECT_EQ(answer.target, "old target");
    }
}

TEST(ConfiguredStatusTest, EveryOtherTypeIsGivenBackWithAnEmptyVersion) {
    for (const ElementType type :
         {elementUnexpected, elementNull, elementViewPrivate, elementViewDerived,
          elementDerivedObject, elementCheckedOutFile, elementCheckedOutDir}) {
        const Answer answer = ask("C:\\d\\l", {type, "x"});
        EXPECT_EQ(answer.status, type);
        EXPECT_EQ(answer.version, "");
        EXPECT_EQ(answer.target, "old target");
    }
}

TEST(ConfiguredStatusTest, ALinkIsResolvedAgainstTheParentAsTheCallerSpelledIt) {
    const struct {
        const char* path;
        const char* value;
        const char* target;
    } rows[] = {
        {"C:/d/./l", "x\\y", "C:/d/./x\\y"},
        {"C:\\d\\l", "x", "C:\\d/x"},
        {"C:\\d\\l", "D:\\e", "D:\\e"},
        {"C:\\d\\l", "\\e", "C:\\e"},
        {"C:\\d\\l", "..\\e", "C:\\d/..\\e"},
        {"C:\\d\\l\\", "x", "C:\\d\\l/x"},  // the parent of the text, with its trailing separator
        {"C:\\d\\l", "", "C:\\d"},
    };
    for (const auto& row : rows) {
        const Answer answer = ask(row.path, {elementSymbolicLink, row.value});
        EXPECT_EQ(answer.status, elementSymbolicLink) << row.path;
        EXPECT_EQ(answer.target, row.target) << row.path;
        EXPECT_EQ(answer.version, "") << row.path;
    }
}

TEST(ConfiguredStatusTest, ALinkWithoutATargetToWriteIsALinkWithAnEmptyVersion) {
    std::string version = "old";
    EXPECT_EQ(statusIn({{"C:\\d\\l", {elementSymbolicLink, "x"}}}, "C:\\d\\l", &version, nullptr),
              elementSymbolicLink);
    EXPECT_EQ(version, "");
}

TEST(ConfiguredStatusTest, APathWithoutASeparatorHasARelativeParent) {
    for (const auto& [value, expected] : {std::pair("x\\y", "./x\\y"), std::pair("\\e", "\\e")}) {
        std::string target;
        EXPECT_EQ(statusIn({{"C:\\l", {elementSymbolicLink, value}}}, "C:l", nullptr, &target),
                  elementSymbolicLink);
        EXPECT_EQ(target, expected);
    }
}

TEST(ConfiguredStatusTest, BothResultsMayBeNull) {
    EXPECT_EQ(statusIn({{"C:\\d\\l", {elementVersion, ""}}}, "C:/d/l", nullptr, nullptr),
              elementVersion);
}

TEST(ConfiguredStatusTest, AKeyThatIsAbsentHasNoStatusAndEmptiesTheVersion) {
    // The key is case-sensitive.
    const Answer answer = ask("c:/d/l", {elementSymbolicLink, "x\\y"});
    EXPECT_EQ(answer.status, std::nullopt);
    EXPECT_EQ(answer.version, "");
    EXPECT_EQ(answer.target, "old target");
}

TEST(ConfiguredStatusDeathTest, ARelativePathStopsTheProcess) {
    EXPECT_DEATH(ask("d/l", {}), "assertion failed at util/pathfun\\.cpp.*: absolute");
}

TEST(StatusOfFileTest, DirectoriesComeFirstAndThenReadOnlyFiles) {
    EXPECT_EQ(statusOfFile(true, false), elementDirectoryVersion);
    EXPECT_EQ(statusOfFile(true, true), elementDirectoryVersion);
    EXPECT_EQ(statusOfFile(false, true), elementVersion);
    EXPECT_EQ(statusOfFile(false, false), elementViewPrivate);
}

}  // namespace
