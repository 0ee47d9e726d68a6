#include "util/windows/system/host-win.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <memory>

#include "util/mutex-pthreads.h"
#include "util/platform/errortext-win.h"
#include "util/platform/unicodetext-win.h"
#include "util/threadannotations.h"
#include "util/windows/system-paths-win.h"

namespace {

struct HostName {
    Mutex lock;
    std::string name NB_GUARDED_BY(lock);
};

std::string queryHostName() {
    DWORD size = 0;
    if (GetComputerNameExW(ComputerNameDnsFullyQualified, /*lpBuffer=*/nullptr, &size) ||
        GetLastError() != ERROR_MORE_DATA) {
        throw Win32Exception("GetComputerNameEx(FQDN,0)");
    }
    std::wstring name(size, L'\0');
    if (!GetComputerNameExW(ComputerNameDnsFullyQualified, name.data(), &size)) {
        throw Win32Exception("GetComputerNameEx(FQDN)");
    }
    trimNulls(name);
    return toUtf8(name);
}

std::string queryProgramDirectory() {
    std::wstring name(MAX_PATH, L'\0');
    DWORD length = 0;
    while ((length = GetModuleFileNameW(/*hModule=*/nullptr, name.data(),
                                        static_cast<DWORD>(name.size()))) == name.size()) {
        name.resize(name.size() * 2);
    }
    name.resize(length);
    const size_t end = name.rfind(L'\\');
    return toUtf8(end == std::wstring::npos ? name : name.substr(0, end));
}

}  // namespace

std::string System::userName() {
    std::array<char, 1024> name;
    DWORD size = name.size();
    return GetUserNameA(name.data(), &size) ? name.data() : "tallymake";
}

std::string System::fullHostName(bool refresh) {
    // Never freed, since a thread may still call this while the process ends.
    static auto& host = *new HostName;
    const MutexLock held(host.lock);
    if (refresh || host.name.empty()) {
        queryHostName().swap(host.name);
    }
    return host.name;
}

std::string System::tempDirectory() {
    std::array<wchar_t, MAX_PATH> path;
    const DWORD length = GetTempPathW(path.size(), path.data());
    return length == 0 || length > path.size() ? "c:\\" : toUtf8(std::wstring(path.data(), length));
}

std::string System::dateTimeText() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    std::array<wchar_t, 100> date = {};
    std::array<wchar_t, 100> time = {};
    GetDateFormatW(LOCALE_USER_DEFAULT, /*dwFlags=*/0, &now, L"yyyy/MM/dd ", date.data(),
                   date.size());
    GetTimeFormatW(LOCALE_USER_DEFAULT, TIME_FORCE24HOURFORMAT, &now, L"hh:mm:ss", time.data(),
                   time.size());
    return toUtf8(std::wstring(date.data()) + time.data());
}

const std::string& System::programDirectory() {
    static const auto& none = *new std::string;  // never freed, like the text that it replaces
    static std::atomic<const std::string*> cached{nullptr};
    if (const std::string* known = cached.load()) {
        return *known;
    }
    auto directory = std::make_unique<const std::string>(queryProgramDirectory());
    if (directory->empty()) {
        return none;
    }
    // If several threads get here, all of them return the text of the first.
    const std::string* winner = nullptr;
    if (cached.compare_exchange_strong(winner, directory.get())) {
        winner = directory.release();
    }
    return *winner;
}

std::string System::pathBelowProgram(const std::string& relative, std::string (*fallback)()) {
    std::string path = programDirectory();
    if (path.empty()) {
        return fallback();
    }
    if (!relative.empty() && path.back() != '/' && relative.front() != '/') {
        path += '/';
    }
    return path.append(relative);
}

std::string System::baseDirectory() { return pathBelowProgram("../..", getcwd); }

std::string System::configurationDirectory() { return pathBelowProgram("../../conf", getcwd); }

std::string System::installationFallback() { return pathBelowProgram("../../..", getcwd); }

CallResult System::setEnvironment(const char* entry) { return _wputenv(toWide(entry).c_str()); }

CallResult System::unsetEnvironment(const char* name) {
    return _wputenv(toWide(name).append(1, L'=').c_str());
}

bool System::changeDirectory(const std::string& path) {
    return SetCurrentDirectoryW(toWide(path).c_str());
}
