#include <stdarg.h>
#include <string.h>

#include "testing/providers/posixprovider/provider.h"

enum { PLANS = 64, FAULTS = 32 };

struct Plan {
    int isSet;
    enum posixprovider_entry entry;
    int calls;  // until it is due; 0: always due
    int code;
    int withResult;
};

static struct Plan gPlans[PLANS];
static int gCalls[POSIXPROVIDER_ENTRIES];
static char gFaults[FAULTS][160];

/// Counts the call in the plan. Returns whether it is due.
static int isDue(struct Plan* plan, enum posixprovider_entry entry) {
    if (!plan->isSet || plan->entry != entry) {
        return 0;
    }
    if (plan->calls == 0) {
        return 1;
    }
    plan->isSet = --plan->calls > 0;
    return !plan->isSet;
}

struct Call enter(enum posixprovider_entry entry) {
    lockState();
    ++gCalls[entry];
    struct Call call = {.code = 0, .acts = 1};
    for (int i = 0; i < PLANS; ++i) {
        if (isDue(&gPlans[i], entry) && call.code == 0) {
            call.code = gPlans[i].code;
            call.acts = gPlans[i].withResult;
        }
    }
    return call;
}

int leave(struct Call call, int code) {
    unlockState();
    return call.code != 0 ? call.code : code;
}

void fault(const char* format, ...) {
    const int index = gCounters[POSIXPROVIDER_COUNT_FAULTS]++;
    if (index < FAULTS) {
        va_list arguments;
        va_start(arguments, format);
        vsnprintf(gFaults[index], sizeof gFaults[index], format, arguments);
        va_end(arguments);
    }
}

void resetCalls(void) {
    memset(gPlans, 0, sizeof gPlans);
    memset(gCalls, 0, sizeof gCalls);
    memset(gFaults, 0, sizeof gFaults);
}

int posixprovider_fail(enum posixprovider_entry entry, int nth, int code, int with_result) {
    lockState();
    int i = 0;
    while (i < PLANS && gPlans[i].isSet) {
        ++i;
    }
    if (i < PLANS) {
        gPlans[i] = (struct Plan){
            .isSet = 1, .entry = entry, .calls = nth, .code = code, .withResult = with_result};
    }
    unlockState();
    return i < PLANS;
}

int posixprovider_calls(enum posixprovider_entry entry) {
    lockState();
    const int calls = gCalls[entry];
    unlockState();
    return calls;
}

const char* posixprovider_fault(int index) {
    lockState();
    const int isKept = index >= 0 && index < FAULTS && gFaults[index][0] != '\0';
    unlockState();
    return isKept ? gFaults[index] : NULL;
}

void posixprovider_forget_faults(void) {
    lockState();
    gCounters[POSIXPROVIDER_COUNT_FAULTS] = 0;
    memset(gFaults, 0, sizeof gFaults);
    unlockState();
}
