#include "util/windows/exec-win.h"

#include <algorithm>
#include <exception>
#include <iostream>
#include <locale>

#include "util/platform/errortext-win.h"
#include "util/windows/cygwinconnector.h"
#include "util/windows/debugstream-win.h"

Exec::Exec() {
    // The format of numbers in the log doesn't depend on the global locale.
    mLog.imbue(std::locale::classic());
}

Exec::~Exec() {
    if (mPid == noPid) {
        return;
    }
    try {
        MutexLock lock(mHandleLock);
        Exec::abort(lock, killSignal);
    } catch (const std::exception& e) {
        debugFailure(e);
    }
}

void Exec::reset() {
    const MutexLock lock(mHandleLock);
    mCurrentRule = nullptr;
    mJobPattern.clear();
    mStallRules.clear();
    mPid = noPid;
    mAborted = false;
    mChildSignal = noSignal;
    mCygwinMajor = 0;
    mCygwinMinor = 0;
    mConnector = nullptr;
    mPathCache.clear();
    mPathCacheHits = 0;
    mPathCacheMisses = 0;
}

void Exec::reserved1() {}
void Exec::reserved2() {}
void Exec::reserved3() {}

void Exec::setStallRules(const std::list<StallRule>& rules) {
    const MutexLock lock(mHandleLock);
    mStallCountdown = ruleTimeout();
    mCurrentRule = nullptr;
    mStallRules = rules;
    if (mJobPattern.empty()) {
        return;
    }
    const auto rule = std::find_if(
        mStallRules.begin(), mStallRules.end(),
        [this](const StallRule& candidate) { return candidate.mPattern == mJobPattern; });
    if (rule != mStallRules.end()) {
        mCurrentRule = &*rule;
        mStallCountdown = rule->mTimeout;
    }
}

void Exec::setOutputLimits(int maxBytes, unsigned keepBytes) {
    mMaxOutputBytes = maxBytes;
    mKeepOutputBytes = keepBytes;
}

void Exec::getOutputLimits(int* maxBytes, unsigned* keepBytes) {
    *maxBytes = mMaxOutputBytes;
    *keepBytes = mKeepOutputBytes;
}

// Unchecked: the caller knows whether another thread may write, and holds the lock then.
std::string Exec::log() NB_NO_THREAD_SAFETY_ANALYSIS { return mLog.str(); }

void Exec::reportError(const char* text) { std::cerr << text << std::endl; }

void Exec::setCygwinConnector(cygwin::connector* connector) {
    const MutexLock lock(mHandleLock);
    mConnector = connector;
    const cygwin::runtime_version version =
        connector != nullptr ? connector->version() : cygwin::runtime_version{};
    mCygwinMajor = version.release;
    mCygwinMinor = version.patch;
}

void Exec::setPidBufferSize(uint32_t size) {
    if (size <= largestPidBuffer) {
        mPidBufferSize = size;
    }
}

void Exec::report(const std::string& text, std::string* failureText) {
    if (failureText != nullptr) {
        failureText->append(text);
    }
    reportError(text.c_str());
}

void Exec::reportWithLastError(const char* text, std::string* failureText) {
    std::string words = withLastError(": ");
    words.insert(0, text).push_back('\n');
    report(words, failureText);
}

void Exec::addToLog(const std::string& text) {
    const MutexLock lock(mHandleLock);
    mLog << text;
}

void Exec::emptyLog() {
    const MutexLock lock(mHandleLock);
    mLog.str(std::string());
    mLog.clear();
}

int32_t Exec::ruleTimeout() const { return mCurrentRule != nullptr ? mCurrentRule->mTimeout : 0; }
