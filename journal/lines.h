#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

#include "journal/jsonfields.h"
#include "journal/linetext.h"
#include "journal/surroundings.h"
#include "util/mutex-pthreads.h"
#include "util/threadannotations.h"

namespace journal {

/// The version of the format of a line; docs/journal.md documents the format.
constexpr int formatVersion = 1;

/// The line of a call without its head, which has the call's number. Nothing here throws, if the
/// operation's name is a short one: without memory the line is incomplete.
class CallLine {
public:
    explicit CallLine(std::string_view operation);
    CallLine(const CallLine&) = delete;
    CallLine& operator=(const CallLine&) = delete;

    /// Sets when the call begins (see Surroundings).
    void begin(int64_t clock) noexcept { mBegin = clock; }
    /// Adds an object, "arguments" and then "result" or "exception". `addFields(JsonFields&)` adds
    /// its fields.
    template <class AddFields>
    void addObject(std::string_view name, AddFields addFields) noexcept {
        add([&] {
            mFields.beginObject(name);
            addFields(mFields);
            mFields.endObject();
        });
    }
    /// Ends the line of a call that has ended at `clock`.
    void end(int64_t clock) noexcept;

private:
    friend class Lines;

    template <class Step>
    void add(Step step) noexcept {
        try {
            step();
        } catch (const std::exception&) {
            mIsComplete = false;
        }
    }

    LineText mText;
    JsonFields mFields{mText};
    int64_t mBegin = 0;
    bool mIsComplete = true;
};

/// The lines of one connection. Any thread may write.
class Lines {
public:
    /// `connection` is the number of the connection in its process. `surroundings` must outlive the
    /// object.
    Lines(uint32_t connection, Surroundings& surroundings)
        : mConnection(connection), mSurroundings(surroundings) {}

    /// Numbers the line, which has ended, and appends it. If that fails, counts the line as lost;
    /// the first loss is reported on standard error. The next line that can be appended has a line
    /// before it with the number of lost lines. Never throws.
    void write(CallLine& line) noexcept NB_EXCLUDES(mLock);

private:
    /// Returns an empty text, or why the line is lost.
    [[nodiscard]] std::string append(CallLine& line) NB_REQUIRES(mLock);
    [[nodiscard]] std::string appendLoss(int64_t clock) NB_REQUIRES(mLock);
    [[nodiscard]] std::string appendNumbered(CallLine& line) NB_REQUIRES(mLock);
    /// Returns the whole line with this number. It is in `line`.
    [[nodiscard]] std::string_view numbered(CallLine& line, uint64_t number) const;
    void lose(const std::string& why) NB_REQUIRES(mLock);

    const uint32_t mConnection;
    Surroundings& mSurroundings;
    Mutex mLock;
    uint64_t mNext NB_GUARDED_BY(mLock) = 0;
    uint64_t mLost NB_GUARDED_BY(mLock) = 0;
    std::string mWhyLost NB_GUARDED_BY(mLock);
    bool mHasComplained NB_GUARDED_BY(mLock) = false;
};

}  // namespace journal
