#pragma once

#include <atomic>
#include <cstdint>

#include <windows.h>

#include "util/windows/scopedhandle-win.h"

namespace journal {

/// Lets the threads of all processes append to a file one after the other. Windows itself appends
/// to a local file at once; where it doesn't, on a network share or under Wine, two lines would
/// otherwise overwrite each other.
///
/// The turn is a word in memory that the processes share, so that taking it costs no system call.
/// The turn of a process that has ended is free. That of a process that somebody stops is free
/// after a second, so nobody waits for ever.
class AppendTurn {
public:
    /// `file` is open. If the memory can't be shared, the turn is this object's alone.
    explicit AppendTurn(HANDLE file);
    ~AppendTurn();
    AppendTurn(const AppendTurn&) = delete;
    AppendTurn& operator=(const AppendTurn&) = delete;

    /// Has the turn until the scope ends.
    class [[nodiscard]] Scope {
    public:
        explicit Scope(AppendTurn& turn);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

        /// Whether the last line in the file has no end, so that a line feed must come first. All
        /// that have the file open see it.
        [[nodiscard]] bool isTorn() const { return mTurn.mShared->isTorn; }
        void setTorn(bool isTorn) { mTurn.mShared->isTorn = isTorn; }

    private:
        AppendTurn& mTurn;
        const uint64_t mSelf;
    };

private:
    /// New memory is zero, and so is all of this.
    struct Shared {
        std::atomic<uint64_t> owner = 0;  ///< process and thread, or 0 for nobody
        std::atomic<bool> isTorn = false;
    };
    static_assert(std::atomic<uint64_t>::is_always_lock_free);
    static_assert(std::atomic<bool>::is_always_lock_free);

    void take(uint64_t self);
    [[nodiscard]] bool takeFrom(uint64_t owner, uint64_t self);

    ScopedHandle mMemory;
    Shared mOwn;
    Shared* mShared = &mOwn;
};

}  // namespace journal
