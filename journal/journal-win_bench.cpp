#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include <windows.h>

#include "clearcase/clearcaseconnection.h"
#include "testing/benchmark/comparison.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"
#include "util/windows/libraryfunction-win.h"
#include "util/windows/scopedhandle-win.h"

namespace {

using benchmark::compare;
using namespace testing_support;

/// A connection of a library beside this program. The library stays loaded.
std::unique_ptr<ClearCaseConnection> connectionOf(const wchar_t* name) {
    const HMODULE library = LoadLibraryW(name);
    const auto make = findFunction<ClearCaseImplCtorFunction>(library, CLEARCASE_IMPL_CTOR);
    if (make == nullptr) {
        throw std::runtime_error("a connection library is missing");
    }
    return std::unique_ptr<ClearCaseConnection>(make(nullptr));
}

/// Returns the last line of a file, with its end.
std::string lastLine(const std::filesystem::path& name) {
    std::ifstream file(name, std::ios::binary);
    std::string last;
    for (std::string line; std::getline(file, line);) {
        last = line + '\n';
    }
    return last;
}

TEST(Benchmark, JournaledCall) {
    const TempFolder folder;
    const EnvironmentScope configuration(
        "NBCLEARCASE_FAKE_INI",
        folder.write("c.ini", "[attrs]\nC:\\src\\main.c=/main/3*version\n"));
    const EnvironmentScope library("NBCLEARCASE_JOURNAL_LIBRARY", std::nullopt);
    const EnvironmentScope file("NBCLEARCASE_JOURNAL_FILE", folder.utf8("j.jsonl"));
    const auto bare = connectionOf(L"nbclearcase_fake.dll");
    const auto journaled = connectionOf(L"nbclearcase_journal.dll");
    const auto ask = [](ClearCaseConnection& connection) {
        std::string version;
        return connection.getElementStatus("C:\\src\\main.c", &version, nullptr);
    };
    benchmark::keepAlive(ask(*journaled));
    const std::string line = lastLine(folder.path() / "j.jsonl");
    // The same file: some take an append faster than others.
    const ScopedHandle plain(CreateFileW((folder.path() / "j.jsonl").c_str(), FILE_APPEND_DATA,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                         nullptr, OPEN_EXISTING, 0, nullptr));
    const auto append = [&] {
        DWORD written = 0;
        WriteFile(plain.get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    };
    bool isEven = false;
    compare(
        {"a journaled getElementStatus", "the call and 1.5 appends of its line", 1.0},
        [&] { return ask(*journaled); },
        [&] {
            append();
            isEven = !isEven;
            if (isEven) {
                append();
            }
            return ask(*bare);
        });
}

}  // namespace
