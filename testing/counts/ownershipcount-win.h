#pragma once

#include <cstddef>
#include <iosfwd>
#include <memory>

#include <gtest/gtest.h>

namespace testing_support {

/// What this program holds, grouped by how it must be released.
struct OwnedResources {
    ptrdiff_t mLocalBlocks = 0;         ///< for LocalFree, whichever function allocated them
    ptrdiff_t mSids = 0;                ///< of AllocateAndInitializeSid, for FreeSid
    ptrdiff_t mPrivateDescriptors = 0;  ///< for DestroyPrivateObjectSecurity
    ptrdiff_t mStrayReleases = 0;  ///< releases by these three of what wasn't allocated for them
    ptrdiff_t mArrays = 0;         ///< of new[]
    ptrdiff_t mObjects = 0;        ///< of new
    ptrdiff_t mHandles = 0;

    bool operator==(const OwnedResources& other) const = default;
};

std::ostream& operator<<(std::ostream& out, const OwnedResources& owned);

/// Counts what this program acquires and doesn't release, since the object's creation or the last
/// `restart`. At most one object at a time.
///
/// Windows's memory counts if it is allocated and freed through the program's import table: by
/// LocalAlloc, and by the functions for SIDs, access lists and security descriptors whose results
/// are for LocalFree, FreeSid or DestroyPrivateObjectSecurity. These calls are replaced (see
/// ReplacedCall) while the object exists. Other threads count as well.
class [[nodiscard]] OwnershipCount {
public:
    OwnershipCount();
    ~OwnershipCount();
    OwnershipCount(const OwnershipCount&) = delete;
    OwnershipCount& operator=(const OwnershipCount&) = delete;

    /// Starts the count again: what is held now no longer counts.
    void restart();
    /// Returns what is held now minus what was held at the start; the figures may be negative.
    OwnedResources held() const;
    /// Frees the local memory that was allocated since the object's creation, for tests that leave
    /// some on purpose. Returns the number of blocks.
    size_t freeLocalMemory();

private:
    struct Calls;
    std::unique_ptr<Calls> mCalls;
    OwnedResources mStart;
};

/// A test of this fixture fails if it ends holding more or less than at its beginning. Tests that
/// have failed already or are skipped aren't checked, because a note of that stays in memory. What
/// a fixture's own members acquire in the constructor doesn't count.
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
