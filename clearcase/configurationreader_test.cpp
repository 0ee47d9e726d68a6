#include "clearcase/configurationreader.h"

#include <sstream>
#include <vector>

#include <gtest/gtest.h>

namespace {

/// Writes down each call, without elements whose path begins with "no".
class Log {
public:
    void beginLine(std::string_view untrimmed, std::string_view line) {
        mText << '<' << untrimmed << "> <" << line << ">:";
    }
    void skipLine() { mText << " skipped\n"; }
    void enterSection(ConfigurationSection section) {
        mText << " section " << static_cast<int>(section) << '\n';
    }
    void ignoreLine() { mText << " ignored\n"; }
    void rejectLine() { mText << " rejected\n"; }
    void addVob(std::string_view tag, std::string_view flags) {
        mText << " vob <" << tag << "> <" << flags << ">\n";
    }
    bool takesPath(std::string_view path) {
        const bool isTaken = !path.starts_with("no");
        mText << " path <" << path << (isTaken ? ">" : "> dropped\n");
        return isTaken;
    }
    void replaceUnknownType(std::string_view name) { mText << " unknown <" << name << '>'; }
    void addElement(ElementType type, std::string_view value) {
        mText << " type " << type << " value <" << value << ">\n";
    }
    void storeKey(std::string_view key) { mText << "key <" << key << ">\n"; }

    [[nodiscard]] std::string text() const { return mText.str(); }

private:
    std::ostringstream mText;
};

struct Observed {
    Configuration configuration;
    std::string complaints;
    std::string log;
    std::string rest;  ///< what was returned
};

Observed observe(std::string_view text, const std::string& viewRootPrefix = "") {
    Observed result;
    std::ostringstream complaints;
    Log log;
    ConfigurationReader reader(viewRootPrefix, result.configuration, complaints, log);
    result.rest = reader.readLines(text);
    reader.finish();
    result.complaints = complaints.str();
    result.log = log.text();
    return result;
}

TEST(ConfigurationReaderTest, TheObserverLearnsWhatEachLineDoes) {
    EXPECT_EQ(observe("a=b\n\n; c\r\n[VOBS]\n t=ro, x \nbad\n[x]\n").log,
              "<a=b> <a=b>: ignored\n"
              "<> <>: skipped\n"
              "<; c\r> <; c>: skipped\n"
              "<[VOBS]> <[VOBS]>: section 1\n"
              "< t=ro, x > <t=ro, x>: vob <t> <ro, x>\n"
              "<bad> <bad>: rejected\n"
              "<[x]> <[x]>: section 0\n");
}

TEST(ConfigurationReaderTest, TheObserverLearnsWhatAnElementBecomes) {
    EXPECT_EQ(observe("[attrs]\nC:/a=x\nC:\\b=y*null\nC:\\c=z*no\nbad\n", "M:").log,
              "<[attrs]> <[attrs]>: section 2\n"
              "<C:/a=x> <C:/a=x>: path <C:/a> type 3 value <x>\n"
              "key <C:\\a>\nkey <M:C:/a>\n"
              "<C:\\b=y*null> <C:\\b=y*null>: path <C:\\b> type 0 value <y>\n"
              "key <C:\\b>\nkey <M:C:\\b>\n"
              "<C:\\c=z*no> <C:\\c=z*no>: path <C:\\c> unknown <no> type 3 value <z>\n"
              "key <C:\\c>\nkey <M:C:\\c>\n"
              "<bad> <bad>: rejected\n");
}

TEST(ConfigurationReaderTest, AnElementThatTheObserverDoesNotTakeLeavesNothing) {
    const Observed result = observe("[attrs]\nno=x*nonsense\nC:\\a=x\n");
    EXPECT_EQ(result.log,
              "<[attrs]> <[attrs]>: section 2\n"
              "<no=x*nonsense> <no=x*nonsense>: path <no> dropped\n"
              "<C:\\a=x> <C:\\a=x>: path <C:\\a> type 3 value <x>\n"
              "key <C:\\a>\n");
    EXPECT_EQ(result.complaints, "");
    EXPECT_EQ(result.configuration.elements.size(), 1U);
}

TEST(ConfigurationReaderTest, WhatNoLineFeedEndsIsReturnedAndNotRead) {
    EXPECT_EQ(observe("a\n[vobs]").rest, "[vobs]");
    EXPECT_EQ(observe("a\n[vobs]").log, "<a> <a>: ignored\n");
    EXPECT_EQ(observe("a\n").rest, "");
    EXPECT_EQ(observe("").rest, "");
}

TEST(ConfigurationReaderTest, TheTablesAreFilledWithAnObserverToo) {
    const Observed result = observe("[vobs]\na=ro\nbad\n[attrs]\nC:\\b=x\nC:\\a=y*null\n");
    ASSERT_EQ(result.configuration.vobs.size(), 1U);
    EXPECT_EQ(result.configuration.vobs[0].tag, "a");
    EXPECT_EQ(result.configuration.vobs[0].state, vobReadOnly);
    ASSERT_EQ(result.configuration.elements.size(), 2U);
    EXPECT_EQ(result.configuration.elements.at("C:\\a").type, elementNull);
    EXPECT_EQ(result.configuration.index.find("C:\\b")->value, "x");
    EXPECT_EQ(result.complaints, "Invalid line in [vobs]:  bad\n");
}

TEST(HasFlagTest, EachFlagIsAskedAboutUpToTheFirstThatIsWanted) {
    std::vector<std::string_view> asked;
    const auto isX = [&](std::string_view flag) {
        asked.push_back(flag);
        return flag == "x";
    };
    EXPECT_FALSE(hasFlag("a,,b ;c", isX));
    EXPECT_EQ(asked, (std::vector<std::string_view>{"a", "", "b", "", "c"}));
    asked.clear();
    EXPECT_TRUE(hasFlag("a,x,b", isX));
    EXPECT_EQ(asked, (std::vector<std::string_view>{"a", "x"}));
    asked.clear();
    EXPECT_FALSE(hasFlag("", isX));
    EXPECT_EQ(asked, std::vector<std::string_view>{""});
}

TEST(HasFlagTest, OnlyTheSmallLettersRoAreTheFlagOfAReadOnlyVob) {
    EXPECT_TRUE(isReadOnlyFlag("ro"));
    for (const char* flag : {"", "r", "RO", "roo", "rw", "ro "}) {
        EXPECT_FALSE(isReadOnlyFlag(flag)) << flag;
    }
}

}  // namespace
