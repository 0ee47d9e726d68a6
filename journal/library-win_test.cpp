// nbclearcase_journal.dll, loaded by this program.

#include <cerrno>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include <windows.h>

#include "clearcase/clearcaseconnection.h"
#include "testing/calls/replacedcall-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/libraryfunction-win.h"

namespace {

using namespace testing_support;

struct LibraryFreer {
    void operator()(HMODULE library) const { FreeLibrary(library); }
};
using OwnedLibrary = std::unique_ptr<std::remove_pointer_t<HMODULE>, LibraryFreer>;

struct Made {
    bool isNull = false;
    DWORD systemError = 0;
    int runtimeError = 0;

    bool operator==(const Made&) const = default;
};

/// Has a library beside this program make a connection.
Made makeBy(const wchar_t* name) {
    const OwnedLibrary library(LoadLibraryW(name));
    auto* const make = findFunction<ClearCaseImplCtorFunction>(library.get(), CLEARCASE_IMPL_CTOR);
    if (make == nullptr) {
        ADD_FAILURE() << "the library is missing";
        return {};
    }
    SetLastError(1);
    errno = 1;
    const std::unique_ptr<ClearCaseConnection> connection(make(/*unused=*/nullptr));
    return {.isNull = connection == nullptr, .systemError = GetLastError(), .runtimeError = errno};
}

TEST(JournalLibraryTest, MakingAConnectionLeavesTheErrorsOfTheLibrary) {
    const TempFolder folder;
    const EnvironmentScope library("NBCLEARCASE_JOURNAL_LIBRARY", "sampleconnection.dll");
    const EnvironmentScope file("NBCLEARCASE_JOURNAL_FILE", folder.utf8("j.jsonl"));
    for (const std::optional<std::string>& null : {std::optional<std::string>(), {"yes"}}) {
        const EnvironmentScope makesNull("SAMPLECONNECTION_NULL", null);
        const Made bare = makeBy(L"sampleconnection.dll");
        EXPECT_EQ(bare.isNull, null.has_value());
        EXPECT_NE(bare.systemError, 1U);
        EXPECT_NE(bare.runtimeError, 1);
        EXPECT_EQ(makeBy(L"nbclearcase_journal.dll"), bare);
    }
    // The journal keeps the library.
    const HMODULE kept = GetModuleHandleW(L"sampleconnection.dll");
    ASSERT_NE(kept, nullptr);
    while (GetModuleHandleW(L"sampleconnection.dll") != nullptr) {
        ASSERT_NE(FreeLibrary(kept), FALSE) << "nothing stays for other tests";
    }
}

/// Loads a library as if it were damaged, which Windows may show in a dialog.
class DamagedLibrary {
public:
    explicit DamagedLibrary(HMODULE module) : mCall("LoadLibraryW", load, module) {}

    static inline DWORD sMode = 0;  ///< of the thread, at the last load

private:
    static HMODULE WINAPI load(LPCWSTR) {
        sMode = GetThreadErrorMode();
        SetLastError(ERROR_FILE_CORRUPT);
        return nullptr;
    }

    ReplacedCall<decltype(LoadLibraryW)> mCall;
};

TEST(JournalLibraryTest, ALibraryThatIsDamagedShowsNoDialog) {
    const OwnedLibrary journal(LoadLibraryW(L"nbclearcase_journal.dll"));
    auto* const make = findFunction<ClearCaseImplCtorFunction>(journal.get(), CLEARCASE_IMPL_CTOR);
    ASSERT_NE(make, nullptr);
    const DWORD before = GetThreadErrorMode();
    ASSERT_NE(SetThreadErrorMode(SEM_NOOPENFILEERRORBOX, /*lpOldMode=*/nullptr), FALSE);
    {
        const DamagedLibrary damaged(journal.get());
        testing::internal::CaptureStderr();
        EXPECT_EQ(make(/*unused=*/nullptr), nullptr);
        EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    }
    EXPECT_EQ(DamagedLibrary::sMode, DWORD{SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX});
    EXPECT_EQ(GetThreadErrorMode(), DWORD{SEM_NOOPENFILEERRORBOX}) << "as the host had it";
    SetThreadErrorMode(before, /*lpOldMode=*/nullptr);
}

}  // namespace
