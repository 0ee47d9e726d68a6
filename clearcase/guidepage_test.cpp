// The messages that docs/guide.md lists where it says why a host stops are those that are written.
// What only Windows can cause is compared where it is tested.

#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "clearcase/fakeanswers.h"
#include "clearcase/viewpaths.h"
#include "testing/describedmessage.h"
#include "testing/guidemessages.h"
#include "testing/page.h"
#include "testing/portablefake.h"

namespace {

using namespace testing_support;

const char* const page = "docs/guide.md";

/// What the call throws.
std::string refusalOf(PortableFake& fake, void (PortableFake::*operation)()) {
    try {
        (fake.*operation)();
    } catch (const std::runtime_error& refusal) {
        return refusal.what();
    }
    return "nothing was thrown";
}

TEST(GuidePageTest, TheTablesHaveEachMessageThatATestCompares) {
    const FakeWorld world;
    PortableFake fake("", world);
    const std::set<std::string> compared = {refusalOf(fake, &PortableFake::startSession),
                                            refusalOf(fake, &PortableFake::killConnection),
                                            guidemessages::notMoved,
                                            guidemessages::badDriveList,
                                            guidemessages::noDriveList,
                                            guidemessages::noSockets,
                                            guidemessages::noLookup,
                                            guidemessages::noJournal,
                                            guidemessages::noLibrary};
    std::set<std::string> described;
    std::optional<size_t> first;  // the table about assertions, which has no messages
    for (const PagePart& part : partsOf(pageText(page))) {
        if (part.kind != PagePart::Kind::row || part.section != "When the host stops") {
            continue;
        }
        first = first.value_or(part.table);
        if (part.table != *first && !part.cells.front().starts_with("none")) {
            described.insert(part.cells.front());
        }
    }
    EXPECT_EQ(described, compared);
}

TEST(GuidePageTest, AnAssertionIsTheLineThatIsShown) {
    EXPECT_NE(pageText(page).find('`' + std::string(guidemessages::assertion) + '`'),
              std::string::npos);
    EXPECT_TRUE(isAsDescribed("assertion failed at util/x.cpp(1): y\n", guidemessages::assertion));
    const FakeWorld world;
    EXPECT_DEATH(PortableFake("[attrs]\na=*version\n", world),
                 "assertion failed at util/pathfun\\.cpp.*: absolute");
}

TEST(GuidePageTest, APathThatIsNotMovedIsReportedAndComesBackWithBackslashes) {
    std::ostringstream errors;
    RootCache cache;
    EXPECT_EQ(canonicalizeViewPath({"//", {{"X:", "srv\\sh"}}}, cache, "//srv/sh", "a/../x",
                                   {"X:\\vob"}, errors),
              "\\\\srv\\sh\\x");
    EXPECT_TRUE(isAsDescribed(errors.str(), guidemessages::notMoved)) << errors.str();
}

}  // namespace
