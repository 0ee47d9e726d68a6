#include "util/timer.h"

#include <algorithm>
#include <optional>

#include "util/assertion.h"

void Timer::start(Ticks now) {
    mStart = now;
    mRunning = true;
}

void Timer::stop(Ticks now) {
    if (!mRunning) {
        return;
    }
    add(now - mStart);
    mRunning = false;
}

void Timer::reset() {
    mTotal = Ticks();
    mMin = Ticks();
    mMax = Ticks();
    mCount = 0;
    mRunning = false;
}

double Timer::elapsed(Ticks now) const { return mRunning ? (now - mStart).seconds() : 0.0; }

void Timer::add(Ticks duration) {
    mMin = mCount == 0 ? duration : std::min(mMin, duration);
    mMax = std::max(mMax, duration);
    mTotal += duration;
    ++mCount;
}

Timer& Timer::operator+=(const Timer& t) {
    NB_ASSERT(!running() && !t.running());
    mTotal += t.mTotal;
    // Compatibility: unlike in add, extremes merge by value regardless of the counts, so an empty
    // timer contributes its 0.
    mMin = std::min(mMin, t.mMin);
    mMax = std::max(mMax, t.mMax);
    mCount += t.mCount;
    return *this;
}

ScopedTimer::ScopedTimer(NestedTimer* t) : mTimer(t) {
    if (mTimer != nullptr && mTimer->mDepth++ == 0) {
        mTimer->start(ticksNow());
    }
}

ScopedTimer::~ScopedTimer() {
    if (mTimer != nullptr && --mTimer->mDepth == 0) {
        mTimer->stop(ticksNow());
    }
}

void ScopedTimer::switchTo(NestedTimer* t) {
    if (t == mTimer) {
        return;
    }
    std::optional<Ticks> reading;
    if (mTimer != nullptr && --mTimer->mDepth == 0) {
        reading = ticksNow();
        mTimer->stop(*reading);
    }
    mTimer = t;
    if (mTimer != nullptr && mTimer->mDepth++ == 0) {
        mTimer->start(reading ? *reading : ticksNow());
    }
}
