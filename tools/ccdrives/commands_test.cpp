#include "tools/ccdrives/commands.h"

#include <exception>
#include <stdexcept>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tools/ccdrives/drivelist.h"

namespace {

using namespace ccdrives;

using Texts = std::vector<std::string>;

/// A machine with another provider, and with a list of drives in memory.
class CommandsTest : public testing::Test {
protected:
    /// Returns the exit code, or -1 and the message in `mProblem`.
    int run(const Texts& arguments) {
        mPrinted.clear();
        mComplaints.clear();
        mProblem.clear();
        try {
            return ccdrives::run(parseCommandLine(arguments).request, machine());
        } catch (const std::exception& error) {
            mProblem = error.what();
            return -1;
        }
    }

    Machine machine() {
        return {.drivesFile = mFile,
                .readDrives =
                    [this](const std::string& file) {
                        EXPECT_EQ(file, mFile);
                        return mList;
                    },
                .editDrives =
                    [this](const std::string& file, const auto& edit) {
                        EXPECT_EQ(file, mFile);
                        ++mOpened;
                        mList = edit(mList);
                    },
                .readEntries =
                    [this] {
                        if (!mUnreadable.empty()) {
                            throw std::runtime_error(mUnreadable);
                        }
                        return mEntries;
                    },
                .requireAdministrator =
                    [this] {
                        if (!mIsAdministrator) {
                            throw std::runtime_error("you may not");
                        }
                    },
                .apply =
                    [this](const RegistryChanges& changes) {
                        mPrintedBefore = mPrinted;
                        if (!mFailure.empty()) {
                            throw std::runtime_error(mFailure);
                        }
                        mApplied.insert(mApplied.end(), changes.begin(), changes.end());
                    },
                .library = "C:\\p.dll",
                .isThere = [this](const std::string& path) { return path == mThere; },
                .isProvider = [this](const std::string& path) { return path == mProvider; },
                .print = [this](const std::string& text) { mPrinted += text; },
                .complain = [this](const std::string& text) { mComplaints.push_back(text); }};
    }

    void setInstalled() {
        mEntries.order = "RDPNP,NbclearcaseDrives";
        mEntries.hasService = mEntries.hasProvider = true;
        mEntries.name = viewProvider;
        mEntries.library = mEntries.libraryFile = "C:\\p.dll";
    }

    std::string mFile = "C:\\l.txt";
    std::string mList;
    int mOpened = 0;  ///< for an edit
    ProviderEntries mEntries{.hasOrderParentKey = true, .hasOrderKey = true, .order = "RDPNP"};
    bool mIsAdministrator = true;
    std::string mUnreadable;  ///< why the entries can't be read
    std::string mThere = "C:\\p.dll";
    std::string mProvider = "C:\\p.dll";
    std::string mFailure;  ///< of the changes

    RegistryChanges mApplied;
    std::string mPrinted;
    std::string mPrintedBefore;  ///< the changes
    Texts mComplaints;
    std::string mProblem;
};

constexpr const char* installText =
    "changes below HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet:\n"
    "  set Services\\NbclearcaseDrives\\NetworkProvider, Name: ClearCase Dynamic Views\n"
    "  set Services\\NbclearcaseDrives\\NetworkProvider, ProviderPath: C:\\p.dll\n"
    "  set Control\\NetworkProvider\\Order, ProviderOrder: RDPNP,NbclearcaseDrives (was: RDPNP)\n";

TEST_F(CommandsTest, InstallSaysWhatItChangesBeforeItDoes) {
    EXPECT_EQ(run({"install"}), exitDone) << mProblem;
    EXPECT_EQ(mPrintedBefore, installText);
    EXPECT_EQ(mPrinted,
              std::string(installText) +
                  "installed; programs that start from now on see the drives of the list\n");
    EXPECT_EQ(mApplied, changesToInstall(mEntries, "C:\\p.dll"));
}

TEST_F(CommandsTest, InstallAndRemoveAgainNeedNoAdministrator) {
    mIsAdministrator = false;
    EXPECT_EQ(run({"remove"}), exitDone) << mProblem;
    EXPECT_EQ(mPrinted, "not installed; nothing changes\n");
    setInstalled();
    EXPECT_EQ(run({"install"}), exitDone) << mProblem;
    EXPECT_EQ(mPrinted, "installed already; nothing changes\n");
    EXPECT_TRUE(mApplied.empty());
}

TEST_F(CommandsTest, RemoveSaysWhatItChangesBeforeItDoes) {
    setInstalled();
    EXPECT_EQ(run({"remove"}), exitDone) << mProblem;
    EXPECT_EQ(
        mPrintedBefore,
        "changes below HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet:\n"
        "  set Control\\NetworkProvider\\Order, ProviderOrder: RDPNP (was: "
        "RDPNP,NbclearcaseDrives)\n"
        "  remove Services\\NbclearcaseDrives\\NetworkProvider, ProviderPath (was: C:\\p.dll)\n"
        "  remove Services\\NbclearcaseDrives\\NetworkProvider, Name (was: ClearCase Dynamic "
        "Views)\n"
        "  remove Services\\NbclearcaseDrives\\NetworkProvider if nothing is in it\n"
        "  remove Services\\NbclearcaseDrives if nothing is in it\n");
    EXPECT_EQ(mPrinted, mPrintedBefore + "removed; the list of drives stays\n");
    EXPECT_EQ(mApplied, changesToRemove(mEntries));
}

TEST_F(CommandsTest, WithoutTheRightsNothingIsPrintedOrChanged) {
    mIsAdministrator = false;
    EXPECT_EQ(run({"install"}), -1);
    EXPECT_EQ(mProblem, "you may not");
    setInstalled();
    EXPECT_EQ(run({"remove"}), -1);
    EXPECT_EQ(mProblem, "you may not");
    EXPECT_EQ(mPrinted, "");
    EXPECT_TRUE(mApplied.empty());
}

TEST_F(CommandsTest, AProviderThatIsNotThereIsNotInstalled) {
    mThere = "";
    EXPECT_EQ(run({"install"}), -1);
    EXPECT_EQ(mProblem, "there is no provider 'C:\\p.dll'; name another by --library FILE");
    EXPECT_TRUE(mApplied.empty());
}

TEST_F(CommandsTest, AFileThatIsNoProviderIsNotInstalled) {
    mProvider = "";
    EXPECT_EQ(run({"install"}), -1);
    EXPECT_EQ(mProblem,
              "'C:\\p.dll' is no network provider of 64-bit programs; name another by --library "
              "FILE");
    EXPECT_EQ(mPrinted, "");
    EXPECT_TRUE(mApplied.empty());
}

TEST_F(CommandsTest, AServiceOfAnotherProgramIsNotTouched) {
    setInstalled();
    mEntries.name = "Other";
    EXPECT_EQ(run({"install"}), -1);
    EXPECT_EQ(mProblem,
              "the service NbclearcaseDrives is another program's: its provider is 'Other'; remove "
              "that program first, or what is left of it");
    EXPECT_EQ(mPrinted, "");
    EXPECT_EQ(run({"remove"}), exitDone) << mProblem;
    EXPECT_EQ(mPrinted, "not installed; nothing changes\n");
    EXPECT_TRUE(mApplied.empty());
}

TEST_F(CommandsTest, ChangesThatFailAreNotSaidToBeMade) {
    mFailure = "RegSetValueEx: no (5)";
    EXPECT_EQ(run({"install"}), -1);
    EXPECT_EQ(mProblem,
              "RegSetValueEx: no (5); give the command again, and it makes the changes that are "
              "missing");
    EXPECT_EQ(mPrinted, installText);
}

TEST_F(CommandsTest, ChangesInJsonAreObjects) {
    EXPECT_EQ(run({"install", "--json"}), exitDone) << mProblem;
    EXPECT_EQ(mPrinted,
              R"({"change":"set","key":"Services\\NbclearcaseDrives\\NetworkProvider",)"
              R"("value":"Name","text":"ClearCase Dynamic Views","before":null})"
              "\n"
              R"({"change":"set","key":"Services\\NbclearcaseDrives\\NetworkProvider",)"
              R"("value":"ProviderPath","text":"C:\\p.dll","before":null})"
              "\n"
              R"({"change":"set","key":"Control\\NetworkProvider\\Order",)"
              R"("value":"ProviderOrder","text":"RDPNP,NbclearcaseDrives","before":"RDPNP"})"
              "\n"
              R"({"installed":true,"changes":3})"
              "\n");
    setInstalled();
    mEntries.order = "NbclearcaseDrives";
    mEntries.created = orderKey;
    mEntries.name = mEntries.library = std::nullopt;
    mEntries.hasProvider = false;
    EXPECT_EQ(run({"remove", "--json"}), exitDone) << mProblem;
    EXPECT_EQ(mPrinted, R"({"change":"removeValue","key":"Control\\NetworkProvider\\Order",)"
                        R"("value":"ProviderOrder","text":null,"before":"NbclearcaseDrives"})"
                        "\n"
                        R"({"change":"removeKey","key":"Control\\NetworkProvider\\Order",)"
                        R"("value":null,"text":null,"before":null})"
                        "\n"
                        R"({"change":"removeValue","key":"Services\\NbclearcaseDrives",)"
                        R"("value":"OrderCreated","text":null,)"
                        R"("before":"Control\\NetworkProvider\\Order"})"
                        "\n"
                        R"({"change":"removeKey","key":"Services\\NbclearcaseDrives",)"
                        R"("value":null,"text":null,"before":null})"
                        "\n"
                        R"({"installed":false,"changes":4})"
                        "\n");
    mEntries = {};
    EXPECT_EQ(run({"remove", "--json"}), exitDone) << mProblem;
    EXPECT_EQ(mPrinted, "{\"installed\":false,\"changes\":0}\n");
}

TEST_F(CommandsTest, WhatTheRegistryHasCannotBreakALine) {
    mEntries.order = "a\nb";
    EXPECT_EQ(run({"install"}), exitDone) << mProblem;
    EXPECT_NE(mPrinted.find("ProviderOrder: a\\nb,NbclearcaseDrives (was: a\\nb)\n"),
              std::string::npos)
        << mPrinted;
}

TEST_F(CommandsTest, ListPrintsTheConnections) {
    setInstalled();
    mList = "m: | \\\\view\n- | | Other\n";
    EXPECT_EQ(run({"list"}), exitDone) << mProblem;
    EXPECT_EQ(mPrinted,
              "DRIVE  REMOTE NAME  PROVIDER\n"
              "m:     \\\\view       ClearCase Dynamic Views\n"
              "-      -            Other\n");
    EXPECT_EQ(mComplaints, Texts());
    EXPECT_EQ(run({"list", "--json"}), exitDone) << mProblem;
    EXPECT_EQ(mPrinted,
              R"({"drive":"m:","remoteName":"\\\\view","provider":"ClearCase Dynamic Views"})"
              "\n"
              R"({"drive":null,"remoteName":"","provider":"Other"})"
              "\n");
}

TEST_F(CommandsTest, AnEmptyListIsSaidToBeEmpty) {
    setInstalled();
    EXPECT_EQ(run({"list"}), exitDone) << mProblem;
    EXPECT_EQ(mPrinted, "no drive is connected\n");
    EXPECT_EQ(run({"list", "--json"}), exitDone) << mProblem;
    EXPECT_EQ(mPrinted, "");
}

TEST_F(CommandsTest, ListSaysWhyProgramsCannotSeeTheDrives) {
    mList = "m: | \\\\view\n";
    EXPECT_EQ(run({"list"}), exitUnseen);
    EXPECT_NE(mPrinted.find("m:"), std::string::npos) << mPrinted;
    EXPECT_EQ(mComplaints,
              (Texts{"programs can't see these drives: the provider isn't installed; run ccdrives "
                     "install as an administrator"}));
    setInstalled();
    mThere = "";
    EXPECT_EQ(run({"list"}), exitUnseen);
    EXPECT_EQ(mComplaints,
              (Texts{"programs can't see these drives: there is no provider 'C:\\p.dll'; run "
                     "ccdrives install as an administrator"}));
}

TEST_F(CommandsTest, TheProviderIsLookedForWhereItsPathLeads) {
    setInstalled();
    mEntries.library = "%tools%\\p.dll";
    EXPECT_EQ(run({"list"}), exitDone) << mProblem;
    EXPECT_EQ(mComplaints, Texts());
}

TEST_F(CommandsTest, EntriesThatCannotBeReadHideTheDrives) {
    mList = "m: | \\\\view\n";
    mUnreadable = "no; ask";
    EXPECT_EQ(run({"list"}), exitUnseen);
    EXPECT_NE(mPrinted.find("m:"), std::string::npos) << mPrinted;
    EXPECT_EQ(mComplaints, Texts{"programs can't see these drives: no; ask"});
}

TEST_F(CommandsTest, WithoutDrivesNoDriveIsSaidToBeHidden) {
    EXPECT_EQ(run({"list"}), exitUnseen);
    EXPECT_EQ(mPrinted, "no drive is connected\n");
    EXPECT_EQ(mComplaints,
              (Texts{"programs couldn't see drives of this list: the provider isn't installed; run "
                     "ccdrives install as an administrator"}));
}

TEST_F(CommandsTest, AListThatDoesNotOpenHidesTheDrives) {
    setInstalled();
    mList = "m: | \\\\view\nopen 0\n";
    EXPECT_EQ(run({"list"}), exitDone) << "0 is no error";
    mList = "m: | \\\\view\nopen 1200\n";
    EXPECT_EQ(run({"list"}), exitUnseen);
    EXPECT_EQ(mComplaints, Texts{"programs can't see these drives: the list has 'open 1200'; take "
                                 "that line out"});
}

TEST_F(CommandsTest, AFailureHidesTheDrivesBelowIt) {
    setInstalled();
    mList = "m: | \\\\view\nfail 1222\n";
    EXPECT_EQ(run({"list"}), exitDone) << "no drive is below it";
    mList = "m: | \\\\view\nfail 0\nx: | \\\\view\\a\n";
    EXPECT_EQ(run({"list"}), exitUnseen);
    EXPECT_EQ(mComplaints, Texts{"programs can't see these drives: 'fail 0' hides the drives from "
                                 "line 3 on; take it out of the list"});
    mList = "m: | \\\\view\nfail 1222\nfail 5\n# X\nx: | \\\\view\\a\ny: | \\\\view\\b\n";
    EXPECT_EQ(run({"list"}), exitUnseen);
    EXPECT_NE(mPrinted.find("y:"), std::string::npos) << mPrinted;
    EXPECT_EQ(mComplaints, Texts{"programs can't see these drives: 'fail 1222' hides the drives "
                                 "from line 5 on; take it out of the list"});
}

TEST_F(CommandsTest, OfALongLineAndAFailureTheFirstIsNamed) {
    setInstalled();
    mList = "a: | " + std::string(500, 'a') + "\nfail 5\nb: | c\n";
    EXPECT_EQ(run({"list"}), exitUnseen);
    EXPECT_EQ(mComplaints, Texts{"programs can't see these drives: line 1 is too long for the "
                                 "library; write a shorter tag"});
}

TEST_F(CommandsTest, TheFirstLineThatIsTooLongIsNamed) {
    setInstalled();
    // 485 characters with the drive and the name of the provider.
    const std::string longest = "a: | " + std::string(485 - 2 - 23, 'a');
    mList = longest + "\nbatch\nb: | c\n";
    EXPECT_EQ(run({"list"}), exitDone) << mComplaints.front();
    mList += longest + "a\n" + longest + "aa\n";
    EXPECT_EQ(run({"list"}), exitUnseen);
    EXPECT_EQ(mComplaints, Texts{"programs can't see these drives: line 4 is too long for the "
                                 "library; write a shorter tag"});
}

TEST_F(CommandsTest, TheLongestTagThatIsConnectedIsNotTooLong) {
    setInstalled();
    EXPECT_EQ(run({"connect", "x:", "\\\\view\\" + std::string(255, 'a')}), exitDone) << mProblem;
    EXPECT_EQ(run({"list"}), exitDone);
    EXPECT_EQ(run({"connect", "y:", "\\\\view\\" + std::string(256, 'a')}), -1);
    EXPECT_EQ(mProblem, "the view tag has 256 bytes; write one of at most 255");
}

TEST_F(CommandsTest, NamesAreCheckedBeforeTheListIsOpened) {
    mOpened = 0;
    EXPECT_EQ(run({"connect", "X", "\\\\view"}), -1);
    EXPECT_EQ(run({"connect", "X:", "view"}), -1);
    EXPECT_EQ(run({"disconnect", "X"}), -1);
    EXPECT_EQ(mOpened, 0);
}

TEST_F(CommandsTest, DrivesAreConnectedAndDisconnected) {
    EXPECT_EQ(run({"connect", "m:", "\\\\view"}), exitDone) << mProblem;
    EXPECT_EQ(mPrinted, "M: is connected with \\\\view\n");
    EXPECT_EQ(connectionsOf(parseDriveList(mList)).size(), 1U);
    EXPECT_EQ(run({"connect", "M:", "\\\\view"}), exitDone) << mProblem;
    EXPECT_EQ(mPrinted, "M: is connected with \\\\view already\n");
    EXPECT_EQ(run({"disconnect", "m:"}), exitDone) << mProblem;
    EXPECT_EQ(mPrinted, "M: is disconnected\n");
    EXPECT_EQ(connectionsOf(parseDriveList(mList)).size(), 0U);
    EXPECT_EQ(run({"disconnect", "m:"}), exitDone) << mProblem;
    EXPECT_EQ(mPrinted, "M: isn't connected; nothing changes\n");
}

TEST_F(CommandsTest, ConnectingInJsonIsAnObject) {
    EXPECT_EQ(run({"connect", "x:", "\\\\view\\a", "--json"}), exitDone) << mProblem;
    EXPECT_EQ(mPrinted,
              "{\"drive\":\"X:\",\"remoteName\":\"\\\\\\\\view\\\\a\",\"changed\":true}\n");
    EXPECT_EQ(run({"connect", "x:", "\\\\view\\a", "--json"}), exitDone) << mProblem;
    EXPECT_EQ(mPrinted,
              "{\"drive\":\"X:\",\"remoteName\":\"\\\\\\\\view\\\\a\",\"changed\":false}\n");
    EXPECT_EQ(run({"disconnect", "x:", "--json"}), exitDone) << mProblem;
    EXPECT_EQ(mPrinted, "{\"drive\":\"X:\",\"remoteName\":null,\"changed\":true}\n");
    EXPECT_EQ(run({"disconnect", "x:", "--json"}), exitDone) << mProblem;
    EXPECT_EQ(mPrinted, "{\"drive\":\"X:\",\"remoteName\":null,\"changed\":false}\n");
}

TEST_F(CommandsTest, WhatCannotBeConnectedIsNotPrinted) {
    mList = "x: | \\\\view\\a\n";
    EXPECT_EQ(run({"connect", "X:", "\\\\view\\b"}), -1);
    EXPECT_EQ(mProblem, "X: is connected with \\\\view\\a; disconnect it first");
    EXPECT_EQ(mPrinted, "");
    EXPECT_EQ(mList, "x: | \\\\view\\a\n");
}

TEST_F(CommandsTest, ABadLineIsNamedWithItsFile) {
    mList = "# x\nx:\n";
    const std::string problem =
        "C:\\l.txt:2: 'x:' can't be understood; write DRIVE | REMOTENAME, or # before a comment, "
        "in UTF-8";
    for (const Texts& arguments :
         {Texts{"list"}, Texts{"connect", "X:", "\\\\view"}, Texts{"disconnect", "X:"}}) {
        EXPECT_EQ(run(arguments), -1);
        EXPECT_EQ(mProblem, problem);
    }
}

TEST_F(CommandsTest, WithoutAPlaceForTheListNothingIsDone) {
    mFile = "";
    for (const Texts& arguments :
         {Texts{"list"}, Texts{"connect", "X:", "\\\\view"}, Texts{"disconnect", "X:"}}) {
        EXPECT_EQ(run(arguments), -1);
        EXPECT_EQ(mProblem,
                  "there is no folder APPDATA for the list of drives; name a file by "
                  "NBCLEARCASE_DRIVES");
    }
}

}  // namespace
