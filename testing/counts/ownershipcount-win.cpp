#include "testing/counts/ownershipcount-win.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>
#include <mutex>
#include <ostream>
#include <stdexcept>
#include <tuple>
#include <type_traits>

#include <windows.h>
#include <aclapi.h>
#include <sddl.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/counts/liveallocations-win.h"
#include "testing/counts/processresources-win.h"

namespace testing_support {
namespace {

enum class Kind { local, sid, privateDescriptor };

struct Block {
    void* memory;
    Kind kind;
};

/// The blocks that haven't been freed. Allocates no memory, so that it doesn't count itself.
class BlockTable {
public:
    void clear() {
        const std::lock_guard lock(mMutex);
        mCount = 0;
        mStrayReleases = 0;
    }
    void add(void* memory, Kind kind) {
        const std::lock_guard lock(mMutex);
        if (memory != nullptr) {
            if (mCount == std::ssize(mBlocks)) {
                std::abort();
            }
            mBlocks[mCount++] = {memory, kind};
        }
    }
    void remove(void* memory, Kind kind) {
        const std::lock_guard lock(mMutex);
        if (memory == nullptr) {
            return;
        }
        const auto end = mBlocks.begin() + mCount;
        const auto found = std::find_if(mBlocks.begin(), end, [=](const Block& block) {
            return block.memory == memory && block.kind == kind;
        });
        if (found == end) {
            ++mStrayReleases;
        } else {
            *found = mBlocks[--mCount];
        }
    }
    /// Returns a block of this kind, or null if there is none.
    void* any(Kind kind) const {
        const std::lock_guard lock(mMutex);
        const auto end = mBlocks.begin() + mCount;
        const auto found = std::find_if(mBlocks.begin(), end,
                                        [kind](const Block& block) { return block.kind == kind; });
        return found != end ? found->memory : nullptr;
    }
    ptrdiff_t count(Kind kind) const {
        const std::lock_guard lock(mMutex);
        return std::count_if(mBlocks.begin(), mBlocks.begin() + mCount,
                             [kind](const Block& block) { return block.kind == kind; });
    }
    ptrdiff_t strayReleases() const {
        const std::lock_guard lock(mMutex);
        return mStrayReleases;
    }

private:
    mutable std::mutex mMutex;
    std::array<Block, 4096> mBlocks;
    ptrdiff_t mCount = 0;
    ptrdiff_t mStrayReleases = 0;
};

BlockTable gBlocks;

bool succeeded(BOOL result) { return result != FALSE; }
bool succeeded(DWORD error) { return error == ERROR_SUCCESS; }

/// A function's name as a template argument.
template <size_t size>
struct Name {
    // NOLINTNEXTLINE(google-explicit-constructor): a literal is one.
    consteval Name(const char (&text)[size]) { std::copy_n(text, size, mText); }
    char mText[size];
};

/// Replaces a function that stores the address of memory where its argument of this index points.
/// If the function succeeds and the argument isn't null, that memory is counted.
template <Name name, size_t index, Kind kind, class Signature>
class GivingCall;

template <Name name, size_t index, Kind kind, class Result, class... Arguments>
class GivingCall<name, index, kind, Result(Arguments...)> {
public:
    using Signature = Result(Arguments...);

    /// Naming the function makes the program import it. But the name may refer to a jump through
    /// the import table, which leads to the replacement. So `function` isn't the one to call.
    explicit GivingCall(Signature* function) : mCall(name.mText, replacement) {
        sImported = function;
        sOriginal = mCall.original();
    }

private:
    static Result replacement(Arguments... arguments) {
        const Result result = sOriginal(arguments...);
        auto* const place = std::get<index>(std::tie(arguments...));
        if (place != nullptr && succeeded(result)) {
            gBlocks.add(*place, kind);
        }
        return result;
    }

    static inline Signature* volatile sImported = nullptr;
    static inline Signature* sOriginal = nullptr;
    ReplacedCall<Signature> mCall;
};

}  // namespace

struct OwnershipCount::Calls {
    Calls() {
        sLocalAlloc = mLocalAlloc.original();
        sLocalFree = mLocalFree.original();
        sFreeSid = mFreeSid.original();
        sDestroy = mDestroy.original();
    }

    static inline decltype(LocalAlloc)* sLocalAlloc = LocalAlloc;
    static inline decltype(LocalFree)* sLocalFree = LocalFree;
    static inline decltype(FreeSid)* sFreeSid = FreeSid;
    static inline decltype(DestroyPrivateObjectSecurity)* sDestroy = DestroyPrivateObjectSecurity;

    ReplacedCall<decltype(LocalAlloc)> mLocalAlloc{
        "LocalAlloc", [](UINT flags, SIZE_T size) -> HLOCAL {
            const HLOCAL memory = sLocalAlloc(flags, size);
            gBlocks.add(memory, Kind::local);
            return memory;
        }};
    ReplacedCall<decltype(LocalFree)> mLocalFree{"LocalFree", [](HLOCAL memory) -> HLOCAL {
                                                     gBlocks.remove(memory, Kind::local);
                                                     return sLocalFree(memory);
                                                 }};
    ReplacedCall<decltype(FreeSid)> mFreeSid{"FreeSid", [](PSID sid) -> PVOID {
                                                 gBlocks.remove(sid, Kind::sid);
                                                 return sFreeSid(sid);
                                             }};
    ReplacedCall<decltype(DestroyPrivateObjectSecurity)> mDestroy{
        "DestroyPrivateObjectSecurity", [](PSECURITY_DESCRIPTOR* descriptor) -> WINBOOL {
            void* const memory = *descriptor;
            const WINBOOL isDestroyed = sDestroy(descriptor);
            if (isDestroyed) {
                gBlocks.remove(memory, Kind::privateDescriptor);
            }
            return isDestroyed;
        }};

    template <Name name, size_t index, class Signature>
    using LocalGiver = GivingCall<name, index, Kind::local, Signature>;

    LocalGiver<"ConvertStringSidToSidW", 1, decltype(ConvertStringSidToSidW)> mTextToSid{
        ConvertStringSidToSidW};
    LocalGiver<"ConvertSidToStringSidW", 1, decltype(ConvertSidToStringSidW)> mSidToText{
        ConvertSidToStringSidW};
    LocalGiver<"SetEntriesInAclW", 3, decltype(SetEntriesInAclW)> mSetEntries{SetEntriesInAclW};
    LocalGiver<"GetExplicitEntriesFromAclW", 2, decltype(GetExplicitEntriesFromAclW)> mGetEntries{
        GetExplicitEntriesFromAclW};
    LocalGiver<"ConvertStringSecurityDescriptorToSecurityDescriptorW", 2,
               decltype(ConvertStringSecurityDescriptorToSecurityDescriptorW)>
        mTextToDescriptor{ConvertStringSecurityDescriptorToSecurityDescriptorW};
    LocalGiver<"ConvertSecurityDescriptorToStringSecurityDescriptorW", 3,
               decltype(ConvertSecurityDescriptorToStringSecurityDescriptorW)>
        mDescriptorToText{ConvertSecurityDescriptorToStringSecurityDescriptorW};
    LocalGiver<"BuildSecurityDescriptorW", 8, decltype(BuildSecurityDescriptorW)> mBuildDescriptor{
        BuildSecurityDescriptorW};
    LocalGiver<"GetNamedSecurityInfoW", 7, decltype(GetNamedSecurityInfoW)> mNamedDescriptor{
        GetNamedSecurityInfoW};
    LocalGiver<"GetSecurityInfo", 7, decltype(GetSecurityInfo)> mDescriptor{GetSecurityInfo};
    GivingCall<"AllocateAndInitializeSid", 10, Kind::sid, decltype(AllocateAndInitializeSid)>
        mAllocateSid{AllocateAndInitializeSid};
    GivingCall<"CreatePrivateObjectSecurityEx", 2, Kind::privateDescriptor,
               decltype(CreatePrivateObjectSecurityEx)>
        mPrivateDescriptor{CreatePrivateObjectSecurityEx};
};

namespace {

OwnedResources heldNow() {
    const LiveAllocations allocations = liveAllocations();
    return {.mLocalBlocks = gBlocks.count(Kind::local),
            .mSids = gBlocks.count(Kind::sid),
            .mPrivateDescriptors = gBlocks.count(Kind::privateDescriptor),
            .mStrayReleases = gBlocks.strayReleases(),
            .mArrays = allocations.mArrays,
            .mObjects = allocations.mObjects,
            .mHandles = static_cast<ptrdiff_t>(handleCount())};
}

/// The runtime opens handles at a thread's first exception, and keeps them open.
void throwOnce() {
    try {
        throw std::runtime_error("once");
    } catch (const std::runtime_error&) {
        return;
    }
}

}  // namespace

OwnershipCount::OwnershipCount() {
    throwOnce();
    gBlocks.clear();
    mCalls = std::make_unique<Calls>();
    restart();
}

OwnershipCount::~OwnershipCount() = default;

void OwnershipCount::restart() { mStart = heldNow(); }

OwnedResources OwnershipCount::held() const {
    const OwnedResources now = heldNow();
    return {.mLocalBlocks = now.mLocalBlocks - mStart.mLocalBlocks,
            .mSids = now.mSids - mStart.mSids,
            .mPrivateDescriptors = now.mPrivateDescriptors - mStart.mPrivateDescriptors,
            .mStrayReleases = now.mStrayReleases - mStart.mStrayReleases,
            .mArrays = now.mArrays - mStart.mArrays,
            .mObjects = now.mObjects - mStart.mObjects,
            .mHandles = now.mHandles - mStart.mHandles};
}

size_t OwnershipCount::freeLocalMemory() {
    size_t count = 0;
    for (; void* memory = gBlocks.any(Kind::local); ++count) {
        gBlocks.remove(memory, Kind::local);
        Calls::sLocalFree(memory);
    }
    return count;
}

std::ostream& operator<<(std::ostream& out, const OwnedResources& owned) {
    return out << "local blocks " << owned.mLocalBlocks << ", SIDs " << owned.mSids
               << ", private descriptors " << owned.mPrivateDescriptors << ", stray releases "
               << owned.mStrayReleases << ", arrays " << owned.mArrays << ", objects "
               << owned.mObjects << ", handles " << owned.mHandles;
}

}  // namespace testing_support
