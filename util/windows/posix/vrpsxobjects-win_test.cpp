// Ending handles and stepping lists.

#include "util/windows/posix/vrpsxobjects-win.h"

#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "testing/providers/posixembedding-win.h"
#include "testing/providers/posixprovider-win.h"

namespace {

using namespace testing_support;
using vrpsx::embedding;

constexpr int failureCode = POSIXPROVIDER_NO_TEXT;
constexpr const char* mounts =
    "C:/one\t/one\tntfs\tbinary\tnoacl\tposix=0\nD:/two\t/two\tvfat\nE:/\t/e\tntfs\tuser\n";

static_assert(!std::is_nothrow_destructible_v<vrpsx::mutex>);
static_assert(!std::is_nothrow_destructible_v<vrpsx::cond>);
static_assert(!std::is_nothrow_destructible_v<vrpsx::mount>);
static_assert(!std::is_nothrow_destructible_v<vrpsx::mount_option>);
static_assert(!std::is_nothrow_destructible_v<vrpsx::mutex::scoped_lock>);

/// A way to create and end a handle; `entry` is the entry that ends it.
struct EndRow {
    posixprovider_entry entry;
    /// Creates a handle and ends it, by leaving a scope or by an exception in it.
    void (*letGo)(const embedding&, bool unwinding);
};

template <class Handle>
void leave(const Handle&, bool unwinding) {
    if (unwinding) {
        throw std::logic_error("unwinding");
    }
}

const EndRow endCalls[] = {
    {POSIXPROVIDER_MUTEX_DISOWN,
     [](const embedding& e, bool unwinding) { leave(e.mutex_create(), unwinding); }},
    {POSIXPROVIDER_COND_DISOWN,
     [](const embedding& e, bool unwinding) { leave(e.cond_create(), unwinding); }},
    {POSIXPROVIDER_MOUNT_NEXT,
     [](const embedding& e, bool unwinding) { leave(e.get_mounts(), unwinding); }},
    {POSIXPROVIDER_MOUNT_OPTION_NEXT,
     [](const embedding& e, bool unwinding) { leave(e.get_mounts().options(), unwinding); }},
    {POSIXPROVIDER_MUTEX_UNLOCK,
     [](const embedding& e, bool unwinding) {
         const vrpsx::mutex mutex = e.mutex_create();
         leave(vrpsx::mutex::scoped_lock(mutex), unwinding);
     }},
};

TEST(VrpsxEndTest, AFailureWhileAnExceptionUnwindsIsDropped) {
    for (const EndRow& row : endCalls) {
        PosixProvider provider;
        provider.setMounts(mounts);
        {
            const embedding e = embeddingOf(provider);
            provider.failNextWithResult(row.entry, failureCode);
            EXPECT_THROW(row.letGo(e, true), std::logic_error) << row.entry;
        }
        provider.expectClean();
    }
}

TEST(VrpsxEndTest, AFailureOtherwiseIsThrown) {
    for (const EndRow& row : endCalls) {
        PosixProvider provider;
        provider.setMounts(mounts);
        {
            const embedding e = embeddingOf(provider);
            provider.failNextWithResult(row.entry, failureCode);
            EXPECT_THROW(row.letGo(e, false), vrpsx::system_exception_t) << row.entry;
        }
        provider.expectClean();
    }
}

TEST(VrpsxEndTest, AFailureToLockIsThrownAndNothingIsUnlocked) {
    PosixProvider provider;
    const embedding e = embeddingOf(provider);
    const vrpsx::mutex mutex = e.mutex_create();
    provider.failNext(POSIXPROVIDER_MUTEX_LOCK, failureCode);
    EXPECT_THROW(const vrpsx::mutex::scoped_lock lock(mutex), vrpsx::system_exception_t);
    EXPECT_EQ(provider.calls(POSIXPROVIDER_MUTEX_UNLOCK), 0);
}

// Unchecked: nothing is locked, as it fails.
void failToLock(const vrpsx::mutex& mutex) NB_NO_THREAD_SAFETY_ANALYSIS { mutex.lock(); }

TEST(VrpsxFailureTest, TheMessageComesFromTheObjectsOwnSystem) {
    PosixProvider provider;
    provider.setMounts(mounts);
    const embedding e = embeddingOf(provider);
    const vrpsx::mutex mutex = e.mutex_create();
    provider.failNext(POSIXPROVIDER_MUTEX_LOCK, failureCode);
    EXPECT_THROW(failToLock(mutex), vrpsx::system_exception_t);
    EXPECT_EQ(provider.calls(POSIXPROVIDER_MUTEX_SYSTEM), 1);
    const vrpsx::mount mount = e.get_mounts();
    provider.failNext(POSIXPROVIDER_MOUNT_TYPE, failureCode);
    EXPECT_THROW(static_cast<void>(mount.type()), vrpsx::system_exception_t);
    EXPECT_EQ(provider.calls(POSIXPROVIDER_MOUNT_SYSTEM), 1);
    const vrpsx::mount_option option = mount.options();
    provider.failNext(POSIXPROVIDER_MOUNT_OPTION_TEXT, failureCode);
    EXPECT_THROW(static_cast<void>(option.text()), vrpsx::system_exception_t);
    EXPECT_EQ(provider.calls(POSIXPROVIDER_MOUNT_OPTION_SYSTEM), 1);
    provider.failNext(POSIXPROVIDER_SIGSET_ADD, failureCode);
    EXPECT_THROW(vrpsx::with_sigset(e, [](const vrpsx::sigset& s) { s.add(1); }),
                 vrpsx::system_exception_t);
    EXPECT_EQ(provider.calls(POSIXPROVIDER_SIGSET_SYSTEM), 1);
}

vrpsx::raw::system_table gOriginal;
const PosixProvider* gProvider = nullptr;
posixprovider_counter gCounter = POSIXPROVIDER_COUNTERS;
int gCountWhenAsked = -1;

/// Returns the message, and records how many of the counted objects were alive at that time.
int countAndTell(vrpsx::raw::system* self, int code, vrpsx::raw::error_string** result) {
    gCountWhenAsked = gProvider->count(gCounter);
    return gOriginal.error_text(self, code, result);
}

TEST(VrpsxFailureTest, WhatComesWithAFailureIsGoneBeforeTheMessageIsAskedFor) {
    const struct {
        posixprovider_entry entry;
        posixprovider_counter counter;
        void (*call)(const embedding&);
    } rows[] = {
        {POSIXPROVIDER_SYSTEM_UNAME, POSIXPROVIDER_COUNT_UNAME_RESULTS,
         [](const embedding& e) { static_cast<void>(e.uname()); }},
        {POSIXPROVIDER_SYSTEM_MUTEX_CREATE, POSIXPROVIDER_COUNT_MUTEXES,
         [](const embedding& e) { static_cast<void>(e.mutex_create()); }},
        {POSIXPROVIDER_SYSTEM_COND_CREATE, POSIXPROVIDER_COUNT_CONDS,
         [](const embedding& e) { static_cast<void>(e.cond_create()); }},
        {POSIXPROVIDER_SYSTEM_READLINK, POSIXPROVIDER_COUNT_BUFFERS,
         [](const embedding& e) { static_cast<void>(e.readlink("/link", nullptr)); }},
        {POSIXPROVIDER_SYSTEM_GET_MOUNTS, POSIXPROVIDER_COUNT_MOUNTS,
         [](const embedding& e) { static_cast<void>(e.get_mounts()); }},
        {POSIXPROVIDER_EXTERNALIZE_PATH, POSIXPROVIDER_COUNT_BUFFERS,
         [](const embedding& e) { static_cast<void>(e.externalize_path("/one", nullptr)); }},
        {POSIXPROVIDER_MOUNT_OPTIONS, POSIXPROVIDER_COUNT_MOUNT_OPTIONS,
         [](const embedding& e) { static_cast<void>(e.get_mounts().options()); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.entry);
        PosixProvider provider;
        provider.setMounts(mounts);
        testing_support::PatchedSystem patched(provider);
        gOriginal = *patched.original;
        patched.table.error_text = &countAndTell;
        gProvider = &provider;
        gCounter = row.counter;
        gCountWhenAsked = -1;
        const embedding e = embeddingOf(provider);
        e.symlink("somewhere", "/link");
        provider.failNextWithResult(row.entry, failureCode);
        EXPECT_THROW(row.call(e), vrpsx::system_exception_t);
        EXPECT_EQ(gCountWhenAsked, 0);
    }
}

constexpr size_t large = 20'000;

/// A runtime that writes to all of the storage.
int fillStorage(vrpsx::raw::system* self, void* storage, vrpsx::raw::sigset** result) {
    std::fill_n(static_cast<unsigned char*>(storage), large, 0xCC);
    return gOriginal.sigset_init(self, storage, result);
}

TEST(VrpsxStorageTest, AllOfTheStorageCanBeUsed) {
    PosixProvider provider;
    provider.setStorageSizes(large, large);
    testing_support::PatchedSystem patched(provider);
    gOriginal = *patched.original;
    patched.table.sigset_init = &fillStorage;
    // If there were less, the stack would be overwritten.
    vrpsx::with_sigset(embeddingOf(provider), [](const vrpsx::sigset& signals) {
        EXPECT_EQ(signals.add(1, std::nothrow), 0);
    });
    EXPECT_EQ(provider.calls(POSIXPROVIDER_SYSTEM_SIGSET_INIT), 1);
}

TEST(VrpsxHandleTest, AHandleIsMovedAndAssigned) {
    PosixProvider provider;
    const embedding e = embeddingOf(provider);
    vrpsx::cond first = e.cond_create();
    vrpsx::raw::cond* const raw = first.raw();
    vrpsx::cond second = std::move(first);
    EXPECT_TRUE(first.is_null());  // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    EXPECT_EQ(second.raw(), raw);
    second.assign(raw);
    EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_CONDS), 1) << "it holds that already";
    second = e.cond_create();
    EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_CONDS), 1) << "the old one is gone";
    EXPECT_NE(second.raw(), nullptr);
}

TEST(VrpsxHandleTest, ANewHandleIsNotLostWhereTheOldOnesEndFails) {
    PosixProvider provider;
    {
        const embedding e = embeddingOf(provider);
        vrpsx::cond cond = e.cond_create();
        vrpsx::cond fresh = e.cond_create();
        provider.failNextWithResult(POSIXPROVIDER_COND_DISOWN, failureCode);
        EXPECT_THROW(cond = std::move(fresh), vrpsx::system_exception_t);
        EXPECT_TRUE(cond.is_null());
        EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_CONDS), 0);
    }
    provider.expectClean();
}

TEST(VrpsxHandleDeathTest, AnEmptyHandleStopsTheProcess) {
    EXPECT_DEATH(failToLock(vrpsx::mutex()), "assertion failed at .*: _raw != nullptr");
    EXPECT_DEATH(static_cast<void>(vrpsx::cond().broadcast(std::nothrow)),
                 "assertion failed at .*: _raw != nullptr");
    EXPECT_DEATH(vrpsx::mount().next(), "assertion failed at .*: !is_null");
    EXPECT_DEATH(vrpsx::mount_option().next(), "assertion failed at .*: !is_null");
    EXPECT_DEATH(static_cast<void>(vrpsx::uname_result().release_text()),
                 "assertion failed at .*: _raw != nullptr");
}

TEST(VrpsxListTest, AListIsStepped) {
    PosixProvider provider;
    provider.setMounts(mounts);
    const embedding e = embeddingOf(provider);
    std::vector<std::string> roots;
    std::vector<std::string> options;
    for (vrpsx::mount mount = e.get_mounts(); !mount.is_null(); mount.next()) {
        roots.push_back(mount.device() + " " + mount.root() + " " + mount.type());
        for (vrpsx::mount_option option = mount.options(); !option.is_null(); option.next()) {
            options.push_back(option.text());
        }
    }
    EXPECT_EQ(roots,
              (std::vector<std::string>{"C:/one /one ntfs", "D:/two /two vfat", "E:/ /e ntfs"}));
    EXPECT_EQ(options, (std::vector<std::string>{"binary", "noacl", "posix=0", "user"}));
    EXPECT_TRUE(provider.leftovers().empty());
}

TEST(VrpsxListTest, TheRestOfAListIsDisposedOf) {
    PosixProvider provider;
    provider.setMounts(mounts);
    const embedding e = embeddingOf(provider);
    {
        vrpsx::mount mount = e.get_mounts();
        mount.next();
        EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_MOUNTS), 2);
        const vrpsx::mount_option option = e.get_mounts().options();
        EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_MOUNT_OPTIONS), 3);
    }
    EXPECT_TRUE(provider.leftovers().empty());
}

TEST(VrpsxListTest, AFailedStepGivesTheSystemToWhoAsks) {
    PosixProvider provider;
    provider.setMounts(mounts);
    {
        const embedding e = embeddingOf(provider);
        const int references = provider.count(POSIXPROVIDER_COUNT_REFERENCES);
        vrpsx::mount mount = e.get_mounts();
        vrpsx::system errors = e;
        provider.failNext(POSIXPROVIDER_MOUNT_NEXT, failureCode);
        EXPECT_EQ(mount.next(&errors, std::nothrow), failureCode);
        EXPECT_TRUE(mount.is_null());
        EXPECT_EQ(errors.error_text(failureCode), "error 9999");
        EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_REFERENCES), references + 1)
            << "what the slot held is released";
        mount = e.get_mounts();
        EXPECT_EQ(mount.next(&errors, std::nothrow), 0);
        EXPECT_TRUE(errors.is_null());
        provider.failNext(POSIXPROVIDER_MOUNT_NEXT, failureCode);
        EXPECT_EQ(mount.next(nullptr, std::nothrow), failureCode);
        EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_REFERENCES), references);
    }
    provider.expectClean();
}

/// A list whose step fills the holder that is being stepped.
vrpsx::mount* gStepped = nullptr;
vrpsx::raw::mount* gRefill = nullptr;
std::vector<vrpsx::raw::mount*> gEnded;

int refillingNext(vrpsx::raw::mount* self, vrpsx::raw::mount** holder,
                  vrpsx::raw::mount** nextHolder, vrpsx::raw::system**) {
    EXPECT_EQ(*holder, self);
    gEnded.push_back(self);
    if (gStepped != nullptr) {
        EXPECT_EQ(nextHolder, holder) << "one holder for both";
        EXPECT_TRUE(gStepped->is_null()) << "the holder is empty meanwhile";
        std::exchange(gStepped, nullptr)->assign(gRefill);
    }
    if (nextHolder != nullptr) {
        *nextHolder = nullptr;
    }
    return 0;
}

TEST(VrpsxListTest, WhatAHolderGotDuringAStepIsDisposedOf) {
    vrpsx::raw::mount_table table = {};
    table.next = &refillingNext;
    vrpsx::raw::mount first = {&table};
    vrpsx::raw::mount second = {&table};
    vrpsx::mount holder(&first);
    gStepped = &holder;
    gRefill = &second;
    gEnded.clear();
    holder.next();
    EXPECT_EQ(gEnded, (std::vector<vrpsx::raw::mount*>{&first, &second}));
    EXPECT_TRUE(holder.is_null());
}

}  // namespace
