#pragma once

#include <cstdint>
#include <string>

#include <windows.h>
#include <winioctl.h>

#include "testing/calls/replacedcall-win.h"
#include "util/windows/scopedhandle-win.h"
#include "util/windows/system-paths-win.h"

namespace testing_support {

/// A little more than 32 bits can hold.
inline constexpr int64_t largeSize = 0x1'0000'0003;

/// Makes a file of that size, all NULs, which takes no disk space. Returns false if the system has
/// no such files.
[[nodiscard]] inline bool makeLargeFile(const std::string& path) {
    const ScopedHandle file(CreateFileW(System::unicodePath(path).c_str(), GENERIC_WRITE, 0,
                                        nullptr, CREATE_ALWAYS, 0, nullptr));
    DWORD ignored = 0;
    // Some systems have only sparse files and don't know this call.
    DeviceIoControl(file.get(), FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &ignored, nullptr);
    LARGE_INTEGER end;
    end.QuadPart = largeSize;
    return SetFilePointerEx(file.get(), end, nullptr, FILE_BEGIN) && SetEndOfFile(file.get());
}

/// Returns the size of a file, and fills `head` and `tail` with its first and last bytes, as many
/// as each is long.
inline int64_t inspectLargeFile(const std::string& path, std::string& head, std::string& tail) {
    const ScopedHandle file(CreateFileW(System::unicodePath(path).c_str(), GENERIC_READ, 0, nullptr,
                                        OPEN_EXISTING, 0, nullptr));
    LARGE_INTEGER size = {};
    GetFileSizeEx(file.get(), &size);
    const auto read = [&file](std::string& text, int64_t offset) {
        LARGE_INTEGER place;
        place.QuadPart = offset;
        DWORD count = 0;
        SetFilePointerEx(file.get(), place, nullptr, FILE_BEGIN);
        ReadFile(file.get(), text.data(), static_cast<DWORD>(text.size()), &count, nullptr);
        text.resize(count);
    };
    read(head, 0);
    read(tail, size.QuadPart - static_cast<int64_t>(tail.size()));
    return size.QuadPart;
}

/// Until the scope ends, a SetFilePointer call from a file's end without a high word can't move
/// beyond 32 bits, as on Windows, regardless of what the system at hand does. At most one object at
/// a time.
class [[nodiscard]] NarrowFilePointer {
public:
    NarrowFilePointer() { sOriginal = mCall.original(); }

private:
    static DWORD WINAPI set(HANDLE file, LONG distance, PLONG high, DWORD from) {
        LARGE_INTEGER place = {};
        if (high == nullptr && from == FILE_END && GetFileSizeEx(file, &place) &&
            place.QuadPart + distance > INT64_C(0xFFFFFFFF)) {
            SetLastError(ERROR_INVALID_PARAMETER);
            return INVALID_SET_FILE_POINTER;
        }
        return sOriginal(file, distance, high, from);
    }

    static inline decltype(SetFilePointer)* sOriginal = nullptr;
    ReplacedCall<decltype(SetFilePointer)> mCall{"SetFilePointer", set};
};

}  // namespace testing_support
