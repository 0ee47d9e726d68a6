// A FakeScenario whose library is the journal.

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include "clearcase/fakescenario.h"
#include "testing/scopes/tempfolder.h"

namespace {

using testing_support::TempFolder;

TEST(JournaledScenarioTest, TheJournalAndTheLibraryThatAnswersStay) {
    const TempFolder folder;
    const std::filesystem::path journal = folder.path() / "j.jsonl";
    const fakescenario::EnvironmentVariable file(L"NBCLEARCASE_JOURNAL_FILE", journal.wstring());
    const fakescenario::EnvironmentVariable library(L"NBCLEARCASE_JOURNAL_LIBRARY", L"");
    std::filesystem::path configuration;
    {
        FakeScenario scenario("nbclearcase_journal.dll");
        configuration = scenario.file();
        ClearCaseConnection& connection = scenario.element("C:/a", elementNull).connect();
        EXPECT_EQ(connection.getElementStatus("C:\\a", nullptr, nullptr), elementNull);
    }
    EXPECT_FALSE(std::filesystem::exists(configuration));
    EXPECT_GT(std::filesystem::file_size(journal), 0U);
    EXPECT_EQ(GetModuleHandleW(L"nbclearcase_journal.dll"), nullptr);
    const HMODULE fake = GetModuleHandleW(L"nbclearcase_fake.dll");
    ASSERT_NE(fake, nullptr);
    EXPECT_NE(FreeLibrary(fake), FALSE) << "nothing stays for other tests";
}

}  // namespace
