// The installation folder in the registry, and the removal of keys.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/calls/systemmessage-win.h"
#include "testing/counts/processresources-win.h"
#include "testing/processes/childprocess-win.h"
#include "util/platform/errortext-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/system/host-win.h"

namespace {

using namespace testing_support;

/// A key for the test below HKEY_CURRENT_USER. The destructor removes it with its content.
class RegistryFolder {
public:
    RegistryFolder()
        : mName(L"Software\\nb-test-" + std::to_wstring(GetCurrentProcessId())), mKey(make(L"")) {}
    ~RegistryFolder() {
        RegDeleteTreeW(mKey, nullptr);
        RegCloseKey(mKey);
        RegDeleteKeyW(HKEY_CURRENT_USER, mName.c_str());
    }
    RegistryFolder(const RegistryFolder&) = delete;
    RegistryFolder& operator=(const RegistryFolder&) = delete;

    HKEY get() const { return mKey; }

    /// Makes a key in this one, with its missing parents.
    void add(const std::wstring& name) const { RegCloseKey(make(L"\\" + name)); }
    bool has(const wchar_t* name) const {
        HKEY key = nullptr;
        const bool found = RegOpenKeyExW(mKey, name, 0, KEY_READ, &key) == ERROR_SUCCESS;
        RegCloseKey(key);
        return found;
    }

private:
    HKEY make(const std::wstring& name) const {
        HKEY key = nullptr;
        EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, (mName + name).c_str(), 0, nullptr, 0,
                                  KEY_ALL_ACCESS, nullptr, &key, nullptr),
                  ERROR_SUCCESS);
        return key;
    }

    std::wstring mName;
    HKEY mKey;
};

constexpr wchar_t parameters[] = L"SYSTEM\\CurrentControlSet\\Services\\NimbrelAgent\\Parameters";

/// Until the scope ends, HKEY_LOCAL_MACHINE of this process is a key of the test, so that the
/// machine's settings are neither seen nor changed.
class LocalMachine {
public:
    LocalMachine() {
        EXPECT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, mFolder.get()), ERROR_SUCCESS);
    }
    ~LocalMachine() { RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr); }
    LocalMachine(const LocalMachine&) = delete;
    LocalMachine& operator=(const LocalMachine&) = delete;

    void setValue(const wchar_t* name, DWORD type, std::wstring_view text) const {
        mFolder.add(parameters);
        HKEY key = nullptr;
        ASSERT_EQ(RegOpenKeyExW(mFolder.get(), parameters, 0, KEY_ALL_ACCESS, &key), ERROR_SUCCESS);
        EXPECT_EQ(RegSetValueExW(key, name, 0, type, reinterpret_cast<const BYTE*>(text.data()),
                                 static_cast<DWORD>(text.size() * sizeof(wchar_t))),
                  ERROR_SUCCESS);
        RegCloseKey(key);
    }
    void addParameters() const { mFolder.add(parameters); }

private:
    RegistryFolder mFolder;
};

using namespace std::string_view_literals;

/// The folder three levels above this program.
std::string threeLevelsUp() {
    return toUtf8(testing_support::testProgramFolder().wstring()).append("/../../..");
}

std::string installed(DWORD type, std::wstring_view text) {
    const LocalMachine machine;
    machine.setValue(L"installDir", type, text);
    const size_t handles = handleCount();
    std::string directory = System::installationDirectory();
    EXPECT_EQ(handleCount(), handles);
    return directory;
}

TEST(SystemInstallationDirectoryTest, ItIsTheTextOfTheRegistryInUtf8) {
    EXPECT_EQ(installed(REG_SZ, L"C:\\\u0411\\agent\0"sv), "C:\\\xD0\x91\\agent");
}

TEST(SystemInstallationDirectoryTest, NullCharactersAfterTheTextAreCut) {
    // For a text without a null character Windows adds the one that follows the text.
    EXPECT_EQ(installed(REG_SZ, L"C:\\agent~"sv.substr(0, 8)), "C:\\agent");
    EXPECT_EQ(installed(REG_SZ, L"C:\\agent\0\0\0\0"sv), "C:\\agent");
}

TEST(SystemInstallationDirectoryTest, ATextOf522BytesIsTheLongest) {
    EXPECT_EQ(installed(REG_SZ, std::wstring(260, L'p') + L'\0'), std::string(260, 'p'));
    const std::wstring longer(262, L'p');
    EXPECT_EQ(installed(REG_SZ, std::wstring_view(longer).substr(0, 261)), std::string(261, 'p'));
    EXPECT_EQ(installed(REG_SZ, std::wstring(261, L'p') + L'\0'), threeLevelsUp());
}

TEST(SystemInstallationDirectoryTest, AValueOfAnotherTypeIsIgnored) {
    for (const DWORD type : {REG_NONE, REG_EXPAND_SZ, REG_BINARY, REG_MULTI_SZ}) {
        EXPECT_EQ(installed(type, L"C:\\agent\0"sv), threeLevelsUp()) << type;
    }
    EXPECT_EQ(installed(REG_DWORD, L"C:"sv), threeLevelsUp());
}

TEST(SystemInstallationDirectoryTest, AnEmptyTextIsIgnored) {
    for (const std::wstring_view text : {L""sv, L"\0"sv, L"\0\0\0"sv}) {
        EXPECT_EQ(installed(REG_SZ, text), threeLevelsUp());
    }
}

TEST(SystemInstallationDirectoryTest, WithoutTheKeyOrTheValueItLiesThreeLevelsAboveTheProgram) {
    const LocalMachine machine;
    const std::string expected = threeLevelsUp();
    const size_t handles = handleCount();
    EXPECT_EQ(System::installationDirectory(), expected);
    machine.addParameters();
    EXPECT_EQ(System::installationDirectory(), expected);
    machine.setValue(L"other", REG_SZ, L"C:\\agent\0"sv);
    EXPECT_EQ(System::installationDirectory(), expected);
    EXPECT_EQ(handleCount(), handles);
}

TEST(SystemDeleteKeyTest, AKeyWithoutOthersInItIsDeletedWithItsValues) {
    const RegistryFolder folder;
    folder.add(L"a");
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(folder.get(), L"a", 0, KEY_ALL_ACCESS, &key), ERROR_SUCCESS);
    RegSetValueExW(key, L"v", 0, REG_SZ, reinterpret_cast<const BYTE*>(L"x"), 4);
    RegCloseKey(key);
    std::string message;
    EXPECT_TRUE(System::deleteKey(folder.get(), L"a", &message));
    EXPECT_FALSE(folder.has(L"a"));
    EXPECT_EQ(message, "");
}

TEST(SystemDeleteKeyTest, AKeyOfThreeLevelsIsDeletedAndItsNeighboursStay) {
    const RegistryFolder folder;
    const std::wstring longName(255, L'\u00E9');
    for (const std::wstring name : {L"1", L"2", L"2\\x", L"2\\y", L"3"}) {
        folder.add(L"a\\" + name);
    }
    folder.add(L"a\\2\\" + longName);
    folder.add(L"aa\\b");
    const size_t handles = handleCount();
    std::string message;
    EXPECT_TRUE(System::deleteKey(folder.get(), L"a", &message));
    EXPECT_EQ(handleCount(), handles);
    EXPECT_FALSE(folder.has(L"a"));
    EXPECT_TRUE(folder.has(L"aa\\b"));
    EXPECT_EQ(message, "");
}

TEST(SystemDeleteKeyTest, APathOfKeysLosesOnlyItsLastOne) {
    const RegistryFolder folder;
    folder.add(L"a\\b\\c\\d");
    EXPECT_TRUE(System::deleteKey(folder.get(), L"a\\b", nullptr));
    EXPECT_TRUE(folder.has(L"a"));
    EXPECT_FALSE(folder.has(L"a\\b"));
}

TEST(SystemDeleteKeyTest, AnEmptyNameMeansTheKeyItself) {
    const RegistryFolder folder;
    folder.add(L"a\\b\\c");
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(folder.get(), L"a", 0, KEY_ALL_ACCESS, &key), ERROR_SUCCESS);
    std::string message;
    EXPECT_TRUE(System::deleteKey(key, L"", &message));
    RegCloseKey(key);
    EXPECT_FALSE(folder.has(L"a"));
    EXPECT_EQ(message, "");
}

TEST(SystemDeleteKeyTest, ANullNameMeansTheKeysInTheKeyAndIsAFailure) {
    const RegistryFolder folder;
    folder.add(L"b\\c");
    std::string message;
    EXPECT_FALSE(System::deleteKey(folder.get(), nullptr, &message));
    EXPECT_FALSE(folder.has(L"b"));
    EXPECT_TRUE(folder.has(L""));
    EXPECT_EQ(message, "");
}

TEST(SystemDeleteKeyTest, AMissingKeyIsASuccess) {
    const RegistryFolder folder;
    std::string message;
    EXPECT_TRUE(System::deleteKey(folder.get(), L"missing", &message));
    EXPECT_TRUE(System::deleteKey(folder.get(), L"missing\\x", nullptr));
    EXPECT_EQ(message, "");
}

std::wstring gClosedName;
decltype(RegOpenKeyExW)* gOpenKey = nullptr;

/// Opens all keys except those with the name `gClosedName`.
LSTATUS WINAPI openKey(HKEY parent, LPCWSTR name, DWORD options, REGSAM access, PHKEY key) {
    EXPECT_EQ(options, 0U);
    EXPECT_EQ(access, DWORD{KEY_READ});
    if (name == gClosedName) {
        SetLastError(ERROR_NOT_SUPPORTED);  // the result counts, not this
        return ERROR_ACCESS_DENIED;
    }
    return gOpenKey(parent, name, options, access, key);
}

/// A key of four levels, of which one can't be opened.
class ClosedKey {
public:
    explicit ClosedKey(const wchar_t* closedName) {
        mFolder.add(L"a\\b\\c\\d");
        mFolder.add(L"a\\e\\f");
        gClosedName = closedName;
        // The thread's first call opens handles for good.
        static_cast<void>(lastErrorText(false, nullptr, errorOfEither));
        gOpenKey = mCall.original();
    }

    /// Tries to delete the key, and expects false and no open handle.
    void fail(std::string* message) const {
        const size_t handles = handleCount();
        EXPECT_FALSE(System::deleteKey(mFolder.get(), L"a", message));
        EXPECT_EQ(handleCount(), handles);
    }
    /// The error whose message was asked for last.
    DWORD reportedError() const { return mMessage.calls().back().number; }
    /// Doesn't use the replaced call.
    bool has(const wchar_t* name) const {
        gClosedName.clear();
        HKEY key = nullptr;
        const bool found = gOpenKey(mFolder.get(), name, 0, KEY_READ, &key) == ERROR_SUCCESS;
        RegCloseKey(key);
        return found;
    }

private:
    RegistryFolder mFolder;
    SystemMessage mMessage{L"No access.\r\n"};
    ReplacedCall<decltype(RegOpenKeyExW)> mCall{"RegOpenKeyExW", openKey};
};

constexpr char closedMessage[] = "System::deleteKey couldn't delete registry key: No access";

TEST(SystemDeleteKeyTest, AKeyThatCannotBeOpenedIsAFailureWithTheMessageOfItsError) {
    const ClosedKey key(L"a");
    std::string message;
    key.fail(&message);
    EXPECT_EQ(message, closedMessage);
    EXPECT_EQ(key.reportedError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_TRUE(key.has(L"a\\b\\c\\d"));
}

TEST(SystemDeleteKeyTest, AFailureBelowEndsItAndItsMessageIsTheOne) {
    const ClosedKey key(L"c");
    std::string message;
    key.fail(&message);
    EXPECT_EQ(message, closedMessage);
    EXPECT_TRUE(key.has(L"a\\b\\c\\d"));
    EXPECT_TRUE(key.has(L"a\\e\\f")) << "after the failed one";
}

TEST(SystemDeleteKeyTest, TheFirstMessageIsKept) {
    const ClosedKey key(L"c");
    std::string message = "the first";
    key.fail(&message);
    EXPECT_EQ(message, "the first");
}

TEST(SystemDeleteKeyTest, WithoutAMessageAFailureIsAFailure) {
    const ClosedKey key(L"c");
    key.fail(nullptr);
    EXPECT_TRUE(key.has(L"a\\b\\c\\d"));
}

/// Until the scope ends, no call on the registry is real. Opening a key gives `key`, which is
/// empty, and the calls are recorded. The first `failures` deletions fail. With `ghost` the first
/// key in `key` always has that name (in fact the first 10 times); it can't be opened, since it
/// doesn't exist. There may be only one object at a time.
class FakeRegistry {
public:
    FakeRegistry(HKEY key, size_t failures, std::wstring ghost = {}) {
        sKey = key;
        sFailures = failures;
        sGhost = std::move(ghost);
        sEnumerations = 0;
        sEvents.clear();
    }

    static const std::vector<std::string>& events() { return sEvents; }

private:
    static inline HKEY sKey = nullptr;
    static inline size_t sFailures = 0;
    static inline std::wstring sGhost;
    static inline int sEnumerations = 0;
    static inline std::vector<std::string> sEvents;

    static LSTATUS WINAPI remove(HKEY, LPCWSTR) {
        sEvents.emplace_back("delete");
        if (sFailures == 0) {
            return ERROR_SUCCESS;
        }
        --sFailures;
        return ERROR_ACCESS_DENIED;
    }
    static LSTATUS WINAPI open(HKEY, LPCWSTR name, DWORD, REGSAM, PHKEY key) {
        if (name == sGhost) {
            sEvents.emplace_back("miss");
            return ERROR_FILE_NOT_FOUND;
        }
        sEvents.emplace_back("open");
        *key = sKey;
        return ERROR_SUCCESS;
    }
    // NOLINTNEXTLINE(readability-non-const-parameter): the signature of Windows
    static LSTATUS WINAPI enumerate(HKEY key, DWORD index, LPWSTR name, LPDWORD room, LPDWORD,
                                    LPWSTR, LPDWORD, PFILETIME) {
        EXPECT_EQ(key, sKey);
        sEvents.push_back("key " + std::to_string(index) + " of " + std::to_string(*room));
        if (sGhost.empty() || ++sEnumerations > 10) {
            return ERROR_NO_MORE_ITEMS;
        }
        lstrcpyW(name, sGhost.c_str());
        *room = static_cast<DWORD>(sGhost.size());
        return ERROR_SUCCESS;
    }
    static LSTATUS WINAPI close(HKEY key) {
        EXPECT_EQ(key, sKey);
        sEvents.emplace_back("close");
        return ERROR_SUCCESS;
    }

    ReplacedCall<decltype(RegDeleteKeyW)> mRemove{"RegDeleteKeyW", remove};
    ReplacedCall<decltype(RegOpenKeyExW)> mOpen{"RegOpenKeyExW", open};
    ReplacedCall<decltype(RegEnumKeyExW)> mEnumerate{"RegEnumKeyExW", enumerate};
    ReplacedCall<decltype(RegCloseKey)> mClose{"RegCloseKey", close};
};

using Events = std::vector<std::string>;

TEST(SystemDeleteKeyTest, TheKeyIsClosedBeforeItIsDeletedTheSecondTime) {
    const FakeRegistry registry(reinterpret_cast<HKEY>(0x1234), 1);
    EXPECT_TRUE(System::deleteKey(HKEY_CURRENT_USER, L"a", nullptr));
    EXPECT_EQ(registry.events(), (Events{"delete", "open", "key 0 of 260", "close", "delete"}));
}

TEST(SystemDeleteKeyTest, ASecondFailureOfTheDeletionIsAFailureWithoutAMessage) {
    const FakeRegistry registry(reinterpret_cast<HKEY>(0x1234), 2);
    std::string message;
    EXPECT_FALSE(System::deleteKey(HKEY_CURRENT_USER, L"a", &message));
    EXPECT_EQ(message, "");
    EXPECT_EQ(registry.events(), (Events{"delete", "open", "key 0 of 260", "close", "delete"}));
}

TEST(SystemDeleteKeyTest, AMissingKeyThatIsListedAgainIsTriedOnceAndIsAFailure) {
    const FakeRegistry registry(reinterpret_cast<HKEY>(0x1234), 3, L"ghost");
    std::string message;
    EXPECT_FALSE(System::deleteKey(HKEY_CURRENT_USER, L"a", &message));
    EXPECT_EQ(message, "");
    EXPECT_EQ(registry.events(), (Events{"delete", "open", "key 0 of 260", "delete", "miss",
                                         "key 0 of 260", "close", "delete"}));
}

/// Returns the key of a number; those of predefined keys are negative.
HKEY keyOf(uint32_t number) { return static_cast<HKEY>(LongToHandle(static_cast<LONG>(number))); }

TEST(SystemDeleteKeyTest, APredefinedKeyIsNotClosed) {
    for (const uint32_t number :
         {0x80000000U, 0x80000001U, 0x80000002U, 0x80000003U, 0x80000004U, 0x80000005U, 0x80000006U,
          0x80000007U, 0x80000050U, 0x80000060U}) {
        const FakeRegistry registry(keyOf(number), 1);
        EXPECT_TRUE(System::deleteKey(HKEY_CURRENT_USER, L"a", nullptr));
        EXPECT_EQ(registry.events(), (Events{"delete", "open", "key 0 of 260", "delete"}))
            << number;
    }
}

TEST(SystemDeleteKeyTest, AKeyNextToThePredefinedOnesIsClosed) {
    for (const uint32_t number :
         {0x7FFFFFFFU, 0x80000008U, 0x8000004FU, 0x80000051U, 0x8000005FU, 0x80000061U}) {
        const FakeRegistry registry(keyOf(number), 1);
        EXPECT_TRUE(System::deleteKey(HKEY_CURRENT_USER, L"a", nullptr));
        EXPECT_EQ(registry.events(), (Events{"delete", "open", "key 0 of 260", "close", "delete"}))
            << number;
    }
}

}  // namespace
