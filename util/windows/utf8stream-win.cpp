#include "util/windows/utf8stream-win.h"

#include <array>
#include <cstddef>
#include <string>

#include <windows.h>

#include "util/assertion.h"
#include "util/platform/errortext-win.h"

namespace {

constexpr size_t blockSize = 4096;
// The length in bytes of the longest character of any code page: a block that ends inside a
// character is complete after at most that many more bytes.
constexpr size_t longestCharacter = 4;
constexpr size_t mostBytes = blockSize + longestCharacter;

/// Returns the flags that MultiByteToWideChar accepts for a code page; it refuses others.
uint32_t conversionFlags(uint32_t codePage, bool lenient) {
    constexpr uint32_t firstIscii = 57002;
    constexpr uint32_t lastIscii = 57011;
    constexpr uint32_t gb18030 = 54936;
    if (codePage >= firstIscii && codePage <= lastIscii) {
        return 0;
    }
    switch (codePage) {
        case CP_SYMBOL:
        // ISO 2022, for Japanese, Korean and Chinese.
        case 50220:
        case 50221:
        case 50222:
        case 50225:
        case 50227:
        case 50229:
        case CP_UTF7:
            return 0;
        case gb18030:
        case CP_UTF8:
            return MB_ERR_INVALID_CHARS;
        default:
            return lenient ? MB_PRECOMPOSED : MB_PRECOMPOSED | MB_ERR_INVALID_CHARS;
    }
}

std::string utf8Of(const wchar_t* units, size_t count) {
    const auto convert = [units, count](char* to, int size) {
        return WideCharToMultiByte(CP_UTF8, /*dwFlags=*/0, units, static_cast<int>(count), to, size,
                                   /*lpDefaultChar=*/nullptr, /*lpUsedDefaultChar=*/nullptr);
    };
    const int size = convert(nullptr, 0);
    std::string text(static_cast<size_t>(size), '\0');
    convert(text.data(), size);
    return text;
}

}  // namespace

utf8streambuf::utf8streambuf(FILE* file, uint32_t codePage, bool lenient)
    : std::stringbuf(std::ios_base::in),
      mFile(file),
      mCodePage(codePage),
      mFlags(conversionFlags(codePage, lenient)) {}

utf8streambuf::~utf8streambuf() {
    // Nothing was written, so nothing can get lost.
    static_cast<void>(std::fclose(mFile));
}

utf8streambuf::int_type utf8streambuf::underflow() {
    if (std::feof(mFile) != 0) {
        return traits_type::eof();
    }
    std::array<char, mostBytes> bytes;
    size_t amount = std::fread(bytes.data(), 1, blockSize, mFile);
    if (amount == 0) {
        return traits_type::eof();
    }

    // One unit per byte: the surrogate pair of a character that is read whole can end after the
    // 4,096th unit.
    std::array<wchar_t, mostBytes> units;
    size_t numConverted = 0;
    // A conversion can produce nothing without an error, for example from a lone "+" in UTF-7.
    SetLastError(0);
    for (;;) {
        numConverted = static_cast<size_t>(
            MultiByteToWideChar(mCodePage, mFlags, bytes.data(), static_cast<int>(amount),
                                units.data(), static_cast<int>(units.size())));
        if (numConverted != 0) {
            break;
        }
        const DWORD error = GetLastError();
        // The block may end inside a character. Any other error won't go away with more bytes.
        const bool worthMore =
            error == ERROR_NO_UNICODE_TRANSLATION && amount < mostBytes && std::feof(mFile) == 0;
        if (!worthMore || std::fread(bytes.data() + amount, 1, 1, mFile) == 0) {
            throw Win32Exception("MultiByteToWideChar", error);
        }
        ++amount;
    }
    NB_ASSERT(numConverted <= amount);

    str(utf8Of(units.data(), numConverted));
    return std::stringbuf::underflow();
}

utf8istream::utf8istream(FILE* file, uint32_t codePage, bool lenient)
    : std::istream(new utf8streambuf(file, codePage, lenient)) {}

utf8istream::~utf8istream() { delete dynamic_cast<utf8streambuf*>(rdbuf()); }
