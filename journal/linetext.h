#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

#include <boost/container/small_vector.hpp>

namespace journal {

/// A text that grows at its end, and gets its head when the rest is complete. A line of usual
/// length needs no heap.
// Speed: Benchmark.JournaledCall
class LineText {
public:
    /// The longest head.
    static constexpr size_t headRoom = 192;

    /// Returns where `size` more characters may be written. `setEnd` must follow.
    [[nodiscard]] char* room(size_t size) {
        if (mChars.size() - mEnd < size) [[unlikely]] {
            mChars.resize(std::max(mChars.size() * 2, mEnd + size), boost::container::default_init);
        }
        return mChars.data() + mEnd;
    }
    /// Sets where the text ends, in the room that was asked for last.
    void setEnd(const char* end) { mEnd = static_cast<size_t>(end - mChars.data()); }

    void append(std::string_view text) {
        char* const place = room(text.size());
        std::memcpy(place, text.data(), text.size());
        setEnd(place + text.size());
    }

    /// Returns the text without a head.
    [[nodiscard]] std::string_view view() const {
        return {mChars.data() + headRoom, mEnd - headRoom};
    }
    /// Puts `head` in front, in place of an earlier one, and returns the whole text.
    [[nodiscard]] std::string_view withHead(std::string_view head) {
        char* const begin = mChars.data() + headRoom - head.size();
        std::memcpy(begin, head.data(), head.size());
        return {begin, head.size() + mEnd - headRoom};
    }

private:
    static constexpr size_t usualLength = 1024;

    boost::container::small_vector<char, headRoom + usualLength> mChars{
        headRoom + usualLength, boost::container::default_init};
    size_t mEnd = headRoom;
};

}  // namespace journal
