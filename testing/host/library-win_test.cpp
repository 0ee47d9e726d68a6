// The DLLs as they ship, tested from a host that is linked separately: the fake, and the journal in
// front of it.

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <winsock2.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/host/shippedlibrary-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"

/// The table of a connection, by number: the operations that must be there, with their signatures,
/// but without the class of the contract's header. Not in the unnamed namespace: the compiler would
/// see that no class derives from this one, and treat every call as one that can't happen.
class TableByNumber {
public:
    virtual ~TableByNumber() = default;
    virtual std::string operation1() = 0;
    virtual std::string operation2() = 0;
    virtual void operation3() = 0;
    virtual int operation4(const char*, std::string*, std::string*) = 0;
    virtual std::string operation5(const std::string&, const std::string&,
                                   const std::vector<std::string>&) = 0;
    virtual std::string operation6() = 0;
    virtual void operation7(const std::string&, std::vector<VobRecord>&) = 0;
    virtual void operation8(const void*, std::map<std::string, std::string>&) = 0;
    virtual std::string operation9(std::map<std::string, std::string>&) = 0;
    virtual void operation10() = 0;
    virtual bool operation11() = 0;
    virtual void operation12() = 0;
};

namespace {

using namespace testing_support;

/// A library, with a configuration that causes one complaint and has one element.
class AnyLibraryTest : public testing::TestWithParam<const char*> {
protected:
    ~AnyLibraryTest() override { EXPECT_EQ(mJournal.complaints(), ""); }

    JournalFile mJournal;
    TempFolder mFolder;
    EnvironmentScope mNoView{"CLEARCASE_ROOT", std::nullopt};
    EnvironmentScope mConfiguration{
        "NBCLEARCASE_FAKE_INI",
        mFolder.write("c.ini", "[vobs]\nbad\n/probed=\n[attrs]\nC:\\l=t\n")};
    ShippedLibrary mLibrary{GetParam()};
};

class FakeLibraryTest : public AnyLibraryTest {};

INSTANTIATE_TEST_SUITE_P(Libraries, AnyLibraryTest, testing::Values(fakeLibrary, journalLibrary),
                         libraryTestName);
INSTANTIATE_TEST_SUITE_P(Library, FakeLibraryTest, testing::Values(fakeLibrary), libraryTestName);

constexpr const char* badLineComplaint = "Invalid line in [vobs]:  bad\n";

std::string refusalOf(TableByNumber& table, void (TableByNumber::*operation)()) {
    try {
        (table.*operation)();
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return "nothing was thrown";
}

TEST_P(AnyLibraryTest, TheTwelveOperationsAreInTheirOrderAfterTheDestructor) {
    const auto connection = mLibrary.connect();
    auto& table = *reinterpret_cast<TableByNumber*>(connection.get());
    const EnvironmentScope view("CLEARCASE_ROOT", "/view/abc");

    EXPECT_EQ(table.operation1(), "") << "getOutput";
    EXPECT_EQ(table.operation2(), badLineComplaint) << "getError";
    table.operation3();  // clearMessages
    EXPECT_EQ(table.operation2(), "");
    std::string version;
    std::string target;
    EXPECT_EQ(table.operation4("C:/l", &version, &target), elementSymbolicLink)
        << "getElementStatus";
    EXPECT_EQ(target, "C:/t");
    EXPECT_EQ(table.operation5("C:\\w", "a", {}), "C:/w/a") << "canonicalizeViewPath";
    EXPECT_EQ(table.operation6(), "abc") << "getViewTag";
    std::vector<VobRecord> vobs;
    table.operation7("q:", vobs);  // probeVobs
    ASSERT_EQ(vobs.size(), 1U);
    EXPECT_EQ(vobs[0].tag, "Q:/probed");
    std::map<std::string, std::string> info;
    table.operation8(nullptr, info);  // getProductInfo
    EXPECT_EQ(info["product"], "Phony ClearCase Interface");
    std::map<std::string, std::string> drives = {{"gone", ""}};
    EXPECT_EQ(table.operation9(drives), "") << "getMvfsDrives";
    EXPECT_TRUE(drives.empty());
    EXPECT_EQ(refusalOf(table, &TableByNumber::operation10), "No ClearCase sessions when faking");
    EXPECT_TRUE(table.operation11()) << "isReady";
    EXPECT_EQ(refusalOf(table, &TableByNumber::operation12), "No connection to kill!");
}

TEST_P(AnyLibraryTest, ExceptionsOfTheLibraryAreCaughtInTheHost) {
    const auto connection = mLibrary.connect();
    EXPECT_THROW(connection->startSession(), std::runtime_error);
    EXPECT_THROW(connection->killConnection(), std::runtime_error);
}

TEST_P(AnyLibraryTest, AnyArgumentMakesTheSameConnection) {
    int something = 0;
    for (void* argument :
         {static_cast<void*>(nullptr), static_cast<void*>(&something), static_cast<void*>(this)}) {
        EXPECT_EQ(mLibrary.connect(argument)->getError(), badLineComplaint);
    }
}

/// Returns the error of creating a socket, or 0 if one can be created.
int socketError() {
    const SOCKET made = socket(AF_INET, SOCK_STREAM, 0);
    if (made == INVALID_SOCKET) {
        return WSAGetLastError();
    }
    closesocket(made);
    return 0;
}

TEST(LibraryLoadTest, SocketsAreStartedAsLongAsItIsLoadedWhateverThreadsEnd) {
    if (socketError() != WSANOTINITIALISED) {
        GTEST_SKIP() << "something else in this process has started sockets";
    }
    {
        const ShippedLibrary library;
        EXPECT_EQ(socketError(), 0);
        std::thread([] {}).join();
        EXPECT_EQ(socketError(), 0);
    }
    EXPECT_EQ(socketError(), WSANOTINITIALISED);
}

bool gRefused = false;

TEST_P(FakeLibraryTest, WithoutMemoryForItThereIsNoConnection) {
    // Only the object's own allocation fails: the runtime can't report that without any memory.
    gRefused = false;
    static void* (*allocate)(size_t) = nullptr;
    const ReplacedCall<void*(size_t)> call(
        "malloc",
        [](size_t size) -> void* {
            const bool refuse = !gRefused;
            gRefused = true;
            return refuse ? nullptr : allocate(size);
        },
        mLibrary.module());
    allocate = call.original();
    EXPECT_EQ(mLibrary.connect(), nullptr);
    EXPECT_TRUE(gRefused);
}

/// Returns the address of a table of the loaded module.
template <class Table>
const Table* tableOf(HMODULE module, int directory, const unsigned char*& base) {
    base = reinterpret_cast<const unsigned char*>(module);
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    return reinterpret_cast<const Table*>(
        base + nt->OptionalHeader.DataDirectory[directory].VirtualAddress);
}

TEST_P(AnyLibraryTest, OneNameIsExported) {
    const unsigned char* base = nullptr;
    const auto* exports =
        tableOf<IMAGE_EXPORT_DIRECTORY>(mLibrary.module(), IMAGE_DIRECTORY_ENTRY_EXPORT, base);
    ASSERT_EQ(exports->NumberOfNames, 1U);
    ASSERT_EQ(exports->NumberOfFunctions, 1U);
    const auto* names = reinterpret_cast<const DWORD*>(base + exports->AddressOfNames);
    EXPECT_STREQ(reinterpret_cast<const char*>(base + names[0]), "ClearCaseImplCtor");
}

TEST_P(AnyLibraryTest, OnlyLibrariesOfTheSystemAreNeeded) {
    const unsigned char* base = nullptr;
    const auto* library =
        tableOf<IMAGE_IMPORT_DESCRIPTOR>(mLibrary.module(), IMAGE_DIRECTORY_ENTRY_IMPORT, base);
    const std::set<std::string> system = {"ADVAPI32.dll", "KERNEL32.dll", "MPR.dll", "WS2_32.dll",
                                          "msvcrt.dll"};
    for (; library->Name != 0; ++library) {
        const std::string name = reinterpret_cast<const char*>(base + library->Name);
        // The universal C runtime is a part of the system under the names of sets of functions.
        EXPECT_TRUE(system.count(name) == 1 || name.starts_with("api-ms-win-crt-")) << name;
    }
}

TEST_P(AnyLibraryTest, TheVersionResourceSaysWhatItIs) {
    const HRSRC resource = FindResourceW(mLibrary.module(), MAKEINTRESOURCEW(1),
                                         reinterpret_cast<LPCWSTR>(RT_VERSION));
    ASSERT_NE(resource, nullptr);
    const auto* text =
        static_cast<const wchar_t*>(LockResource(LoadResource(mLibrary.module(), resource)));
    const std::wstring_view words(text, SizeofResource(mLibrary.module(), resource) / 2);
    const bool isFake = GetParam() == std::string(fakeLibrary);
    EXPECT_NE(
        words.find(isFake ? L"Fake ClearCase connection" : L"Journal of a ClearCase connection"),
        std::wstring_view::npos);
    const std::string name = GetParam();
    EXPECT_NE(words.find(std::wstring(name.begin(), name.end())), std::wstring_view::npos);
}

}  // namespace
