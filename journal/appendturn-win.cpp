#include "journal/appendturn-win.h"

#include <array>
#include <cwchar>

namespace journal {
namespace {

constexpr int quickAttempts = 200;  ///< a turn takes about as long as this many
/// In milliseconds. On a busy machine a process that has the turn may not run for a while.
constexpr ULONGLONG longestTurn = 1000;

uint64_t ownName() { return uint64_t{GetCurrentProcessId()} << 32 | GetCurrentThreadId(); }

bool hasEnded(uint64_t owner) {
    const ScopedHandle process(
        OpenProcess(SYNCHRONIZE, /*bInheritHandle=*/FALSE, static_cast<DWORD>(owner >> 32)));
    if (!process.isOpen()) {
        return GetLastError() == ERROR_INVALID_PARAMETER;
    }
    return WaitForSingleObject(process.get(), /*dwMilliseconds=*/0) == WAIT_OBJECT_0;
}

}  // namespace

AppendTurn::AppendTurn(HANDLE file) {
    BY_HANDLE_FILE_INFORMATION information;
    if (!GetFileInformationByHandle(file, &information)) {
        return;
    }
    // The same for all that have the file open, by whatever path.
    std::array<wchar_t, 80> name;
    swprintf(name.data(), name.size(), L"Local\\nbclearcase_journal-%08lx-%08lx%08lx",
             information.dwVolumeSerialNumber, information.nFileIndexHigh,
             information.nFileIndexLow);
    *mMemory.receive() =
        CreateFileMappingW(INVALID_HANDLE_VALUE, /*lpFileMappingAttributes=*/nullptr,
                           PAGE_READWRITE, 0, sizeof(Shared), name.data());
    if (!mMemory.isOpen()) {
        return;
    }
    if (void* const view = MapViewOfFile(mMemory.get(), FILE_MAP_WRITE, 0, 0, 0)) {
        mShared = static_cast<Shared*>(view);
    }
}

AppendTurn::~AppendTurn() {
    if (mShared != &mOwn) {
        UnmapViewOfFile(mShared);
    }
}

bool AppendTurn::takeFrom(uint64_t owner, uint64_t self) {
    return mShared->owner.compare_exchange_strong(owner, self, std::memory_order_acquire,
                                                  std::memory_order_relaxed);
}

void AppendTurn::take(uint64_t self) {
    for (int i = 0; i < quickAttempts; ++i) {
        if (takeFrom(0, self)) {
            return;
        }
        YieldProcessor();
    }
    uint64_t owner = 0;
    ULONGLONG since = 0;  // when the owner was first seen
    while (!takeFrom(0, self)) {
        const uint64_t current = mShared->owner.load(std::memory_order_relaxed);
        if (current != owner) {
            owner = current;
            since = GetTickCount64();
        }
        // Leaves the processor to the owner.
        Sleep(1);
        const bool isLate = GetTickCount64() - since > longestTurn;
        if (owner != 0 && (isLate || hasEnded(owner))) {
            // What the process wrote last may still be on its way.
            Sleep(1);
            if (takeFrom(owner, self)) {
                return;
            }
        }
    }
}

AppendTurn::Scope::Scope(AppendTurn& turn) : mTurn(turn), mSelf(ownName()) { mTurn.take(mSelf); }

AppendTurn::Scope::~Scope() {
    // Unless the turn has been taken away.
    uint64_t self = mSelf;
    mTurn.mShared->owner.compare_exchange_strong(self, 0, std::memory_order_release,
                                                 std::memory_order_relaxed);
}

}  // namespace journal
