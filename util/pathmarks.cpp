#include "util/pathmarks.h"

#include <algorithm>
#include <cstddef>

void PathMarks::moveTo(size_t at) {
    const size_t left = mPath.length - at;
    const size_t marked = std::min(left, pathbytes::markedBytes);
    auto [separators, dots] = pathbytes::marksOf(mPath.data + at, marked);
    if (marked < pathbytes::markedBytes) {
        separators |= ~uint64_t{0} << marked;  // the end ends a name as a separator does
    }
    const uint64_t dotNames = dots >> 1 & (separators >> 2 | (dots >> 2 & separators >> 3));
    mBegin = at;
    mSize = std::min(left, windowSize);
    const uint64_t window = (uint64_t{1} << mSize) - 1;
    mSeparators = separators & window;
    mNameCharacters = ~separators & window;
    mUntidy = separators & (separators >> 1 | dotNames) & window;
}
