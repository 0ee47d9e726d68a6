#pragma once

// Where the separators of a path are, for functions that walk it from name to name.

#include <bit>
#include <cstdint>

#include "util/pathbytes.h"
#include "util/textspan.h"

/// Looks at a path a window of some 60 characters at a time, at the first question. The path
/// outlives it.
class PathMarks {
public:
    explicit PathMarks(StringSpan path) : mPath(path) {}

    StringSpan path() const { return mPath; }

    /// The first separator at or after `from`, or the end of the path.
    size_t nextSeparator(size_t from) { return next(from, mSeparators); }
    /// The first character at or after `from` that is none, or the end of the path.
    size_t nextNameCharacter(size_t from) { return next(from, mNameCharacters); }
    /// The first separator at or after `from` after which a normal form is another, or the end of
    /// the path: one before a separator, the end, or a name that is `.` or `..`.
    size_t nextUntidy(size_t from) { return next(from, mUntidy); }

private:
    /// What makes a separator untidy is at most so far after it.
    static constexpr size_t AHEAD = 3;
    static constexpr size_t WINDOW = pathbytes::markedBytes - AHEAD;

    size_t next(size_t from, const uint64_t& bits) {
        for (;;) {
            const size_t offset = from - mBegin;
            if (offset < mSize) {
                const uint64_t rest = bits >> offset;
                if (rest != 0) {
                    return from + static_cast<size_t>(std::countr_zero(rest));
                }
                from = mBegin + mSize;
            }
            if (from >= mPath.length) {
                return mPath.length;
            }
            moveTo(from);
        }
    }

    void moveTo(size_t at);

    StringSpan mPath;
    // The window, and a bit for each of its characters.
    size_t mBegin = 0;
    size_t mSize = 0;
    uint64_t mSeparators = 0;
    uint64_t mNameCharacters = 0;
    uint64_t mUntidy = 0;
};
