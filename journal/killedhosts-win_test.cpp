// Hosts that write one journal together and are killed.

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <system_error>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <windows.h>

#include "testing/ownedhandle-win.h"
#include "testing/processes/childprocess-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"

namespace {

using namespace testing_support;
using Json = nlohmann::json;

constexpr size_t threadCount = 4;
using Answers = std::array<uint32_t, threadCount>;

/// A running journalhost, whose source says what it does.
class JournalHost {
public:
    explicit JournalHost(const std::string& folder)
        : mFolder(folder),
          mName("Local\\journalhost-" + std::to_string(GetCurrentProcessId()) + "-") {
        static std::atomic<int> count = 0;
        mName += std::to_string(++count);
        mMemory.reset(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                         sizeof(uint32_t) * threadCount, mName.c_str()));
        mAnswers = static_cast<std::atomic<uint32_t>*>(
            MapViewOfFile(mMemory.get(), FILE_MAP_WRITE, 0, 0, 0));
        start();
    }
    ~JournalHost() {
        kill();
        UnmapViewOfFile(mAnswers);
    }
    JournalHost(const JournalHost&) = delete;
    JournalHost& operator=(const JournalHost&) = delete;

    const std::string& folder() const { return mFolder; }

    /// Ends the host, and returns how many answers each of its threads has got.
    Answers kill() {
        TerminateProcess(mProcess.get(), 1);
        WaitForSingleObject(mProcess.get(), INFINITE);
        Answers answers;
        std::copy_n(mAnswers, threadCount, answers.begin());
        return answers;
    }

private:
    void start() {
        const std::wstring program = (testProgramFolder() / "journalhost.exe").wstring();
        const std::wstring library = (testProgramFolder() / "nbclearcase_journal.dll").wstring();
        std::wstring line = L'"' + program + L"\" \"" + library + L"\" " +
                            std::wstring(mName.begin(), mName.end()) + L' ' +
                            std::wstring(mFolder.begin(), mFolder.end());
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process{};
        if (!CreateProcessW(program.c_str(), line.data(), nullptr, nullptr,
                            /*bInheritHandles=*/FALSE, 0, nullptr, nullptr, &startup, &process)) {
            throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                                    "CreateProcessW");
        }
        CloseHandle(process.hThread);
        mProcess.reset(process.hProcess);
    }

    std::string mFolder;
    std::string mName;
    OwnedHandle mMemory;
    OwnedHandle mProcess;
    std::atomic<uint32_t>* mAnswers = nullptr;
};

/// What a journal has of the connections in it.
class ReadJournal {
public:
    explicit ReadJournal(const std::filesystem::path& name) {
        std::ifstream file(name, std::ios::binary);
        for (std::string line; std::getline(file, line); ++mLines) {
            take(line);
        }
    }

    size_t lines() const { return mLines; }
    /// Returns how many questions of a thread there are, in their order.
    uint32_t questions(const std::string& folder, size_t thread) const {
        const auto found = mQuestions.find(folder + '/' + std::to_string(thread));
        return found == mQuestions.end() ? 0 : found->second;
    }

private:
    void take(const std::string& text) {
        const Json line = Json::parse(text, nullptr, /*allow_exceptions=*/false);
        ASSERT_TRUE(line.is_object()) << mLines << ": " << text;
        const auto process = line["process"].get<uint32_t>();
        const auto call = line["call"].get<uint64_t>();
        if (line["operation"] == "connect") {
            // A process that has ended may have given its number to another one.
            mNext[process] = 0;
        }
        ASSERT_EQ(call, mNext[process]++) << mLines << ": " << text;
        if (line["operation"] == "getElementStatus") {
            const auto path = line["arguments"]["path"].get<std::string>();
            const size_t slash = path.rfind('/');
            ASSERT_EQ(path.substr(slash + 1), std::to_string(mQuestions[path.substr(0, slash)]++))
                << mLines << ": " << text;
        }
    }

    size_t mLines = 0;
    std::map<uint32_t, uint64_t> mNext;
    std::map<std::string, uint32_t> mQuestions;
};

void killHosts(int kills) {
    constexpr size_t hostCount = 4;
    const TempFolder folder;
    const EnvironmentScope noConfiguration("NBCLEARCASE_FAKE_INI", folder.utf8("none.ini"));
    const EnvironmentScope library("NBCLEARCASE_JOURNAL_LIBRARY", std::nullopt);
    const EnvironmentScope file("NBCLEARCASE_JOURNAL_FILE", folder.utf8("j.jsonl"));
    std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): reproducible
    int started = 0;
    const auto startHost = [&] {
        return std::make_unique<JournalHost>("C:/" + std::to_string(++started));
    };
    std::vector<std::unique_ptr<JournalHost>> hosts(hostCount);
    std::generate(hosts.begin(), hosts.end(), startHost);
    std::map<std::string, Answers> answers;
    for (int i = 0; i < kills; ++i) {
        Sleep(random() % 200);
        std::unique_ptr<JournalHost>& host = hosts[random() % hostCount];
        answers[host->folder()] = host->kill();
        host = startHost();
    }
    for (const auto& host : hosts) {
        answers[host->folder()] = host->kill();
    }
    const ReadJournal journal(folder.path() / "j.jsonl");
    uint64_t answered = 0;
    for (const auto& [name, ofThreads] : answers) {
        for (size_t thread = 0; thread < threadCount; ++thread) {
            answered += ofThreads[thread];
            EXPECT_GE(journal.questions(name, thread), ofThreads[thread]) << name << ' ' << thread;
        }
    }
    EXPECT_GT(answered, 0U);
}

TEST(KilledHostsTest, NoLineOfAnAnsweredCallIsMissingOrTorn) { killHosts(10); }

TEST(KilledHostsTest, SoakNoLineIsMissingAfterTwoHundredKills) { killHosts(200); }

}  // namespace
