#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace ccquery {

/// Returns how far reading has come: "45 MB of 100 MB, 210 MB/s, 1 s left". `total` is 0 if it
/// isn't known, and `seconds` what the work has taken so far.
[[nodiscard]] std::string progressText(uint64_t bytes, uint64_t total, double seconds);

/// A line on a terminal that is written over and over. It appears when the work has taken a second,
/// and then five times a second at most.
class ProgressLine {
public:
    using Clock = std::chrono::steady_clock;

    /// `write` writes to the terminal; it is empty if there is none. `now` is the time.
    ProgressLine(uint64_t total, std::function<void(const std::string&)> write,
                 std::function<Clock::time_point()> now = Clock::now);
    /// Erases the line.
    ~ProgressLine() { erase(); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// Says how many bytes have been read.
    void update(uint64_t bytes);
    /// Removes the line from the terminal, for another line. `update` brings it back.
    void erase();

private:
    uint64_t mTotal;
    std::function<void(const std::string&)> mWrite;
    std::function<Clock::time_point()> mNow;
    Clock::time_point mStart = mNow();
    Clock::time_point mNext = mStart + std::chrono::seconds(1);
    size_t mWidth = 0;  ///< of the line that is there
};

}  // namespace ccquery
