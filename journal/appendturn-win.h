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
    /// `file` is open. If the memory can't be shared, there is nothing to wait for.
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

    private:
        AppendTurn& mTurn;
        const uint64_t mSelf;
    };

private:
    using Word = std::atomic<uint64_t>;  ///< process and thread, or 0 for nobody
    static_assert(Word::is_always_lock_free);

    void take(uint64_t self);
    [[nodiscard]] bool takeFrom(uint64_t owner, uint64_t self);

    ScopedHandle mMemory;
    Word* mOwner = nullptr;
};

}  // namespace journal
