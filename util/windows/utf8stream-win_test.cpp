#include "util/windows/utf8stream-win.h"

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"
#include "testing/counts/allocationcount.h"
#include "testing/scopes/tempfolder.h"
#include "util/platform/errortext-win.h"
#include "util/platform/unicodetext-win.h"

namespace {

using namespace testing_support;

constexpr size_t blockSize = 4096;

// Code pages.
constexpr uint32_t utf8 = CP_UTF8;
constexpr uint32_t utf7 = CP_UTF7;
constexpr uint32_t western = 1252;
constexpr uint32_t shiftJis = 932;

constexpr DWORD noTranslation = ERROR_NO_UNICODE_TRANSLATION;

class Utf8StreamTest : public testing::Test {
protected:
    /// Returns a file with this content, open for reading.
    FILE* file(std::string_view content) const { return open(content, L"rb"); }

    FILE* open(std::string_view content, const wchar_t* mode) const {
        mFolder.write("text", content);
        FILE* const opened = _wfopen((mFolder.path() / "text").c_str(), mode);
        if (opened == nullptr) {
            throw std::runtime_error("the file can't be opened");
        }
        return opened;
    }

    /// Returns everything that the stream yields for a file with this content.
    std::string read(std::string_view content, uint32_t codePage, bool lenient = false) const {
        utf8istream stream(file(content), codePage, lenient);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    /// Returns the number of the Win32Exception thrown by reading it, 0 if there is none.
    uint32_t failure(std::string_view content, uint32_t codePage, bool lenient = false) const {
        try {
            read(content, codePage, lenient);
            return 0;
        } catch (const Win32Exception& error) {
            EXPECT_EQ(std::string(error.what()),
                      win32ErrorText("MultiByteToWideChar", static_cast<int>(error.mError)));
            return error.mError;
        }
    }

    TempFolder mFolder;
};

struct ConvertCall {
    UINT codePage;
    DWORD flags;
    int bytes;
};
std::vector<ConvertCall> gConvertCalls;
int gResult = 0;
DWORD gError = 0;

/// Records the call's arguments and returns `gResult` units "u". If that is 0, sets the error
/// `gError`, unless it is 0.
int WINAPI convert(UINT codePage, DWORD flags, LPCSTR, int bytes, LPWSTR units, int) {
    gConvertCalls.push_back({codePage, flags, bytes});
    if (gResult != 0) {
        units[0] = L'u';
    } else if (gError != 0) {
        SetLastError(gError);
    }
    return gResult;
}

/// For its scope, MultiByteToWideChar returns `result`; if that is 0, it sets `error`, unless that
/// is 0.
class Conversion {
public:
    explicit Conversion(int result, DWORD error = 0) : mCall("MultiByteToWideChar", convert) {
        gConvertCalls.clear();
        gResult = result;
        gError = error;
    }

    static std::vector<int> sizes() {
        std::vector<int> result;
        result.reserve(gConvertCalls.size());
        for (const ConvertCall& call : gConvertCalls) {
            result.push_back(call.bytes);
        }
        return result;
    }

private:
    ReplacedCall<decltype(MultiByteToWideChar)> mCall;
};

TEST_F(Utf8StreamTest, AnEmptyFileEndsAtTheFirstRead) {
    for (const uint32_t codePage : {western, utf8, utf7}) {
        utf8streambuf buffer(file(""), codePage, /*lenient=*/false);
        EXPECT_EQ(buffer.sgetc(), std::char_traits<char>::eof());
    }
}

TEST_F(Utf8StreamTest, AfterAnEndThatWasReachedNothingIsReadThoughTheFileHasGrown) {
    utf8streambuf buffer(file("x"), western, /*lenient=*/false);
    EXPECT_EQ(buffer.sbumpc(), 'x');
    // Some C runtimes continue to read a file that has grown, and others don't.
    const ReplacedCall<decltype(std::fread)> grown(
        "fread", [](void* bytes, size_t, size_t, FILE*) -> size_t {
            *static_cast<char*>(bytes) = 'y';
            return 1;
        });
    EXPECT_EQ(buffer.sgetc(), std::char_traits<char>::eof());
}

TEST_F(Utf8StreamTest, AFileOfCodePage1252IsReadAsUtf8) {
    for (const bool lenient : {false, true}) {
        EXPECT_EQ(read("caf\xE9 \x80", western, lenient), "caf\xC3\xA9 \xE2\x82\xAC");
    }
}

TEST_F(Utf8StreamTest, LineEndsAndNulCharactersStayAsTheyAre) {
    const std::string text("a\r\nb\nc\rd\0e", 10);
    EXPECT_EQ(read(text, western), text);
    EXPECT_EQ(read(text, utf8), text);
}

TEST_F(Utf8StreamTest, AByteOrderMarkIsTextLikeAnyOther) {
    EXPECT_EQ(read("\xEF\xBB\xBFx", utf8), "\xEF\xBB\xBFx");
}

TEST_F(Utf8StreamTest, FilesOfAnyNumberOfBlocksAreReadWhole) {
    for (const size_t size :
         {blockSize - 1, blockSize, blockSize + 1, 2 * blockSize, 3 * blockSize + 17}) {
        const std::string content(size, '\xE9');
        std::string expected;
        for (size_t i = 0; i < size; ++i) {
            expected += "\xC3\xA9";
        }
        EXPECT_EQ(read(content, western), expected) << size;
    }
}

TEST_F(Utf8StreamTest, LinesOverBlocksAreReadByGetline) {
    std::string content;
    std::vector<std::string> lines(1000, "line \xC3\xA9 ");
    for (size_t i = 0; i < lines.size(); ++i) {
        lines[i] += std::to_string(i);
        content += lines[i];
        content += '\n';
    }
    utf8istream stream(file(content), utf8, /*lenient=*/false);
    std::vector<std::string> result;
    for (std::string line; std::getline(stream, line);) {
        result.push_back(line);
    }
    EXPECT_EQ(result, lines);
    EXPECT_TRUE(stream.eof());
    EXPECT_FALSE(stream.bad());
}

TEST_F(Utf8StreamTest, AUtf8CharacterAnywhereOverTheEndOfABlockIsReadWhole) {
    for (const std::string character : {"\xC3\xA9", "\xE4\xB8\xAD", "\xF0\x9F\x98\x80"}) {
        for (size_t before = blockSize - character.size(); before <= blockSize; ++before) {
            const std::string upToIt = std::string(before, 'a') + character;
            EXPECT_EQ(read(upToIt, utf8), upToIt) << before << character;
            std::string content = upToIt;
            content.append(blockSize, 'b').append(character);
            EXPECT_EQ(read(content, utf8), content) << before << character;
        }
    }
}

TEST_F(Utf8StreamTest, ManyBlocksOfLongCharactersAreReadWhole) {
    for (const std::string character : {"\xE4\xB8\xAD", "\xF0\x9F\x98\x80"}) {
        std::string content = "x";
        while (content.size() < 5 * blockSize) {
            content += character;
        }
        EXPECT_EQ(read(content, utf8), content) << character;
    }
}

TEST_F(Utf8StreamTest, ADoubleByteCharacterOverTheEndOfABlockIsReadWhole) {
    // Hiragana A in Shift-JIS.
    const std::string content = std::string(blockSize - 1, 'a') + "\x82\xA0" + "bcd";
    EXPECT_EQ(read(content, shiftJis), std::string(blockSize - 1, 'a') + "\xE3\x81\x82" + "bcd");
}

TEST_F(Utf8StreamTest, ABadByteOfUtf8IsAnExceptionLenientOrNot) {
    for (const bool lenient : {false, true}) {
        EXPECT_EQ(failure("caf\xE9 noir", utf8, lenient), noTranslation);
        EXPECT_EQ(failure("x\xFF", utf8, lenient), noTranslation);
    }
}

TEST_F(Utf8StreamTest, ACharacterThatTheEndOfTheFileCutsOffIsAnException) {
    EXPECT_EQ(failure("\xE4\xB8", utf8), noTranslation);
    EXPECT_EQ(failure(std::string(blockSize - 1, 'a') + "\xE4", utf8), noTranslation);
    EXPECT_EQ(failure(std::string(blockSize - 1, 'a') + "\xE4\xB8", utf8), noTranslation);
}

TEST_F(Utf8StreamTest, ABadByteInAFullBlockOfALongFileIsAnException) {
    for (const size_t before : {size_t{0}, size_t{100}, blockSize - 1}) {
        EXPECT_EQ(
            failure(std::string(before, 'a') + "\xFF" + std::string(2 * blockSize, 'b'), utf8),
            noTranslation)
            << before;
    }
}

TEST_F(Utf8StreamTest, ABadByteEndsTheReadingOfTheStreamAsBad) {
    utf8istream stream(file("\xFF"), utf8, /*lenient=*/false);
    std::string line;
    EXPECT_FALSE(std::getline(stream, line));
    EXPECT_TRUE(stream.bad());
}

TEST_F(Utf8StreamTest, AnInvalidByteThrowsThroughAStreamWithExceptionsEnabled) {
    utf8istream stream(file("\xFF"), utf8, /*lenient=*/false);
    stream.exceptions(std::ios::badbit);
    std::string line;
    EXPECT_THROW(std::getline(stream, line), Win32Exception);
}

TEST_F(Utf8StreamTest, AfterAnExceptionReadingGoesOnAfterTheBlock) {
    const std::string content = std::string(blockSize, '\xFF') + "1234" + "after";
    utf8streambuf buffer(file(content), utf8, /*lenient=*/false);
    EXPECT_THROW(buffer.sgetc(), Win32Exception);
    EXPECT_EQ(buffer.sgetc(), 'a');
}

TEST_F(Utf8StreamTest, ABadByteIsReplacedWhereTheStreamIsLenient) {
    // A lead byte of Shift-JIS, followed by nothing.
    EXPECT_EQ(failure("\x82", shiftJis, /*lenient=*/false), noTranslation);
    EXPECT_EQ(failure("\x82", shiftJis, /*lenient=*/true), 0U);
    CPINFOEXW info;
    ASSERT_TRUE(GetCPInfoExW(shiftJis, /*dwFlags=*/0, &info));
    EXPECT_EQ(read("before\x82", shiftJis, /*lenient=*/true),
              "before" + toUtf8(std::wstring(1, info.UnicodeDefaultChar)));
}

TEST_F(Utf8StreamTest, ACodePageThatTakesNoFlagsIsRead) {
    EXPECT_EQ(read("A+AOk-B", utf7),
              "A\xC3\xA9"
              "B");
    EXPECT_EQ(read("A+AOk-B", utf7, /*lenient=*/true),
              "A\xC3\xA9"
              "B");
}

TEST_F(Utf8StreamTest, TheFlagsAreThoseThatTheCodePageTakes) {
    constexpr DWORD valid = MB_ERR_INVALID_CHARS;
    constexpr DWORD composed = MB_PRECOMPOSED;
    constexpr DWORD all = valid | composed;
    const struct {
        uint32_t codePage;
        DWORD strict;
        DWORD lenient;
    } rows[] = {
        {42, 0, 0},
        {50220, 0, 0},
        {50221, 0, 0},
        {50222, 0, 0},
        {50225, 0, 0},
        {50227, 0, 0},
        {50229, 0, 0},
        {57002, 0, 0},
        {57003, 0, 0},
        {57004, 0, 0},
        {57005, 0, 0},
        {57006, 0, 0},
        {57007, 0, 0},
        {57008, 0, 0},
        {57009, 0, 0},
        {57010, 0, 0},
        {57011, 0, 0},
        {65000, 0, 0},
        {54936, valid, valid},
        {65001, valid, valid},
        {1252, all, composed},
        {932, all, composed},
        {0, all, composed},
        {41, all, composed},
        {43, all, composed},
        {50219, all, composed},
        {50223, all, composed},
        {50224, all, composed},
        {50226, all, composed},
        {50228, all, composed},
        {50230, all, composed},
        {57001, all, composed},
        {57012, all, composed},
        {54935, all, composed},
        {64999, all, composed},
        {65002, all, composed},
    };
    for (const auto& row : rows) {
        const Conversion conversion(1);
        EXPECT_EQ(read("x", row.codePage, /*lenient=*/false), "u");
        EXPECT_EQ(read("x", row.codePage, /*lenient=*/true), "u");
        ASSERT_EQ(gConvertCalls.size(), 2U);
        EXPECT_EQ(gConvertCalls[0].codePage, row.codePage);
        EXPECT_EQ(gConvertCalls[0].flags, row.strict) << row.codePage;
        EXPECT_EQ(gConvertCalls[1].flags, row.lenient) << row.codePage;
    }
}

TEST_F(Utf8StreamTest, TheFileIsConvertedInBlocksOf4096Bytes) {
    const Conversion conversion(1);
    read(std::string(2 * blockSize + 5, 'x'), western);
    EXPECT_EQ(Conversion::sizes(), (std::vector<int>{4096, 4096, 5}));
}

TEST_F(Utf8StreamTest, FourMoreBytesAreTriedAtTheMostOneByOne) {
    const Conversion conversion(0, ERROR_NO_UNICODE_TRANSLATION);
    EXPECT_EQ(failure(std::string(2 * blockSize, 'x'), utf8), noTranslation);
    EXPECT_EQ(Conversion::sizes(), (std::vector<int>{4096, 4097, 4098, 4099, 4100}));
}

TEST_F(Utf8StreamTest, NoMoreBytesAreTriedThanTheFileHas) {
    const Conversion conversion(0, ERROR_NO_UNICODE_TRANSLATION);
    EXPECT_EQ(failure(std::string(blockSize + 2, 'x'), utf8), noTranslation);
    EXPECT_EQ(Conversion::sizes(), (std::vector<int>{4096, 4097, 4098}));
    gConvertCalls.clear();
    EXPECT_EQ(failure("xyz", utf8), noTranslation);
    EXPECT_EQ(Conversion::sizes(), std::vector<int>{3});
}

TEST_F(Utf8StreamTest, AFailureThatMoreBytesCannotMendIsAnExceptionAtOnce) {
    const std::string content(2 * blockSize, 'x');
    {
        const Conversion conversion(0, ERROR_INVALID_FLAGS);
        SetLastError(ERROR_NO_UNICODE_TRANSLATION);
        EXPECT_EQ(failure(content, western), DWORD{ERROR_INVALID_FLAGS});
        EXPECT_EQ(Conversion::sizes(), std::vector<int>{4096});
    }
    EXPECT_EQ(failure(content, 77777), DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(Utf8StreamTest, AConversionToNothingWithoutAnErrorThrowsWithoutANumber) {
    const Conversion conversion(0);
    utf8streambuf buffer(file(std::string(2 * blockSize, 'x')), utf7, /*lenient=*/false);
    SetLastError(ERROR_NO_UNICODE_TRANSLATION);
    try {
        buffer.sgetc();
        FAIL() << "no exception";
    } catch (const Win32Exception& error) {
        EXPECT_EQ(error.mError, 0U);
    }
    EXPECT_EQ(Conversion::sizes(), std::vector<int>{4096});
}

/// Reads a block of this program's file, so that a process that dies doing it leaves no file.
void readMoreUnitsThanBytes() {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(/*hModule=*/nullptr, path, MAX_PATH);
    const Conversion conversion(static_cast<int>(blockSize) + 1);
    FILE* const program = _wfopen(path, L"rb");
    if (program != nullptr) {
        utf8streambuf(program, western, /*lenient=*/false).sgetc();
    }
}

TEST(Utf8StreambufTest, MoreUnitsThanBytesAreABrokenInvariant) {
    EXPECT_DEATH(readMoreUnitsThanBytes(),
                 "assertion failed at util/windows/utf8stream-win\\.cpp\\(\\d+\\): "
                 "numConverted <= amount");
}

TEST_F(Utf8StreamTest, AsManyUnitsAsBytesAreAllowed) {
    const Conversion conversion(1);
    EXPECT_EQ(read("x", western), "u");
}

TEST_F(Utf8StreamTest, AFileThatCannotBeReadLooksLikeItsEnd) {
    FILE* writeOnly = open("", L"wb");
    utf8streambuf buffer(writeOnly, utf8, /*lenient=*/false);
    EXPECT_EQ(buffer.sgetc(), std::char_traits<char>::eof());
    EXPECT_EQ(std::feof(writeOnly), 0);
}

TEST_F(Utf8StreamTest, TheFileIsClosedWithTheStream) {
    const std::filesystem::path path = mFolder.path() / "text";
    std::error_code error;
    {
        utf8istream stream(file("text"), utf8, /*lenient=*/false);
        EXPECT_FALSE(std::filesystem::remove(path, error));
    }
    EXPECT_TRUE(std::filesystem::remove(path, error));
}

TEST_F(Utf8StreamTest, ABlockTakesTheHeapForItsTextOnly) {
    utf8streambuf buffer(file(std::string(blockSize, '\xE9')), western, /*lenient=*/false);
    const size_t before = testing_support::allocationCount();
    buffer.sgetc();
    EXPECT_EQ(testing_support::allocationCount() - before, 1U);
}

}  // namespace
