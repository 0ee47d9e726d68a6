#pragma once

// For tests of a host: a scope in which a fake connection answers what the test says. A host's test
// needs this header, the contract and nbclearcase_fake.dll beside the test program.
//
//     TEST(BuildToolTest, ALinkLeadsToTheFileThatIsCheckedOut) {
//         FakeScenario scenario;
//         scenario.element("C:/src/a.c", elementCheckedOutFile).link("C:/src/l", "..\\src\\a.c");
//         ClearCaseConnection& connection = scenario.connect();
//         std::string target;
//         EXPECT_EQ(connection.getElementStatus("C:/src/l", nullptr, &target),
//                   elementSymbolicLink);
//         EXPECT_EQ(target, "C:/src/..\\src\\a.c");
//         EXPECT_EQ(connection.getElementStatus(target.c_str(), nullptr, nullptr),
//                   elementCheckedOutFile);
//     }
//
// While a scenario exists, NBCLEARCASE_FAKE_INI names its temporary file, CLEARCASE_ROOT is its
// view root or isn't set, and the library is loaded. `element`, `link` and `vob` write to the file
// at once. Each call of `connect` makes a connection that knows what has been said up to then. A
// host that loads the library and connects itself reads the same file. What a scenario doesn't say
// is answered as without one: by the files on the disk.
//
// At its end a scenario deletes its connections, unloads the library, restores both variables and
// removes the file; also if its constructor throws. Two things are left: the file, if the process
// is stopped; and in the C runtime, which can't set an empty variable, such a variable is removed.
// If the library is nbclearcase_journal.dll, the journal is left too, and so is the library that
// answers, which the journal keeps loaded until the process ends.
//
// There is at most one scenario at a time in a program, as the environment is one: the constructor
// of a second one, in any thread, throws std::logic_error. No other thread may use the environment
// while a scenario is created or destroyed or sets its view root. One thread at a time may call a
// scenario; any thread may use its connections.
//
// What a configuration can't say is refused with std::invalid_argument, which says why, and changes
// nothing; clearcase/fakeconfiguration.h has the list. A path that isn't absolute is among it, as
// it would stop the host.
//
// Texts are UTF-8, except VOB tags, which are in the system's code page. Build the test with the
// compiler and the C runtime of the library, as a host. The header includes windows.h; winsock2.h,
// if it is used, must be included before. Nothing need be linked.

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>

#include <windows.h>

#include "clearcase/clearcaseconnection.h"
#include "clearcase/fakeconfiguration.h"

// The parts of the class below.
namespace fakescenario {

[[nodiscard]] inline std::string utf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

[[nodiscard]] inline std::wstring wideRoot(std::string_view root) {
    try {
        return std::filesystem::path(std::u8string(root.begin(), root.end())).wstring();
    } catch (const std::system_error&) {
        throw std::invalid_argument("the view root isn't UTF-8");
    }
}

[[noreturn]] inline void failedCall(const std::string& what, DWORD error) {
    throw std::system_error(static_cast<int>(error), std::system_category(), what);
}

/// Exists once at a time. The constructor of a second one throws std::logic_error.
class OnlyOne {
public:
    OnlyOne() {
        if (sExists.exchange(true)) {
            throw std::logic_error(
                "there is another FakeScenario, and the environment is one for all threads: end "
                "that scenario first");
        }
    }
    ~OnlyOne() { sExists = false; }
    OnlyOne(const OnlyOne&) = delete;
    OnlyOne& operator=(const OnlyOne&) = delete;

private:
    static inline std::atomic<bool> sExists = false;
};

/// A new, empty file in the system's temporary folder, which the destructor removes. A file that
/// can't be removed is reported to the debugger.
class TemporaryFile {
public:
    TemporaryFile() {
        const std::filesystem::path folder = std::filesystem::temp_directory_path();
        if (GetTempFileNameW(folder.c_str(), L"nbc", 0, mName.data()) == 0) {
            const DWORD error = GetLastError();
            failedCall("no file can be created in " + utf8(folder), error);
        }
        mName.resize(mName.find(L'\0'));
    }
    ~TemporaryFile() {
        if (DeleteFileW(mName.c_str()) == FALSE) {
            OutputDebugStringA("FakeScenario: its temporary file can't be removed\n");
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    [[nodiscard]] const std::wstring& name() const { return mName; }

    void append(std::string_view text) const {
        // The library couldn't open a file that is open here with the right to delete it.
        std::ofstream file(std::filesystem::path(mName), std::ios::binary | std::ios::app);
        file << text;
        file.close();
        if (!file) {
            throw std::runtime_error(utf8(mName) + " can't be written");
        }
    }

private:
    std::wstring mName = std::wstring(MAX_PATH, L'\0');
};

/// A variable of the environment, of both the C runtime and the system. The destructor restores it
/// in both.
class EnvironmentVariable {
public:
    /// An empty value removes the variable. `name` must outlive the object.
    EnvironmentVariable(const wchar_t* name, const std::wstring& value)
        : mName(name), mRuntimeBefore(runtimeValue(name)), mSystemBefore(systemValue(name)) {
        try {
            set(value);
        } catch (...) {
            restore();
            throw;
        }
    }
    ~EnvironmentVariable() { restore(); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

    void set(const std::wstring& value) {
        if (!put(value.c_str(), value.empty() ? nullptr : value.c_str())) {
            throw std::runtime_error(utf8(mName) + " can't be set");
        }
    }

private:
    static std::optional<std::wstring> runtimeValue(const wchar_t* name) {
        size_t size = 0;  // with the terminator
        static_cast<void>(_wgetenv_s(&size, nullptr, 0, name));
        if (size == 0) {
            return std::nullopt;
        }
        std::wstring value(size, L'\0');
        static_cast<void>(_wgetenv_s(&size, value.data(), value.size(), name));
        value.pop_back();
        return value;
    }

    static std::optional<std::wstring> systemValue(const wchar_t* name) {
        std::wstring value(MAX_PATH, L'\0');
        for (;;) {
            SetLastError(NO_ERROR);  // an empty value returns the same as a missing variable
            const DWORD size =
                GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size()));
            if (size == 0 && GetLastError() == ERROR_ENVVAR_NOT_FOUND) {
                return std::nullopt;
            }
            const bool fits = size < value.size();
            value.resize(size);
            if (fits) {
                return value;
            }
        }
    }

    /// Sets the two values. An empty one of the runtime, or null for the system, removes it there.
    [[nodiscard]] bool put(const wchar_t* runtime, const wchar_t* system) const noexcept {
        const bool isInRuntime = _wputenv_s(mName, runtime) == 0;
        const bool isInSystem = SetEnvironmentVariableW(mName, system) != FALSE ||
                                (system == nullptr && GetLastError() == ERROR_ENVVAR_NOT_FOUND);
        return isInRuntime && isInSystem;
    }

    void restore() const noexcept {
        if (!put(mRuntimeBefore ? mRuntimeBefore->c_str() : L"",
                 mSystemBefore ? mSystemBefore->c_str() : nullptr)) {
            OutputDebugStringA("FakeScenario: a variable of the environment isn't restored\n");
        }
    }

    const wchar_t* mName;
    std::optional<std::wstring> mRuntimeBefore;
    std::optional<std::wstring> mSystemBefore;
};

struct Unload {
    void operator()(HMODULE library) const { FreeLibrary(library); }
};
using LoadedLibrary = std::unique_ptr<std::remove_pointer_t<HMODULE>, Unload>;

[[nodiscard]] inline LoadedLibrary load(const std::filesystem::path& library) {
    // With a folder it is a path, and not to be searched for.
    std::filesystem::path name =
        library.has_parent_path() ? std::filesystem::absolute(library) : library;
    LoadedLibrary loaded(LoadLibraryW(name.make_preferred().c_str()));
    if (loaded == nullptr) {
        const DWORD error = GetLastError();
        failedCall(utf8(library) + " can't be loaded", error);
    }
    return loaded;
}

[[nodiscard]] inline ClearCaseImplCtorFunction* constructorIn(
    const LoadedLibrary& loaded, const std::filesystem::path& library) {
    const auto constructor = reinterpret_cast<ClearCaseImplCtorFunction*>(
        reinterpret_cast<void*>(GetProcAddress(loaded.get(), CLEARCASE_IMPL_CTOR)));
    if (constructor == nullptr) {
        throw std::runtime_error(utf8(library) + " has no " + CLEARCASE_IMPL_CTOR +
                                 "; name a connection library");
    }
    return constructor;
}

}  // namespace fakescenario

/// A scope in which a fake connection answers what a test says. See the start of this header.
class FakeScenario {
public:
    /// `library` is loaded as Windows finds it, first beside the program; if it has a folder, from
    /// there. Throws std::logic_error if there is another scenario, and std::runtime_error if the
    /// library can't be loaded or isn't a connection library, or if the file or the environment
    /// can't be changed.
    explicit FakeScenario(const std::filesystem::path& library = "nbclearcase_fake.dll")
        : mLibrary(fakescenario::load(library)),
          mConstructor(fakescenario::constructorIn(mLibrary, library)) {}
    ~FakeScenario() = default;
    FakeScenario(const FakeScenario&) = delete;
    FakeScenario& operator=(const FakeScenario&) = delete;

    /// @{
    /// These three are those of FakeConfiguration. Throw std::runtime_error if the file can't be
    /// written.
    FakeScenario& element(std::string_view path, ElementType type) {
        mConfiguration.element(path, type);
        return write();
    }
    FakeScenario& link(std::string_view path, std::string_view text) {
        mConfiguration.link(path, text);
        return write();
    }
    FakeScenario& vob(std::string_view tag) {
        mConfiguration.vob(tag);
        return write();
    }
    /// @}

    /// Sets CLEARCASE_ROOT, or removes it if `root` is empty. Its last component is the view tag of
    /// all connections from now on. A connection made from now on finds each element also by a
    /// second path: the root, directly followed by the path as it was said here. Throws
    /// std::invalid_argument if a variable can't have this value, or if it isn't UTF-8.
    FakeScenario& viewRoot(std::string_view root) {
        constexpr size_t mostUnits = 32766;  // of a variable's value
        const std::wstring value = fakescenario::wideRoot(root);
        if (value.find(L'\0') != std::wstring::npos || value.size() > mostUnits) {
            throw std::invalid_argument(
                "the view root has a null character, or is longer than a variable can be");
        }
        mRootVariable.set(value);
        return *this;
    }

    /// Returns a new connection, which exists until the scenario ends. Throws std::bad_alloc if
    /// there is no memory for it, and what the library throws.
    [[nodiscard]] ClearCaseConnection& connect() {
        std::unique_ptr<ClearCaseConnection> connection(mConstructor(nullptr));
        if (connection == nullptr) {
            throw std::bad_alloc();
        }
        mConnections.push_back(std::move(connection));
        return *mConnections.back();
    }

    /// The configuration, for a host in another process. Removed when the scenario ends.
    [[nodiscard]] std::filesystem::path file() const { return mFile.name(); }

private:
    FakeScenario& write() {
        const std::string_view text = mConfiguration.text();
        mFile.append(text.substr(mWritten));
        mWritten = text.size();
        return *this;
    }

    // In this order: the connections end before the library is unloaded, and so on.
    fakescenario::OnlyOne mOnlyOne;
    fakescenario::TemporaryFile mFile;
    fakescenario::EnvironmentVariable mFileVariable{L"NBCLEARCASE_FAKE_INI", mFile.name()};
    fakescenario::EnvironmentVariable mRootVariable{L"CLEARCASE_ROOT", L""};
    fakescenario::LoadedLibrary mLibrary;
    ClearCaseImplCtorFunction* mConstructor;
    std::vector<std::unique_ptr<ClearCaseConnection>> mConnections;
    FakeConfiguration mConfiguration;
    size_t mWritten = 0;  ///< how much of the configuration is in the file
};
