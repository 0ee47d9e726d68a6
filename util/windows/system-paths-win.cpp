#include "util/windows/system-paths-win.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstddef>
#include <exception>
#include <locale>
#include <stdexcept>
#include <string_view>

#include <boost/algorithm/string/predicate.hpp>

#include <windows.h>

#include "util/normalform.h"
#include "util/pathfun.h"
#include "util/platform/unicodetext-win.h"
#include "util/trailingblanks.h"
#include "util/windows/debugstream-win.h"

namespace {

constexpr std::wstring_view localPrefix = L"\\\\?\\";
constexpr std::wstring_view uncPrefix = L"\\\\?\\UNC\\";
constexpr std::wstring_view nullDevice = L"\\NUL";
constexpr size_t maxName = MAX_PATH;
constexpr size_t longestText = INT_MAX;  ///< the longest that Windows converts

bool isSlash(char c) { return isPathSeparator(c, windowsPaths); }

bool isLocal(const std::string& path) {
    return path.size() >= 3 && std::isalpha(static_cast<unsigned char>(path[0])) != 0 &&
           path[1] == ':' && isSlash(path[2]);
}

bool isNetwork(const std::string& path) {
    return path.size() >= 2 && isSlash(path[0]) && path[0] == path[1];
}

bool isPrefixed(const std::string& path) {
    return path.size() >= 4 && path[2] == '?' && path[3] == '\\';
}

/// Normalizes a path. Throws if it isn't absolute, where `normalizePath` would stop the process.
std::string folded(const std::string& path) {
    if (!isAbsolutePath(path, windowsPaths)) {
        throw std::invalid_argument("the path is not absolute");
    }
    return normalizePath(path);
}

enum class PathKind { other, local, network };

bool isAscii(std::string_view text) {
    unsigned char bits = 0;
    for (const char c : text) {
        bits = static_cast<unsigned char>(bits | c);
    }
    return bits < 0x80;
}

/// Returns whether a local path is ASCII and already normalized except for its slashes, as nearly
/// every path is.
bool isPlain(const std::string& path) {
    return path.size() <= longestText && isTidyOnDrive(path) && isAscii(path);
}

void setPlain(std::string_view path, std::wstring& result) {
    result = localPrefix;
    result.resize(localPrefix.size() + path.size());
    std::copy(path.begin(), path.end(), result.begin() + localPrefix.size());
}

void setPrefixed(std::wstring_view prefix, StringSpan path, std::wstring& result) {
    result.reserve(prefix.size() + path.length);
    result.append(prefix);
    appendWide(path, result);
}

/// Builds `result` and determines the kind of path, as far as it gets before an exception.
void buildUnicodePath(const std::string& path, std::wstring& result, PathKind& kind) {
    if (isLocal(path)) {
        if (isPlain(path)) {
            setPlain(path, result);
        } else {
            setPrefixed(localPrefix, folded(path), result);
        }
        kind = PathKind::local;
    } else if (isNetwork(path) && isPrefixed(path)) {
        appendWide(path, result);
        // Compatibility: counts as local no matter what follows the prefix: "\\?\UNC\srv\sh\nul"
        // loses the prefix as well.
        kind = PathKind::local;
    } else if (isNetwork(path)) {
        const std::string share = folded(path);
        // Throws if there are fewer than two characters: with Cygwin paths, "//" is normalized to
        // "/".
        setPrefixed(uncPrefix, std::string_view(share).substr(2), result);
        kind = PathKind::network;
    } else {
        appendWide(path, result);
    }
    for (wchar_t& c : result) {
        c = c == L'/' ? L'\\' : c;
    }
    removeTrailingBlanks(result);
}

/// Writes one line to the debugger; without memory for it, the line is lost.
void reportToDebugger(const std::string& path, const std::exception& failure) noexcept {
    try {
        DebugStream() << "System::unicodePath(\"" << path << "\"):  " << failure.what()
                      << std::endl;
    } catch (...) {
        return;
    }
}

/// Returns whether the last component is "nul", ignoring case by the rules of the global locale.
bool namesNullDevice(const std::wstring& path) {
    const size_t size = nullDevice.size();
    if (path.size() < size || path[path.size() - size] != nullDevice.front()) {
        return false;
    }
    const std::locale locale;
    if (locale != std::locale::classic()) {
        return boost::algorithm::iends_with(path, nullDevice, locale);
    }
    // The same for the classic locale, without a call for each letter.
    return std::equal(
        nullDevice.begin() + 1, nullDevice.end(), path.end() - 3,
        [](wchar_t wanted, wchar_t c) { return c == wanted || c == wanted + (L'a' - L'A'); });
}

/// Converts a path from Windows to the form that the rest of the code base uses.
std::string fromWindows(std::wstring path) {
    stripUnicodePrefix(path);
    std::replace(path.begin(), path.end(), L'\\', L'/');
    return toUtf8(path);
}

std::string absoluteForm(const std::string& path) {
    return isAbsolutePath(path, windowsPaths) ? path : joinPath(System::getcwd(), path, '/');
}

}  // namespace

std::wstring System::unicodePath(const std::string& path) {
    std::wstring result;
    PathKind kind = PathKind::other;
    try {
        buildUnicodePath(path, result, kind);
    } catch (const std::exception& e) {
        reportToDebugger(path, e);
    }
    if (kind == PathKind::local && namesNullDevice(result)) {
        result.erase(0, localPrefix.size());
    }
    return result;
}

void stripUnicodePrefix(std::wstring& path) {
    const std::wstring_view text = path;
    if (text.size() <= localPrefix.size() || text.substr(0, localPrefix.size()) != localPrefix) {
        return;
    }
    if (text.size() > uncPrefix.size() && text.substr(0, uncPrefix.size()) == uncPrefix) {
        path.replace(0, uncPrefix.size(), L"\\\\");
    } else {
        path.erase(0, localPrefix.size());
    }
}

std::string System::getcwd() {
    const DWORD room = GetCurrentDirectoryW(0, /*lpBuffer=*/nullptr);
    if (room == 0) {
        return {};
    }
    std::wstring directory(room, L'\0');
    const DWORD length = GetCurrentDirectoryW(room, directory.data());
    // Another thread may have changed to a longer directory in between.
    if (length == 0 || length > room) {
        return {};
    }
    directory.resize(length);
    return fromWindows(directory);
}

bool System::longPath(const std::string& path, std::string& result) {
    result = absoluteForm(path);
    const std::wstring name = unicodePath(result);
    std::wstring buffer(maxName, L'\0');
    DWORD length = GetLongPathNameW(name.c_str(), buffer.data(), maxName);
    if (length > maxName) {
        buffer.resize(length);
        length = GetLongPathNameW(name.c_str(), buffer.data(), length);
    }
    // A name that grew in between doesn't fit, and then the buffer has nothing of it.
    if (length == 0 || length > buffer.size()) {
        return false;
    }
    buffer.resize(length);
    result = fromWindows(buffer);
    return true;
}

bool System::shortPath(const std::string& path, std::string& result) {
    result = absoluteForm(path);
    std::wstring buffer(maxName, L'\0');
    const DWORD length = GetShortPathNameW(unicodePath(result).c_str(), buffer.data(), maxName);
    if (length == 0) {
        return false;
    }
    // Compatibility: unlike for the long form, there is no second call. The returned length is used
    // even for a text that didn't fit: the result is then that many null characters.
    buffer.resize(length);
    result = fromWindows(buffer);
    return true;
}
