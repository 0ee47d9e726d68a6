#include <string.h>

#include "testing/providers/posixprovider/provider.h"

enum { PROCESSES = 32, KILLS = 256 };

struct Process {
    uint32_t windowsPid;
    int64_t pid;
    int64_t group;
};

struct Kill {
    int64_t target;
    int signal;
};

/// The other processes; this one isn't included.
static struct Process gProcesses[PROCESSES];
static int gProcessCount;
static struct Kill gKills[KILLS];
static int gKillCount;

static int internalizePid(void* self, const void* external, size_t length, int64_t* result) {
    (void)self;
    const struct Call call = enter(POSIXPROVIDER_INTERNALIZE_PID);
    *result = -1;
    uint32_t windowsPid = 0;
    if (length != sizeof windowsPid) {
        fault("internalize_pid: a length of %u", (unsigned)length);
        return leave(call, POSIXPROVIDER_INVALID_ARGUMENT);
    }
    memcpy(&windowsPid, external, sizeof windowsPid);
    if (!call.acts) {
        return leave(call, 0);
    }
    if (windowsPid == GetCurrentProcessId()) {
        *result = POSIXPROVIDER_OWN_PID;
    }
    for (int i = 0; i < gProcessCount; ++i) {
        if (gProcesses[i].windowsPid == windowsPid) {
            *result = gProcesses[i].pid;
        }
    }
    return leave(call, *result == -1 ? POSIXPROVIDER_MISSING_PROCESS : 0);
}

static int64_t getpid(void* self) {
    (void)self;
    leave(enter(POSIXPROVIDER_SYSTEM_GETPID), 0);
    return POSIXPROVIDER_OWN_PID;
}

static int getpgid(void* self, int64_t pid, int64_t* result) {
    (void)self;
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_GETPGID);
    *result = -1;
    if (!call.acts) {
        return leave(call, 0);
    }
    if (pid == POSIXPROVIDER_OWN_PID) {
        *result = POSIXPROVIDER_OWN_GROUP;
    }
    for (int i = 0; i < gProcessCount; ++i) {
        if (gProcesses[i].pid == pid) {
            *result = gProcesses[i].group;
        }
    }
    return leave(call, *result == -1 ? POSIXPROVIDER_MISSING_PROCESS : 0);
}

static int isOther(int64_t target) {
    for (int i = 0; i < gProcessCount; ++i) {
        if (gProcesses[i].pid == target || gProcesses[i].group == -target) {
            return 1;
        }
    }
    return 0;
}

static void noteKill(int64_t target, int signal) {
    if (gKillCount < KILLS) {
        gKills[gKillCount++] = (struct Kill){.target = target, .signal = signal};
    }
}

static int killOf(void* self, int64_t target, int signal) {
    (void)self;
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_KILL);
    if (!call.acts) {
        return leave(call, 0);
    }
    const int isOwn = target == POSIXPROVIDER_OWN_PID || target == -POSIXPROVIDER_OWN_GROUP;
    if (!isOwn && !isOther(target)) {
        return leave(call, POSIXPROVIDER_MISSING_PROCESS);
    }
    // Signal 0 only checks that the process exists.
    if (signal != 0 && !isSignal(signal)) {
        return leave(call, POSIXPROVIDER_INVALID_ARGUMENT);
    }
    if (isOther(target)) {
        noteKill(target, signal);
    }
    if (isOwn && signal != 0) {
        raiseSignal(signal);
    }
    return leave(call, 0);
}

void putProcessEntries(unsigned char* embeddingTable, unsigned char* table) {
    PUT_ENTRY(embeddingTable, 48, internalizePid);
    PUT_ENTRY(table, 200, getpid);
    PUT_ENTRY(table, 216, getpgid);
    PUT_ENTRY(table, 224, killOf);
}

void resetProcesses(void) {
    gProcessCount = 0;
    gKillCount = 0;
}

void posixprovider_add_process(uint32_t windows_pid, int64_t pid, int64_t group) {
    lockState();
    if (gProcessCount < PROCESSES) {
        gProcesses[gProcessCount++] =
            (struct Process){.windowsPid = windows_pid, .pid = pid, .group = group};
    } else {
        fault("there are too many processes");
    }
    unlockState();
}

int posixprovider_kill_count(void) {
    lockState();
    const int count = gKillCount;
    unlockState();
    return count;
}

static struct Kill killAt(int index) {
    lockState();
    const int isThere = index >= 0 && index < gKillCount;
    const struct Kill kill = isThere ? gKills[index] : (struct Kill){0, 0};
    unlockState();
    return kill;
}

int64_t posixprovider_kill_target(int index) { return killAt(index).target; }

int posixprovider_kill_signal(int index) { return killAt(index).signal; }
