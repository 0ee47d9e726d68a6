// The operations of the system and the embedding: what they throw, return and accept.

#include "util/windows/vrpsxutilitycpp-win.h"

#include <new>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "testing/counts/allocationcount.h"
#include "testing/providers/posixembedding-win.h"
#include "testing/providers/posixprovider-win.h"
#include "util/windows/posix/vrpsxobjects-win.h"

namespace {

using namespace testing_support;
using vrpsx::embedding;

constexpr int failureCode = POSIXPROVIDER_NO_TEXT;

void* endAtOnce(void*) { return nullptr; }

void addSignal(const embedding& e) {
    vrpsx::with_sigset(e, [](const vrpsx::sigset& set) { set.add(POSIXPROVIDER_SIGINT); });
}
void setAction(const embedding& e) {
    vrpsx::with_sigaction(e, [&e](const vrpsx::sigaction& action) {
        action.set_handler(e.default_disposition());
        e.sigaction(POSIXPROVIDER_SIGINT, action);
    });
}
void blockNothing(const embedding& e) {
    vrpsx::with_sigset(
        e, [&e](const vrpsx::sigset& set) { e.thread_sigmask(e.block_signals(), set); });
}
void lockAndUnlock(const embedding& e) {
    const vrpsx::mutex mutex = e.mutex_create();
    mutex.lock();
    mutex.unlock();
}
vrpsx::mount_option firstOption(const embedding& e) { return e.get_mounts().options(); }

struct FailureRow {
    posixprovider_entry entry;
    const char* context;
    void (*call)(const embedding&);
};

constexpr FailureRow failures[] = {
    {POSIXPROVIDER_SYSTEM_NANOSLEEP, "vrpsx::system::nanosleep",
     [](const embedding& e) {
         e.nanosleep({0, 1});
     }},
    {POSIXPROVIDER_SYSTEM_KILL, "vrpsx::system::kill",
     [](const embedding& e) { e.kill(e.getpid(), POSIXPROVIDER_SIGCHLD); }},
    {POSIXPROVIDER_SYSTEM_SIGSET_INIT, "vrpsx::system::sigset_init", addSignal},
    {POSIXPROVIDER_SYSTEM_SIGACTION_INIT, "vrpsx::system::sigaction_init", setAction},
    {POSIXPROVIDER_SYSTEM_SIGACTION, "vrpsx::system::sigaction", setAction},
    {POSIXPROVIDER_SYSTEM_THREAD_SIGMASK, "vrpsx::system::thread_sigmask", blockNothing},
    {POSIXPROVIDER_SYSTEM_THREAD_CREATE, "vrpsx::system::thread_create",
     [](const embedding& e) { static_cast<void>(e.thread_create(&endAtOnce, nullptr)); }},
    {POSIXPROVIDER_SYSTEM_SYMLINK, "vrpsx::system::symlink",
     [](const embedding& e) { e.symlink("target", "/link"); }},
    {POSIXPROVIDER_SYSTEM_CHDIR, "vrpsx::system::chdir",
     [](const embedding& e) { e.chdir("/folder"); }},
    {POSIXPROVIDER_SYSTEM_UNAME, "vrpsx::system::uname",
     [](const embedding& e) { static_cast<void>(e.uname()); }},
    {POSIXPROVIDER_SYSTEM_READLINK, "vrpsx::system::readlink",
     [](const embedding& e) { static_cast<void>(e.readlink("/link", nullptr)); }},
    {POSIXPROVIDER_SYSTEM_MUTEX_CREATE, "vrpsx::system::mutex_create",
     [](const embedding& e) { static_cast<void>(e.mutex_create()); }},
    {POSIXPROVIDER_SYSTEM_COND_CREATE, "vrpsx::system::cond_create",
     [](const embedding& e) { static_cast<void>(e.cond_create()); }},
    {POSIXPROVIDER_SYSTEM_GET_MOUNTS, "vrpsx::system::get_mounts",
     [](const embedding& e) { static_cast<void>(e.get_mounts()); }},
    {POSIXPROVIDER_INTERNALIZE_PATH, "vrpsx::embedding::internalize_path",
     [](const embedding& e) { static_cast<void>(e.internalize_path("C:\\one", nullptr)); }},
    {POSIXPROVIDER_EXTERNALIZE_PATH, "vrpsx::embedding::externalize_path",
     [](const embedding& e) { static_cast<void>(e.externalize_path("/one", nullptr)); }},
    {POSIXPROVIDER_INTERNALIZE_EXECUTION_PATH, "vrpsx::embedding::internalize_execution_path",
     [](const embedding& e) {
         static_cast<void>(e.internalize_execution_path("C:\\one", nullptr));
     }},
    {POSIXPROVIDER_EXTERNALIZE_EXECUTION_PATH, "vrpsx::embedding::externalize_execution_path",
     [](const embedding& e) { static_cast<void>(e.externalize_execution_path("/one", nullptr)); }},
    {POSIXPROVIDER_SIGSET_ADD, "vrpsx::sigset::add", addSignal},
    {POSIXPROVIDER_MUTEX_LOCK, "vrpsx::mutex::lock", lockAndUnlock},
    {POSIXPROVIDER_MUTEX_UNLOCK, "vrpsx::mutex::unlock", lockAndUnlock},
    {POSIXPROVIDER_MUTEX_DISOWN, "vrpsx::mutex::disown",
     [](const embedding& e) { const vrpsx::mutex mutex = e.mutex_create(); }},
    {POSIXPROVIDER_COND_DISOWN, "vrpsx::cond::disown",
     [](const embedding& e) { const vrpsx::cond cond = e.cond_create(); }},
    {POSIXPROVIDER_MOUNT_NEXT, "vrpsx::mount::next",
     [](const embedding& e) { e.get_mounts().next(); }},
    {POSIXPROVIDER_MOUNT_DEVICE, "vrpsx::mount::device",
     [](const embedding& e) { static_cast<void>(e.get_mounts().device()); }},
    {POSIXPROVIDER_MOUNT_ROOT, "vrpsx::mount::root",
     [](const embedding& e) { static_cast<void>(e.get_mounts().root()); }},
    {POSIXPROVIDER_MOUNT_TYPE, "vrpsx::mount::type",
     [](const embedding& e) { static_cast<void>(e.get_mounts().type()); }},
    {POSIXPROVIDER_MOUNT_OPTIONS, "vrpsx::mount::options",
     [](const embedding& e) { firstOption(e); }},
    {POSIXPROVIDER_MOUNT_OPTION_NEXT, "vrpsx::mount_option::next",
     [](const embedding& e) { firstOption(e).next(); }},
    {POSIXPROVIDER_MOUNT_OPTION_TEXT, "vrpsx::mount_option::text",
     [](const embedding& e) { static_cast<void>(firstOption(e).text()); }},
};

constexpr const char* mounts = "C:/one\t/one\tntfs\tbinary\tnoacl\nD:/two\t/two\tntfs\n";

void prepare(PosixProvider& provider) {
    provider.setMounts(mounts);
    const embedding e = embeddingOf(provider);
    e.symlink("somewhere", "/link");
}

std::string thrownBy(const FailureRow& row, const embedding& e) {
    try {
        row.call(e);
    } catch (const vrpsx::system_exception_t& failure) {
        EXPECT_EQ(failure.code, failureCode) << row.context;
        return failure.what();
    }
    return "nothing";
}

TEST(VrpsxFailureTest, EachOperationThrowsItsNameTheRuntimesMessageAndTheCode) {
    for (const FailureRow& row : failures) {
        PosixProvider provider;
        prepare(provider);
        {
            const embedding e = embeddingOf(provider);
            // The provider objects to ending a locked mutex.
            const bool withResult = row.entry == POSIXPROVIDER_MUTEX_UNLOCK;
            provider.fail(row.entry, 1, failureCode, withResult);
            EXPECT_EQ(thrownBy(row, e), row.context + std::string(": error 9999"));
        }
        provider.expectClean();
    }
}

TEST(VrpsxFailureTest, WhatComesWithAFailureIsDisposedOf) {
    for (const FailureRow& row : failures) {
        PosixProvider provider;
        prepare(provider);
        {
            const embedding e = embeddingOf(provider);
            if (row.entry == POSIXPROVIDER_SYSTEM_THREAD_CREATE) {
                continue;  // a thread can only be ended by a join
            }
            if (row.entry == POSIXPROVIDER_SYSTEM_SYMLINK ||
                row.entry == POSIXPROVIDER_MUTEX_LOCK) {
                continue;  // there is no result
            }
            provider.failNextWithResult(row.entry, failureCode);
            EXPECT_EQ(thrownBy(row, e), row.context + std::string(": error 9999"));
        }
        provider.expectClean();
    }
}

TEST(VrpsxFailureTest, WithoutAFailureNothingIsThrown) {
    for (const FailureRow& row : failures) {
        if (row.entry == POSIXPROVIDER_SYSTEM_THREAD_CREATE ||
            row.entry == POSIXPROVIDER_SYSTEM_SYMLINK) {
            continue;  // see above
        }
        PosixProvider provider;
        prepare(provider);
        {
            const embedding e = embeddingOf(provider);
            EXPECT_EQ(thrownBy(row, e), "nothing") << row.context;
        }
        EXPECT_GE(provider.calls(row.entry), 1) << row.context;
        provider.expectClean();
    }
}

TEST(SystemExceptionTest, TheMessageIsTheContextAndTheErrorText) {
    PosixProvider provider;
    const embedding e = embeddingOf(provider);
    const vrpsx::system_exception_t failure("context", e, failureCode);
    EXPECT_STREQ(failure.what(), "context: error 9999");
    EXPECT_EQ(failure.code, failureCode);
    EXPECT_STREQ(vrpsx::system_exception_t("", e, failureCode).what(), ": error 9999");
}

TEST(SystemExceptionTest, TheMessageIsMadeInOnePieceAndThenCopied) {
    PosixProvider provider;
    const embedding e = embeddingOf(provider);
    const std::string context(1000, 'c');
    const size_t before = testing_support::allocationCount();
    const vrpsx::system_exception_t failure(context, e, failureCode);
    EXPECT_EQ(testing_support::allocationCount() - before, 2U);
    EXPECT_EQ(failure.what(), context + ": error 9999");
}

TEST(SystemExceptionTest, ATextThatCannotBeReadIsEmpty) {
    PosixProvider provider;
    const embedding e = embeddingOf(provider);
    provider.failNext(POSIXPROVIDER_SYSTEM_ERROR_TEXT, 1);
    EXPECT_STREQ(vrpsx::system_exception_t("context", e, failureCode).what(), "context: ");
    provider.failNext(POSIXPROVIDER_SYSTEM_ERROR_TEXT, 1);
    EXPECT_EQ(e.error_text(failureCode), "");
    EXPECT_EQ(e.error_text(failureCode), "error 9999");
}

TEST(ReportTest, TheSameGoesToStandardErrorAsALine) {
    PosixProvider provider;
    const embedding e = embeddingOf(provider);
    testing::internal::CaptureStderr();
    vrpsx::report("vrpsx::cond::broadcast", e, failureCode);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "vrpsx::cond::broadcast: error 9999\n");
}

TEST(VrpsxSystemTest, AReferenceIsCounted) {
    PosixProvider provider;
    const int before = provider.count(POSIXPROVIDER_COUNT_REFERENCES);
    {
        const embedding first = embeddingOf(provider);
        embedding second = first;  // which adds a reference
        second = embedding(second);
        vrpsx::system third = second;
        EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_REFERENCES), before + 3);
        third = vrpsx::system();
        EXPECT_TRUE(third.is_null());
        EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_REFERENCES), before + 2);
    }
    EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_REFERENCES), before);
}

TEST(VrpsxSystemDeathTest, AnEmptyReferenceStopsTheProcess) {
    EXPECT_DEATH(static_cast<void>(vrpsx::system().getpid()),
                 "assertion failed at .*: _raw != nullptr");
    EXPECT_DEATH(static_cast<void>(embedding().sigusr2()),
                 "assertion failed at .*: _raw != nullptr");
}

TEST(VrpsxSystemTest, ConstantsAreThoseOfTheTable) {
    PosixProvider provider;
    const embedding e = embeddingOf(provider);
    EXPECT_EQ(e.invalid_argument(), POSIXPROVIDER_INVALID_ARGUMENT);
    EXPECT_EQ(e.missing_entry(), POSIXPROVIDER_MISSING_ENTRY);
    EXPECT_EQ(e.timed_out(), POSIXPROVIDER_TIMED_OUT);
    EXPECT_EQ(e.sigusr2(), POSIXPROVIDER_SIGUSR2);
    EXPECT_EQ(e.default_disposition(), POSIXPROVIDER_DEFAULT_DISPOSITION);
    EXPECT_EQ(e.sigset_size(), uint64_t{POSIXPROVIDER_SIGSET_SIZE});
    EXPECT_EQ(e.sigaction_size(), uint64_t{POSIXPROVIDER_SIGACTION_SIZE});
    EXPECT_EQ(e.block_signals(), POSIXPROVIDER_BLOCK);
    EXPECT_EQ(e.unblock_signals(), POSIXPROVIDER_UNBLOCK);
    EXPECT_EQ(e.realtime_clock(), POSIXPROVIDER_REALTIME_CLOCK);
}

TEST(VrpsxSystemTest, StorageOnTheStackIsThereForASizeOfZeroToo) {
    PosixProvider provider;
    const embedding e = embeddingOf(provider);
    provider.setStorageSizes(0, 0);
    addSignal(e);
    setAction(e);
    EXPECT_NE(provider.storage(POSIXPROVIDER_SYSTEM_SIGSET_INIT), nullptr);
    EXPECT_NE(provider.storage(POSIXPROVIDER_SYSTEM_SIGACTION_INIT), nullptr);
    EXPECT_TRUE(provider.faults().empty()) << "it is aligned";
}

TEST(VrpsxSystemTest, StorageIsRoundedUpToSixteenBytes) {
    EXPECT_EQ(vrpsx::storage_size(0), 16U);
    EXPECT_EQ(vrpsx::storage_size(1), 16U);
    EXPECT_EQ(vrpsx::storage_size(16), 16U);
    EXPECT_EQ(vrpsx::storage_size(17), 32U);
    EXPECT_EQ(vrpsx::storage_size(40), 48U);
}

TEST(VrpsxSystemTest, BuffersOfTheRuntimeGoBackToIt) {
    PosixProvider provider;
    provider.setMounts(mounts);
    const embedding e = embeddingOf(provider);
    {
        const vrpsx::buffer_result path = e.externalize_path("/one/x", nullptr);
        EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_BUFFERS), 1);
    }
    EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_BUFFERS), 0);
    EXPECT_EQ(provider.calls(POSIXPROVIDER_SYSTEM_DEALLOCATE), 1);
    vrpsx::buffer_result result = e.externalize_path("/one/x", nullptr);
    EXPECT_EQ(e.externalize_path("/two", nullptr, result, std::nothrow), 0);
    EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_BUFFERS), 1) << "the first one is gone";
}

TEST(VrpsxSystemTest, PathsAreConvertedWithoutThrowing) {
    PosixProvider provider;
    provider.setMounts(mounts);
    const embedding e = embeddingOf(provider);
    const auto text = [](vrpsx::buffer_result& result) { return std::string(result.take()); };
    vrpsx::string_buffer_allocator buffers;
    vrpsx::buffer_result result;
    EXPECT_EQ(e.internalize_path("C:\\one\\a.exe", &buffers, result, std::nothrow), 0);
    EXPECT_EQ(text(result), "/one/a.exe");
    EXPECT_EQ(e.externalize_path("/one/a", &buffers, result, std::nothrow), 0);
    EXPECT_EQ(text(result), "C:\\one\\a");
    EXPECT_EQ(e.internalize_execution_path("C:\\one\\a.exe", &buffers, result, std::nothrow), 0);
    EXPECT_EQ(text(result), "/one/a");
    EXPECT_EQ(e.externalize_execution_path("/one/a", &buffers, result, std::nothrow), 0);
    EXPECT_EQ(text(result), "C:\\one\\a.exe");
    provider.failNext(POSIXPROVIDER_EXTERNALIZE_EXECUTION_PATH, failureCode);
    EXPECT_EQ(e.externalize_execution_path("/one/a", &buffers, result, std::nothrow), failureCode);
    EXPECT_EQ(result.take(), nullptr);
}

TEST(VrpsxSystemTest, WhatAHolderHeldIsDisposedOfWhenItIsFilled) {
    PosixProvider provider;
    provider.setMounts(mounts);
    const embedding e = embeddingOf(provider);
    vrpsx::mutex mutex = e.mutex_create();
    EXPECT_EQ(e.mutex_create(mutex, std::nothrow), 0);
    EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_MUTEXES), 1);
    vrpsx::cond cond = e.cond_create();
    EXPECT_EQ(e.cond_create(cond, std::nothrow), 0);
    EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_CONDS), 1);
    vrpsx::uname_result uname = e.uname();
    EXPECT_EQ(e.uname(uname, std::nothrow), 0);
    EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_UNAME_RESULTS), 1);
    vrpsx::mount mount = e.get_mounts();
    EXPECT_EQ(e.get_mounts(mount, std::nothrow), 0);
    EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_MOUNTS), 2) << "one list of two";
    vrpsx::mount_option option = mount.options();
    EXPECT_EQ(mount.options(option, std::nothrow), 0);
    EXPECT_EQ(provider.count(POSIXPROVIDER_COUNT_MOUNT_OPTIONS), 2);
}

using UnameResults = std::vector<vrpsx::raw::uname_result*>;
UnameResults gDisposed;

int noteDisposal(vrpsx::raw::uname_result* self, vrpsx::raw::uname_result**) {
    gDisposed.push_back(self);
    return 0;
}

TEST(UnameResultTest, AnAssignedOneDisposesOfItsOwnAtOnceAndHoldsTheOther) {
    vrpsx::raw::uname_result_table table = {};
    table.dispose = &noteDisposal;
    vrpsx::raw::uname_result first = {&table};
    vrpsx::raw::uname_result second = {&table};
    gDisposed.clear();
    {
        vrpsx::uname_result target(&first);
        vrpsx::uname_result source(&second);
        target = std::move(source);
        EXPECT_EQ(gDisposed, UnameResults{&first});
        vrpsx::uname_result& same = target;
        target = std::move(same);
        EXPECT_EQ(gDisposed, UnameResults{&first}) << "assigned to itself, it stays";
    }
    EXPECT_EQ(gDisposed, (UnameResults{&first, &second})) << "each once";
}

}  // namespace
