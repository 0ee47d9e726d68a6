#pragma once

// Finds the separators of a path, for functions that walk it from name to name.

#include <bit>
#include <cstddef>
#include <cstdint>

#include "util/pathbytes.h"
#include "util/textspan.h"

/// Reads a path in windows of about 60 characters, each when a query first needs it. The path must
/// outlive this object.
class PathMarks {
public:
    /// Reads nothing yet.
    explicit PathMarks(StringSpan path) : mPath(path) {}

    [[nodiscard]] StringSpan path() const { return mPath; }  ///< as the constructor got it

    /// Returns the first separator at or after `from`, or the end of the path.
    [[nodiscard]] size_t nextSeparator(size_t from) { return next(from, mSeparators); }
    /// Returns the first character at or after `from` that isn't a separator, or the end of the
    /// path.
    [[nodiscard]] size_t nextNameCharacter(size_t from) { return next(from, mNameCharacters); }
    /// Returns the first separator at or after `from` where the path differs from its normal form,
    /// or the end of the path. This is a separator before another separator, before the end, or
    /// before a name that is `.` or `..`.
    [[nodiscard]] size_t nextUntidy(size_t from) { return next(from, mUntidy); }

private:
    /// The characters that make a separator untidy are at most this far after it.
    static constexpr size_t ahead = 3;
    static constexpr size_t windowSize = pathbytes::markedBytes - ahead;

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
    // The window, with one bit per character.
    size_t mBegin = 0;
    size_t mSize = 0;
    uint64_t mSeparators = 0;
    uint64_t mNameCharacters = 0;
    uint64_t mUntidy = 0;
};
