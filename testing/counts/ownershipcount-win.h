#pragma once

#include <cstddef>
#include <iosfwd>
#include <memory>

#include <gtest/gtest.h>

namespace testing_support {

/// What this program holds, by the way in which it must go back.
struct OwnedResources {
    ptrdiff_t mLocalBlocks = 0;         ///< for LocalFree, whichever function handed them out
    ptrdiff_t mSids = 0;                ///< of AllocateAndInitializeSid, for FreeSid
    ptrdiff_t mPrivateDescriptors = 0;  ///< for DestroyPrivateObjectSecurity
    ptrdiff_t mStrayReleases = 0;       ///< calls of these three for what none of those gave
    ptrdiff_t mArrays = 0;              ///< of new[]
    ptrdiff_t mObjects = 0;             ///< of new
    ptrdiff_t mHandles = 0;

    bool operator==(const OwnedResources& other) const = default;
};

std::ostream& operator<<(std::ostream& out, const OwnedResources& owned);

/// Counts what this program acquires and doesn't give back, from the object's making or its last
/// `restart`. One at a time.
///
/// Of Windows's memory it counts what is handed out and given back through the program's import
/// table: by LocalAlloc and by the functions for SIDs, access lists and security descriptors whose
/// results LocalFree, FreeSid or DestroyPrivateObjectSecurity takes. Those calls are replaced (see
/// ReplacedCall) while the object lives. Other threads count as well.
class OwnershipCount {
public:
    OwnershipCount();
    ~OwnershipCount();
    OwnershipCount(const OwnershipCount&) = delete;
    OwnershipCount& operator=(const OwnershipCount&) = delete;

    /// From here on, what is held now counts as nothing.
    void restart();
    /// What is held more than at the start, or less.
    OwnedResources held() const;
    /// Gives back the local memory that was handed out since the object's making, for a test whose
    /// subject is to leave some. Returns how many blocks it was.
    size_t freeLocalMemory();

private:
    struct Calls;
    std::unique_ptr<Calls> mCalls;
    OwnedResources mStart;
};

/// Its tests fail if they end with more or less in hand than they began with, unless they have
/// failed already or are skipped, of which a note is kept. What a fixture's own members acquire in
/// the constructor isn't counted.
class OwnershipTest : public testing::Test {
protected:
    void SetUp() override { mOwnership.restart(); }
    void TearDown() override {
        if (!HasFailure() && !IsSkipped()) {
            EXPECT_EQ(mOwnership.held(), OwnedResources());
        }
    }

    OwnershipCount mOwnership;
};

}  // namespace testing_support
