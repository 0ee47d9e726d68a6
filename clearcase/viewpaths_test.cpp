#include "clearcase/viewpaths.h"

#include <atomic>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <thread>

#include <gtest/gtest.h>

#include "testing/scopes/cygwinscope.h"

namespace {

using Tags = std::vector<std::string>;
using Drives = std::map<std::string, std::string>;

/// No other thread uses the cache meanwhile.
RootCache::Routes& routesOf(RootCache& cache) NB_NO_THREAD_SAFETY_ANALYSIS { return cache.routes; }

/// The drives that most tests use, and what a call changes.
class CanonicalizeViewPathTest : public testing::Test {
protected:
    std::string canonical(const std::string& path, const Tags& tags,
                          const std::string& cwd = "D:\\w") {
        const DriveLetters letters(mViewDrives);
        RootCache cache;
        routesOf(cache) = routesOf(mCache);
        std::ostringstream errors;
        const std::string byLetters =
            canonicalizeViewPath({mMvfsRoot, mViewDrives, letters}, cache, cwd, path, tags, errors);
        std::string result =
            canonicalizeViewPath({mMvfsRoot, mViewDrives}, mCache, cwd, path, tags, mErrors);
        EXPECT_EQ(byLetters, result);
        EXPECT_EQ(routesOf(cache), routesOf(mCache));
        return result;
    }

    void TearDown() override { EXPECT_EQ(mErrors.str(), mExpectedErrors); }

    std::string mMvfsRoot = "M:";
    Drives mViewDrives = {{"X:", "tag1"}};
    RootCache mCache;
    std::ostringstream mErrors;
    std::string mExpectedErrors;
};

using CanonicalizeViewPathDeathTest = CanonicalizeViewPathTest;

TEST_F(CanonicalizeViewPathTest, ARelativePathIsTakenAgainstTheDirectoryAndTidied) {
    EXPECT_EQ(canonical("a\\..\\b.c", {}, "C:\\w"), "C:/w/b.c");
    EXPECT_EQ(canonical("", {}, "C:\\w\\"), "C:/w");
}

TEST_F(CanonicalizeViewPathTest, OnlyTheFirstLetterOfAnAbsolutePathChanges) {
    EXPECT_EQ(canonical("c:\\src\\a.c", {}), "C:/src/a.c");
    EXPECT_EQ(canonical("c:/Src//./A.c/", {}), "C:/Src/A.c");
    EXPECT_EQ(canonical("c:x", {}), "C:/x");
}

TEST_F(CanonicalizeViewPathTest, APathWithALeadingSeparatorFollowsTheDriveOfTheDirectory) {
    EXPECT_EQ(canonical("\\src\\a.c", {}, "D:\\w"), "D:/src/a.c");
    EXPECT_EQ(canonical("/src/a.c", {}, "d:/w"), "D:/src/a.c");
}

TEST_F(CanonicalizeViewPathTest, AUncPathLosesItsMeaning) {
    EXPECT_EQ(canonical("\\\\srv\\sh\\a.c", {}, "D:\\w"), "D:/srv/sh/a.c");
    EXPECT_EQ(canonical("//srv/sh/a.c", {}, "D:\\w"), "D:/srv/sh/a.c");
}

TEST_F(CanonicalizeViewPathTest, ADirectoryOnAShareIsFollowedByItsOwnSeparators) {
    EXPECT_EQ(canonical("a", {}, "\\\\srv\\sh"), "//srv/sh/a");
    EXPECT_EQ(canonical("\\x\\y\\z", {}, "\\\\srv\\sh"), "//x/y/z");
}

TEST_F(CanonicalizeViewPathTest, APathOnTheMvfsDriveMovesToTheViewDriveOfItsTag) {
    EXPECT_EQ(canonical("M:\\tag1\\vob\\a.c", {"X:\\vob"}), "X:\\vob\\a.c");
}

TEST_F(CanonicalizeViewPathTest, AMovedPathIsTidyWhereTheTagIsNot) {
    EXPECT_EQ(canonical("X:\\vob\\a.c", {"M:tag1\\vob"}), "M:\\tag1\\vob\\a.c");
    mViewDrives["Y:"] = "t";
    EXPECT_EQ(canonical("Y:\\vob\\a.c", {"M:t\\vob"}), "M:\\t\\vob\\a.c");
}

TEST_F(CanonicalizeViewPathTest, AMovedPathThatEndsInAColonGetsABackslash) {
    EXPECT_EQ(canonical("X:\\vob\\b:\\..\\c:", {"M:\\tag1\\vob"}), "M:\\tag1\\vob\\c:\\");
}

TEST_F(CanonicalizeViewPathTest, APathOnAViewDriveMovesToTheMvfsDriveOfItsTag) {
    EXPECT_EQ(canonical("X:\\vob\\a.c", {"M:\\tag1\\vob"}), "M:\\tag1\\vob\\a.c");
    EXPECT_EQ(canonical("x:/vob/./b/../a.c", {"m:/tag1/vob"}), "M:\\tag1\\vob\\a.c");
}

TEST_F(CanonicalizeViewPathTest, ATagInLowerCaseAndForwardSlashesIsTheSameRoot) {
    EXPECT_EQ(canonical("X:\\vob\\a.c", {"m:/tag1/vob"}), "M:\\tag1\\vob\\a.c");
    EXPECT_EQ(routesOf(mCache), (RootCache::Routes{{"M:\\tag1", "X:"}}));
    EXPECT_EQ(canonical("m:/tag1/vob/a.c", {"x:/vob"}), "X:\\vob\\a.c");
    EXPECT_EQ(routesOf(mCache), (RootCache::Routes{{"M:\\tag1", "X:"}, {"X:", "M:/tag1"}}));
}

TEST_F(CanonicalizeViewPathTest, APathThatIsMovedAndBackIsWhereItWas) {
    const std::string moved = canonical("X:\\vob\\a.c", {"M:\\tag1\\vob"});
    EXPECT_EQ(canonical(moved, {"X:\\vob"}), "X:\\vob\\a.c");
}

TEST_F(CanonicalizeViewPathTest, TheRootItselfMovesToo) {
    EXPECT_EQ(canonical("X:\\", {"M:\\tag1\\vob"}), "M:\\tag1");
    EXPECT_EQ(canonical("M:\\tag1", {"X:\\vob"}), "X:\\");
}

TEST_F(CanonicalizeViewPathTest, APathThatLiesInARootStaysInForwardSlashes) {
    EXPECT_EQ(canonical("m:\\TAG1\\vob\\a.c", {"M:\\tag1\\vob"}), "M:/TAG1/vob/a.c");
    EXPECT_EQ(canonical("x:\\vob\\a.c", {"X:\\vob"}), "X:/vob/a.c");
    EXPECT_TRUE(routesOf(mCache).empty());
}

TEST_F(CanonicalizeViewPathTest, AnyRootThatHoldsThePathComesBeforeAnyMove) {
    EXPECT_EQ(canonical("X:\\vob\\a.c", {"M:\\tag1\\vob", "x:\\vob"}), "X:/vob/a.c");
}

TEST_F(CanonicalizeViewPathTest, ARootWithoutAnotherRouteIsCachedAsSuch) {
    EXPECT_EQ(canonical("X:\\vob\\a.c", {"M:\\tag2\\vob"}), "X:/vob/a.c");
    EXPECT_EQ(routesOf(mCache), (RootCache::Routes{{"M:\\tag2", ""}}));
}

TEST_F(CanonicalizeViewPathTest, ACachedRouteIsUsedEvenIfTheDrivesHaveChanged) {
    routesOf(mCache) = {{"M:\\tag2", "X:"}};
    EXPECT_EQ(canonical("X:\\vob\\a.c", {"M:\\tag2\\vob"}), "M:\\tag2\\vob\\a.c");
    routesOf(mCache) = {{"M:\\tag1", ""}};
    EXPECT_EQ(canonical("X:\\vob\\a.c", {"M:\\tag1\\vob"}), "X:/vob/a.c");
}

TEST_F(CanonicalizeViewPathTest, TheCacheHasOneEntryForEachRootAndKeepsIt) {
    mViewDrives["Y:"] = "tag2";
    const Tags tags = {"M:\\tag1\\a", "m:/tag1/b", "M:\\tag2\\c"};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(canonical("Y:\\c\\x", tags), "M:\\tag2\\c\\x");
    }
    EXPECT_EQ(routesOf(mCache), (RootCache::Routes{{"M:\\tag1", "X:"}, {"M:\\tag2", "Y:"}}));
}

TEST_F(CanonicalizeViewPathTest, SeveralTagsOfOneViewDoNotHideThoseOfTheNext) {
    mViewDrives["Y:"] = "tag2";
    const Tags onMvfs = {"M:\\tag1\\a", "M:\\tag1\\b", "M:\\tag1", "M:\\tag2\\c", "M:\\tag2\\d"};
    EXPECT_EQ(canonical("X:\\b\\x", onMvfs), "M:\\tag1\\b\\x");
    EXPECT_EQ(canonical("Y:\\d\\x", onMvfs), "M:\\tag2\\d\\x");
    EXPECT_EQ(canonical("M:\\tag2\\d\\x", onMvfs), "M:/tag2/d/x");
    EXPECT_EQ(routesOf(mCache), (RootCache::Routes{{"M:\\tag1", "X:"}, {"M:\\tag2", "Y:"}}));
    routesOf(mCache).clear();
    const Tags onDrives = {"X:\\a", "X:\\b", "X:\\c", "Y:\\a", "Y:\\b"};
    EXPECT_EQ(canonical("M:\\tag2\\b\\x", onDrives), "Y:\\b\\x");
    EXPECT_EQ(canonical("Y:\\b\\x", onDrives), "Y:/b/x");
    EXPECT_EQ(routesOf(mCache), (RootCache::Routes{{"X:", "M:/tag1"}, {"Y:", "M:/tag2"}}));
}

TEST_F(CanonicalizeViewPathTest, ATagOnNoViewDriveAddsNoRoot) {
    EXPECT_EQ(canonical("X:\\vob\\a.c", {"Z:\\vob", "", "x", "vob\\x"}), "X:/vob/a.c");
    EXPECT_TRUE(routesOf(mCache).empty());
}

TEST_F(CanonicalizeViewPathTest, ATagOfTheBareMvfsDriveAddsNoRoot) {
    EXPECT_EQ(canonical("X:\\vob\\a.c", {"M:", "M:\\", "m:/"}), "X:/vob/a.c");
    EXPECT_TRUE(routesOf(mCache).empty());
}

TEST_F(CanonicalizeViewPathTest, TheFirstRootThatAppliesEndsTheWalk) {
    mViewDrives["Y:"] = "tag1";
    // If two drives are mapped to one view, the first is the other route of the view's folder.
    EXPECT_EQ(canonical("X:\\vob\\a.c", {"M:\\tag1\\vob", "Z:\\vob"}), "M:\\tag1\\vob\\a.c");
    EXPECT_EQ(canonical("Y:\\vob\\a.c", {"M:\\tag1\\vob"}), "Y:/vob/a.c");
    EXPECT_EQ(canonical("M:\\tag1\\vob\\a.c", {"Y:\\vob", "X:\\vob"}), "Y:\\vob\\a.c");
}

TEST_F(CanonicalizeViewPathTest, AViewTagIsComparedWithItsCase) {
    EXPECT_EQ(canonical("X:\\vob\\a.c", {"M:\\TAG1\\vob"}), "X:/vob/a.c");
}

TEST_F(CanonicalizeViewPathTest, ThePathIsComparedWithoutItsCase) {
    EXPECT_EQ(canonical("m:\\TAG1\\Vob\\A.c", {"X:\\vob"}), "X:\\Vob\\A.c");
}

TEST_F(CanonicalizeViewPathTest, WithoutDrivesEveryPathIsOnlyTidied) {
    mMvfsRoot.clear();
    mViewDrives.clear();
    EXPECT_EQ(canonical("X:\\vob\\a.c", {"M:\\tag1\\vob", "X:\\vob", ""}), "X:/vob/a.c");
    EXPECT_EQ(canonical("M:\\tag1\\vob\\a.c", {"X:\\vob"}), "M:/tag1/vob/a.c");
    EXPECT_TRUE(routesOf(mCache).empty());
}

TEST_F(CanonicalizeViewPathTest, WithoutAnMvfsDriveAViewDriveHasNoOtherRoute) {
    mMvfsRoot.clear();
    EXPECT_EQ(canonical("X:\\vob\\a.c", {"X:\\vob"}), "X:/vob/a.c");
    mViewDrives["Y:"] = "tag2";
    EXPECT_EQ(canonical("X:\\vob\\a.c", {"Y:\\vob", "M:\\tag1"}), "X:/vob/a.c");
    EXPECT_EQ(routesOf(mCache), (RootCache::Routes{{"Y:", "tag2"}}))
        << "the view's tag after nothing";
}

TEST_F(CanonicalizeViewPathTest, ARestThatIsAbsoluteByItselfIsTheWholePath) {
    EXPECT_EQ(canonical("X:\\b:c\\d", {"M:\\tag1\\vob"}), "b:\\c\\d");
}

TEST_F(CanonicalizeViewPathTest, ADriveOfTwoLettersIsARootInUpperCase) {
    mViewDrives = {{"AB", "tag2"}, {"X:", "tag1"}};
    EXPECT_EQ(canonical("X:\\a", {"ab\\vob"}), "X:/a");
    EXPECT_EQ(routesOf(mCache), (RootCache::Routes{{"AB", "M:/tag2"}}));
    routesOf(mCache).clear();
    EXPECT_EQ(canonical("X:\\a", {"Ab\\vob"}), "X:/a");
    EXPECT_EQ(routesOf(mCache), (RootCache::Routes{{"AB", "M:/tag2"}}));
}

TEST_F(CanonicalizeViewPathTest, AnEmptyViewTagMeansTheMvfsDriveItself) {
    mViewDrives = {{"X:", ""}};
    EXPECT_EQ(canonical("M:\\tag\\a.c", {"X:\\vob"}), "X:\\tag\\a.c");
}

TEST_F(CanonicalizeViewPathTest, APathOf32000CharactersIsMoved) {
    std::string below;
    while (below.size() < 32000) {
        below += "\\component";
    }
    EXPECT_EQ(canonical("X:" + below, {"M:\\tag1\\vob"}), "M:\\tag1" + below);
}

TEST_F(CanonicalizeViewPathTest, PathsThatEndOutsideTheViewsOrInsideARootTakeNoLock) {
    // The lock isn't recursive: a call that took it would never return.
    const MutexLock lock(mCache.lock);
    EXPECT_EQ(canonical("C:\\a", {"X:\\vob"}), "C:/a");
    EXPECT_EQ(canonical("X:\\a", {"X:\\vob"}), "X:/a");
}

/// A root on a share, whose spelling only one of the two comparisons recognises.
class DisagreementTest : public CanonicalizeViewPathTest {
protected:
    DisagreementTest() {
        mMvfsRoot = "//";
        mViewDrives = {{"X:", "srv\\sh"}};
    }
};

TEST_F(DisagreementTest, ARootThatThePathIsInAndNotRelativeToIsReported) {
    mExpectedErrors = "Couldn't make //srv/sh/x relative to //srv\\sh!\n";
    EXPECT_EQ(canonical("x", {"X:\\vob"}, "//srv/sh"), "\\\\srv\\sh\\x");
}

/// Refuses to take a character, and records whether a lock is held then.
class Refusal : public std::streambuf {
public:
    explicit Refusal(Mutex& lock) : mLock(lock) {}
    bool lockWasHeld() const { return mLockWasHeld; }

protected:
    int_type overflow(int_type) override {
        mLockWasHeld = !mLock.tryLock();
        throw std::runtime_error("full");
    }

private:
    Mutex& mLock;
    bool mLockWasHeld = false;
};

TEST_F(DisagreementTest, AnEmptyRouteIsNotLookedInto) {
    routesOf(mCache) = {{"X:", ""}};
    EXPECT_EQ(canonical("x", {"X:\\vob"}, "//srv/sh"), "//srv/sh/x");
}

TEST_F(DisagreementTest, TheLockIsHeldToTheEndAndAnExceptionLeavesItFree) {
    Refusal refusal(mCache.lock);
    std::ostream errors(&refusal);
    errors.exceptions(std::ios::badbit);
    EXPECT_THROW(static_cast<void>(canonicalizeViewPath({mMvfsRoot, mViewDrives}, mCache,
                                                        "//srv/sh", "x", {"X:\\v"}, errors)),
                 std::runtime_error);
    EXPECT_TRUE(refusal.lockWasHeld());
    const bool isFree = mCache.lock.tryLock();
    EXPECT_TRUE(isFree);
    if (isFree) {
        mCache.lock.unlock();
    }
}

TEST_F(CanonicalizeViewPathTest, ThreadsShareOneCache) {
    for (char drive = 'N'; drive <= 'W'; ++drive) {
        mViewDrives[std::string(1, drive) + ":"] = std::string("view") + drive;
    }
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            std::ostringstream errors;
            for (char drive = 'N'; drive <= 'W'; ++drive) {
                const std::string folder = std::string("M:\\view") + drive;
                const std::string moved = canonicalizeViewPath(
                    {mMvfsRoot, mViewDrives}, mCache, "C:\\", std::string(1, drive) + ":\\vob\\a.c",
                    {folder + "\\vob"}, errors);
                wrong += moved == folder + "\\vob\\a.c" ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(routesOf(mCache).size(), 10U);
}

TEST_F(CanonicalizeViewPathDeathTest, ARelativePathWithARelativeDirectoryStopsTheProcess) {
    const char* const absolute = "assertion failed at util/pathfun\\.cpp.*: absolute";
    EXPECT_DEATH(canonical("a", {}, "w"), absolute);
    EXPECT_DEATH(canonical("a", {}, ""), absolute);
    EXPECT_DEATH(canonical("", {}, ""), absolute);
    EXPECT_DEATH(canonical("\\a", {}, "w"), absolute);
}

TEST_F(CanonicalizeViewPathDeathTest, APathOfCygwinStopsTheProcess) {
    // Its slashes become backslashes before it is checked to be absolute.
    const testing_support::CygwinScope cygwin;
    EXPECT_DEATH(canonical("a", {}, "/cygdrive/c"),
                 "assertion failed at util/pathfun\\.cpp.*: absolute");
}

TEST_F(CanonicalizeViewPathTest, AnEmptyTagIsTheRootOfAConnectionWithoutALocalName) {
    mViewDrives[""] = "tag2";
    EXPECT_EQ(canonical("M:\\tag1\\vob\\a.c", {"", "X:\\vob"}), "X:\\vob\\a.c");
    EXPECT_EQ(routesOf(mCache), (RootCache::Routes{{"", "M:/tag2"}, {"X:", "M:/tag1"}}));
    EXPECT_EQ(canonical("X:\\vob\\a.c", {""}), "X:/vob/a.c");
    mMvfsRoot.clear();
    EXPECT_EQ(canonical("X:\\vob\\a.c", {""}), "X:/vob/a.c") << "it has no second component";
}

TEST_F(CanonicalizeViewPathTest, TagsThatOnlyBeginAlikeHaveTheirOwnRoots) {
    mViewDrives = {{"X:", "tag1"}, {"Y:", "tag10"}, {"Z:", "tag2"}};
    const Tags tags = {"M:\\tag1", "M:\\tag10\\b", "C:\\other", "M:/tag10/c", "M:\\tag2/d"};
    EXPECT_EQ(canonical("Y:\\b\\a.c", tags), "M:\\tag10\\b\\a.c");
    EXPECT_EQ(canonical("Z:\\d\\a.c", tags), "M:\\tag2\\d\\a.c");
    EXPECT_EQ(routesOf(mCache).size(), 3U);
}

TEST_F(CanonicalizeViewPathTest, ATagThatBeginsLikeTheOneBeforeItIsOnAViewOfItsOwn) {
    mViewDrives = {{"X:", "view1"}, {"Y:", "view12"}};
    const Tags longerNext = {"M:\\view1\\vob", "M:\\view12\\vob"};
    EXPECT_EQ(canonical("Y:\\vob\\a.c", longerNext), "M:\\view12\\vob\\a.c");
    EXPECT_EQ(canonical("M:\\view12\\vob\\a.c", longerNext), "M:/view12/vob/a.c");
    EXPECT_EQ(routesOf(mCache), (RootCache::Routes{{"M:\\view1", "X:"}, {"M:\\view12", "Y:"}}));
    const Tags shorterNext = {"M:\\view12\\vob", "M:\\view1"};
    EXPECT_EQ(canonical("X:\\vob\\a.c", shorterNext), "M:\\view1\\vob\\a.c");
}

TEST_F(CanonicalizeViewPathTest, ARootOfOneCharacterIsNotTheRootOfALongerTag) {
    mMvfsRoot = "\\\\";
    mViewDrives = {{"\\", "t"}, {"Y:", "v"}};
    EXPECT_EQ(canonical("Y:\\vob\\a.c", {"\\", "\\\\srv\\sh\\v"}), "\\\\srv\\sh\\v\\vob\\a.c");
}

TEST_F(CanonicalizeViewPathTest, TheCacheKnowsARootByItsSpellingWithBackslashes) {
    mViewDrives = {{"X/", "t"}};
    EXPECT_EQ(canonical("M:\\other", {"x/v"}), "M:/other");
    EXPECT_EQ(routesOf(mCache), (RootCache::Routes{{"X\\", "M:/t"}}));
}

TEST_F(CanonicalizeViewPathTest, AWholeMvfsDriveIsNoRootAlsoWhereItIsAViewDriveToo) {
    mViewDrives["M:"] = "tag1";
    EXPECT_EQ(canonical("X:\\vob", {"M:\\"}), "X:/vob");
    EXPECT_TRUE(routesOf(mCache).empty());
}

TEST_F(CanonicalizeViewPathDeathTest, APathThatMovesToAConnectionWithoutALocalNameStops) {
    mViewDrives[""] = "tag2";
    const char* const absolute = "assertion failed at util/pathfun\\.cpp.*: absolute";
    EXPECT_DEATH(canonical("M:\\tag2\\vob\\a.c", {""}), absolute);
    EXPECT_DEATH(canonical("M:\\tag2", {""}), absolute);
    mViewDrives = {{"\\", "t"}};
    EXPECT_DEATH(canonical("M:\\t\\srv\\x", {"\\"}), absolute);
}

}  // namespace
