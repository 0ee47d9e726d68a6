#include <string.h>

#include "testing/providers/posixprovider/provider.h"

enum { TIMES = 256, SECOND = 1000000000 };

struct Times {
    int count;
    struct Time kept[TIMES];
};

static enum posixprovider_clock gClock;
static struct Time gTime;
static struct Times gDeadlines;
static struct Times gRequests;

static struct Time plus(struct Time time, struct Time more) {
    time.seconds += more.seconds;
    time.nanoseconds += more.nanoseconds;
    if (time.nanoseconds >= SECOND) {
        time.nanoseconds -= SECOND;
        ++time.seconds;
    }
    return time;
}

static struct Time realTime(void) {
    FILETIME file;
    GetSystemTimeAsFileTime(&file);
    const int64_t ticks = (int64_t)file.dwHighDateTime << 32 | file.dwLowDateTime;
    const int64_t since1970 = ticks - INT64_C(116444736000000000);
    return (struct Time){since1970 / 10000000, since1970 % 10000000 * 100};
}

struct Time now(void) {
    return gClock == POSIXPROVIDER_REAL_CLOCK ? realTime() : gTime;
}

static int isBefore(struct Time left, struct Time right) {
    return left.seconds < right.seconds ||
           (left.seconds == right.seconds && left.nanoseconds < right.nanoseconds);
}

int isPast(const struct Time* deadline) { return !isBefore(now(), *deadline); }

DWORD millisecondsUntil(const struct Time* deadline) {
    if (gClock != POSIXPROVIDER_REAL_CLOCK) {
        return INFINITE;
    }
    const struct Time from = realTime();
    const int64_t seconds = deadline->seconds - from.seconds;
    if (seconds >= 1000) {
        return 1000000;
    }
    const int64_t milliseconds =
        seconds * 1000 + (deadline->nanoseconds - from.nanoseconds) / 1000000;
    return milliseconds < 0 ? 1 : (DWORD)milliseconds + 1;
}

int leapTo(const struct Time* deadline) {
    if (gClock != POSIXPROVIDER_LEAPING_CLOCK) {
        return 0;
    }
    gTime = *deadline;
    changed();
    return 1;
}

static struct Times* timesOf(enum posixprovider_entry entry) {
    return entry == POSIXPROVIDER_COND_TIMEDWAIT ? &gDeadlines : &gRequests;
}

void noteTime(enum posixprovider_entry entry, const struct Time* time) {
    struct Times* times = timesOf(entry);
    if (times->count < TIMES) {
        times->kept[times->count] = *time;
    }
    ++times->count;
}

static int clockGettime(void* self, int64_t clock, struct Time* result) {
    (void)self;
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_CLOCK_GETTIME);
    *result = (struct Time){0, 0};
    if (!call.acts) {
        return leave(call, 0);
    }
    if (clock != POSIXPROVIDER_REALTIME_CLOCK) {
        fault("clock_gettime: there is no clock %lld", (long long)clock);
        return leave(call, POSIXPROVIDER_INVALID_ARGUMENT);
    }
    *result = now();
    return leave(call, 0);
}

static int nanosleep(void* self, const struct Time* requested, struct Time* remaining) {
    (void)self;
    const struct Call call = enter(POSIXPROVIDER_SYSTEM_NANOSLEEP);
    noteTime(POSIXPROVIDER_SYSTEM_NANOSLEEP, requested);
    *remaining = (struct Time){0, 0};
    if (!call.acts) {
        return leave(call, 0);
    }
    if (requested->seconds < 0 || requested->nanoseconds < 0 || requested->nanoseconds >= SECOND) {
        return leave(call, POSIXPROVIDER_INVALID_ARGUMENT);
    }
    const unsigned epoch = gEpoch;
    const struct Time end = plus(now(), *requested);
    while (!isPast(&end) && !leapTo(&end)) {
        awaitChange(POSIXPROVIDER_SYSTEM_NANOSLEEP, millisecondsUntil(&end));
        if (epoch != gEpoch) {
            return leave(call, POSIXPROVIDER_INTERRUPTED);
        }
    }
    return leave(call, 0);
}

void putClockEntries(unsigned char* table) {
    PUT_ENTRY(table, 168, clockGettime);
    PUT_ENTRY(table, 176, nanosleep);
}

void resetClock(void) {
    gClock = POSIXPROVIDER_REAL_CLOCK;
    gTime = (struct Time){0, 0};
    gDeadlines.count = 0;
    gRequests.count = 0;
}

void posixprovider_set_clock(enum posixprovider_clock clock) {
    lockState();
    gClock = clock;
    changed();
    unlockState();
}

void posixprovider_set_time(int64_t seconds, int64_t nanoseconds) {
    lockState();
    gTime = (struct Time){seconds, nanoseconds};
    changed();
    unlockState();
}

void posixprovider_advance_time(int64_t seconds, int64_t nanoseconds) {
    lockState();
    gTime = plus(gTime, (struct Time){seconds, nanoseconds});
    changed();
    unlockState();
}

void posixprovider_time(int64_t* seconds, int64_t* nanoseconds) {
    lockState();
    const struct Time time = now();
    unlockState();
    *seconds = time.seconds;
    *nanoseconds = time.nanoseconds;
}

int posixprovider_time_count(enum posixprovider_entry entry) {
    lockState();
    const int count = timesOf(entry)->count;
    unlockState();
    return count;
}

int posixprovider_time_given(enum posixprovider_entry entry, int index, int64_t* seconds,
                             int64_t* nanoseconds) {
    lockState();
    const struct Times* times = timesOf(entry);
    const int isKept = index >= 0 && index < times->count && index < TIMES;
    if (isKept) {
        *seconds = times->kept[index].seconds;
        *nanoseconds = times->kept[index].nanoseconds;
    }
    unlockState();
    return isKept;
}
