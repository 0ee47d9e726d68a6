#include "tools/ccdrives/drivelist.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace ccdrives;

void expectConnection(const DriveConnection& connection,
                      const std::optional<std::string>& localName,
                      const std::optional<std::string>& remoteName,
                      const std::optional<std::string>& provider) {
    EXPECT_EQ(connection.localName, localName);
    EXPECT_EQ(connection.remoteName, remoteName);
    EXPECT_EQ(connection.provider, provider);
}

TEST(DriveListTest, AnEmptyTextHasNoBatchAndOpens) {
    const DriveList list = parseDriveList("");
    EXPECT_EQ(list.openError, 0U);
    EXPECT_TRUE(list.batches.empty());
}

TEST(DriveListTest, CommentsAndEmptyLinesAreIgnored) {
    EXPECT_TRUE(parseDriveList("# M: | \\\\view\n\n  \t\r\n  # x\n").batches.empty());
}

TEST(DriveListTest, AConnectionHasThreeFieldsWithoutTheBlanksAroundThem) {
    const DriveList list = parseDriveList("  M: |\\\\view\\a b|  Some Provider \r\n");
    ASSERT_EQ(list.batches.size(), 1U);
    ASSERT_EQ(list.batches[0].connections.size(), 1U);
    EXPECT_EQ(list.batches[0].error, 0U);
    expectConnection(list.batches[0].connections[0], "M:", "\\\\view\\a b", "Some Provider");
}

TEST(DriveListTest, WithoutAThirdFieldTheProviderIsTheOneOfTheViews) {
    const DriveList list = parseDriveList("x: | \\\\view\\tag1");
    ASSERT_EQ(list.batches.size(), 1U);
    expectConnection(list.batches[0].connections.at(0), "x:", "\\\\view\\tag1",
                     "ClearCase Dynamic Views");
}

TEST(DriveListTest, ADashIsANullPointerAndNothingIsAnEmptyText) {
    const DriveList list = parseDriveList("- | - | -\n||\n");
    ASSERT_EQ(list.batches.size(), 1U);
    ASSERT_EQ(list.batches[0].connections.size(), 2U);
    expectConnection(list.batches[0].connections[0], std::nullopt, std::nullopt, std::nullopt);
    expectConnection(list.batches[0].connections[1], "", "", "");
}

TEST(DriveListTest, ABatchLineEndsABatch) {
    const DriveList list = parseDriveList("a|b\nc|d\nbatch\ne|f\n");
    ASSERT_EQ(list.batches.size(), 2U);
    EXPECT_EQ(list.batches[0].connections.size(), 2U);
    EXPECT_EQ(list.batches[1].connections.size(), 1U);
}

TEST(DriveListTest, ABatchOfNothingIsNone) {
    EXPECT_EQ(parseDriveList("batch\na|b\nbatch\nbatch\n").batches.size(), 1U);
}

TEST(DriveListTest, AFailLineIsAnAnswerOfItsOwnAfterWhatComesAboveIt) {
    const DriveList list = parseDriveList("a|b\nfail 1222\nc|d\n");
    ASSERT_EQ(list.batches.size(), 3U);
    EXPECT_EQ(list.batches[0].connections.size(), 1U);
    EXPECT_EQ(list.batches[0].error, 0U);
    EXPECT_TRUE(list.batches[1].connections.empty());
    EXPECT_EQ(list.batches[1].error, 1222U);
    EXPECT_EQ(list.batches[2].connections.size(), 1U);
    EXPECT_EQ(list.batches[2].error, 0U);
}

TEST(DriveListTest, AnOpenLineGivesTheErrorOfOpening) {
    const DriveList list = parseDriveList("a|b\nopen 1200\n");
    EXPECT_EQ(list.openError, 1200U);
    EXPECT_EQ(list.batches.size(), 1U);
}

TEST(DriveListTest, ALineOfNoKnownFormIsAnErrorThatNamesIt) {
    for (const char* line : {"M:", "a|b|c|d", "open", "open x", "open 1x", "open -1", "fail 1 2",
                             "fail 4294967296", "batch 0", "close 1"}) {
        try {
            static_cast<void>(parseDriveList("# x\n \t" + std::string(line) + " \n"));
            ADD_FAILURE() << line;
        } catch (const DriveListError& error) {
            EXPECT_EQ(error.what(), "line 2: " + std::string(line));
            EXPECT_EQ(error.mLine, 2U);
            EXPECT_EQ(error.mText, line);
        }
    }
}

TEST(DriveListTest, ACarriageReturnInALineMakesItABadOne) {
    for (const std::string line : {"M: | \\\\view\rX: | \\\\view\\a", "# a\rM: | \\\\view", "a|b\r",
                                   "\r", "a|b\r\r\n", "\ra|b\n"}) {
        try {
            static_cast<void>(parseDriveList("a|b\r\n" + line));
            ADD_FAILURE() << line;
        } catch (const DriveListError& error) {
            EXPECT_EQ(error.mLine, 2U) << line;
        }
    }
}

TEST(DriveListTest, ATextThatIsNotUtf8IsABadLine) {
    const std::string inUtf16("\xff\xfeM\0:\0 \0|\0 \0v\0", 14);
    const std::string withNull("M: | \\\\view\0x", 13);
    for (const std::string& bad : {inUtf16, withNull, std::string("X: | \\\\view\\gr\xfcn")}) {
        EXPECT_THROW(static_cast<void>(parseDriveList("# x\n" + bad)), DriveListError);
        EXPECT_EQ(parseDriveList("#" + bad).batches.size(), 0U) << "a comment";
    }
}

TEST(DriveListTest, AByteOrderMarkBeforeTheTextIsIgnored) {
    const DriveList list = parseDriveList("\xef\xbb\xbf# x\nm: | \\\\view\n");
    ASSERT_EQ(list.batches.size(), 1U);
    expectConnection(list.batches[0].connections.at(0), "m:", "\\\\view",
                     "ClearCase Dynamic Views");
    EXPECT_TRUE(parseDriveList("\xef\xbb\xbf").batches.empty());
}

TEST(DriveListTest, ConnectionsKnowTheirLines) {
    const std::vector<DriveConnection> all =
        connectionsOf(parseDriveList("# x\na|b\r\nbatch\n\nfail 3\nc|d"));
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0].localName, "a");
    EXPECT_EQ(all[0].line, 2U);
    EXPECT_EQ(all[1].localName, "c");
    EXPECT_EQ(all[1].line, 6U);
}

TEST(ConnectionLineTest, TheLineIsParsedAsTheConnection) {
    const DriveConnection rows[] = {
        {"M:", "\\\\view", "ClearCase Dynamic Views"},
        {"z:", "\\\\server\\share", "Other Network"},
        {"", "", ""},
        {std::nullopt, std::nullopt, std::nullopt},
        {"a#", "b c", "-x"},
    };
    for (const DriveConnection& row : rows) {
        const std::optional<std::string> line = connectionLine(row);
        ASSERT_TRUE(line.has_value());
        const std::vector<DriveConnection> parsed = connectionsOf(parseDriveList(*line + "\r\n"));
        ASSERT_EQ(parsed.size(), 1U) << *line;
        EXPECT_EQ(parsed[0], row) << *line;
    }
    EXPECT_EQ(connectionLine(rows[0]), "M: | \\\\view");
    EXPECT_EQ(connectionLine(rows[1]), "z: | \\\\server\\share | Other Network");
}

TEST(ConnectionLineTest, SomeTextsHaveNoLine) {
    const DriveConnection rows[] = {
        {"X:", "\\\\view\\b\xfcro", viewProvider},
        {"a|b", "c", viewProvider},
        {"a|b", "c", "d"},
        {"#a", "b", "c"},
        {" a", "b", "c"},
        {"a", "b\t", "c"},
        {"a", "b", "c\r"},
        {"a", "b\nc", "d"},
        {"-", "b", "c"},
        {"a", "b\nc|d", viewProvider},
        {"a", "b", "-"},
        {"\xef\xbb\xbf"
         "a",
         "b", "c"},
    };
    for (const DriveConnection& row : rows) {
        EXPECT_EQ(connectionLine(row), std::nullopt) << *row.localName;
    }
}

}  // namespace
