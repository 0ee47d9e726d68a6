#pragma once

#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include "clearcase/clearcaseconnection.h"
#include "testing/jsonschema.h"
#include "testing/processes/childprocess-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/libraryfunction-win.h"

namespace testing_support {

inline constexpr const char* fakeLibrary = "nbclearcase_fake.dll";
inline constexpr const char* journalLibrary = "nbclearcase_journal.dll";

/// The name of a test with a library as its parameter: "fake" or "journal".
inline std::string libraryTestName(const testing::TestParamInfo<const char*>& info) {
    return info.param == std::string(fakeLibrary) ? "fake" : "journal";
}

/// A journal in a folder of its own, which the library that writes journals writes. The others
/// don't see it. It asks the fake.
class [[nodiscard]] JournalFile {
public:
    /// Returns what is wrong with the lines (see `journalComplaints`). There is nothing to read if
    /// the library was another one.
    std::string complaints() const {
        std::ifstream file(mFolder.path() / "j.jsonl", std::ios::binary);
        return journalComplaints({std::istreambuf_iterator<char>(file), {}});
    }

private:
    TempFolder mFolder;
    EnvironmentScope mFile{"NBCLEARCASE_JOURNAL_FILE", mFolder.utf8("j.jsonl")};
    EnvironmentScope mLibrary{"NBCLEARCASE_JOURNAL_LIBRARY", std::nullopt};
};

/// A DLL as it ships, loaded from the test program's folder until the scope ends.
class [[nodiscard]] ShippedLibrary {
public:
    explicit ShippedLibrary(const std::string& name = fakeLibrary)
        : mLibrary(LoadLibraryW((testProgramFolder() / name).c_str())) {
        if (mLibrary == nullptr) {
            throw std::runtime_error("the library can't be loaded");
        }
        mMake = findFunction<ClearCaseImplCtorFunction>(mLibrary, CLEARCASE_IMPL_CTOR);
        if (mMake == nullptr) {
            FreeLibrary(mLibrary);
            throw std::runtime_error(std::string("the library doesn't export ") +
                                     CLEARCASE_IMPL_CTOR);
        }
    }
    ~ShippedLibrary() {
        FreeLibrary(mLibrary);
        // The journal keeps the library that it asks, which would keep its drives for later tests.
        while (HMODULE kept = GetModuleHandleW(L"nbclearcase_fake.dll")) {
            FreeLibrary(kept);
        }
    }
    ShippedLibrary(const ShippedLibrary&) = delete;
    ShippedLibrary& operator=(const ShippedLibrary&) = delete;

    HMODULE module() const { return mLibrary; }
    /// Creates a connection, which must be destroyed before the library is unloaded.
    std::unique_ptr<ClearCaseConnection> connect(void* argument = nullptr) const {
        return std::unique_ptr<ClearCaseConnection>(mMake(argument));
    }

private:
    HMODULE mLibrary;
    ClearCaseImplCtorFunction* mMake = nullptr;
};

}  // namespace testing_support
