#include <string.h>

#include "testing/providers/posixprovider/provider.h"

static SRWLOCK gLock = SRWLOCK_INIT;
static CONDITION_VARIABLE gChange = CONDITION_VARIABLE_INIT;
static CONDITION_VARIABLE gBlocking = CONDITION_VARIABLE_INIT;
static unsigned gChanges;
/// For each entry, the number of waiting threads that no change so far has woken.
static int gBlocked[POSIXPROVIDER_ENTRIES];

unsigned gEpoch;

void lockState(void) { AcquireSRWLockExclusive(&gLock); }

void unlockState(void) { ReleaseSRWLockExclusive(&gLock); }

void changed(void) {
    ++gChanges;
    memset(gBlocked, 0, sizeof gBlocked);
    WakeAllConditionVariable(&gChange);
}

void awaitChange(enum posixprovider_entry entry, DWORD milliseconds) {
    const unsigned changes = gChanges;
    ++gBlocked[entry];
    WakeAllConditionVariable(&gBlocking);
    SleepConditionVariableSRW(&gChange, &gLock, milliseconds, /*Flags=*/0);
    if (changes == gChanges) {
        --gBlocked[entry];
    }
}

int posixprovider_await_blocked(enum posixprovider_entry entry, int count) {
    const ULONGLONG end = GetTickCount64() + 10000;
    lockState();
    while (gBlocked[entry] < count && GetTickCount64() < end) {
        SleepConditionVariableSRW(&gBlocking, &gLock, /*dwMilliseconds=*/100, /*Flags=*/0);
    }
    const int areBlocked = gBlocked[entry] >= count;
    unlockState();
    return areBlocked;
}
