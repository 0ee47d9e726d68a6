#include "tools/ccquery/journals/progressline.h"

#include <algorithm>
#include <utility>

namespace ccquery {
namespace {

std::string sizeText(double bytes) {
    const bool isSmall = bytes < 1e6;
    return std::to_string(static_cast<uint64_t>(bytes / (isSmall ? 1e3 : 1e6))) +
           (isSmall ? " kB" : " MB");
}

}  // namespace

std::string progressText(uint64_t bytes, uint64_t total, double seconds) {
    const auto done = static_cast<double>(bytes);
    const double rate = seconds > 0 ? done / seconds : 0;
    std::string text = sizeText(done);
    if (total != 0) {
        text += " of " + sizeText(static_cast<double>(total));
    }
    text += ", " + sizeText(rate) + "/s";
    if (total > bytes && rate > 0) {
        const double left = static_cast<double>(total - bytes) / rate;
        text += ", " + std::to_string(static_cast<uint64_t>(left) + 1) + " s left";
    }
    return text;
}

ProgressLine::ProgressLine(uint64_t total, std::function<void(const std::string&)> write,
                           std::function<Clock::time_point()> now)
    : mTotal(total), mWrite(std::move(write)), mNow(std::move(now)) {}

void ProgressLine::update(uint64_t bytes) {
    if (!mWrite) {
        return;
    }
    const Clock::time_point now = mNow();
    if (now < mNext) {
        return;
    }
    mNext = now + std::chrono::milliseconds(200);
    const std::chrono::duration<double> seconds = now - mStart;
    const std::string text = progressText(bytes, mTotal, seconds.count());
    const size_t gone = mWidth > text.size() ? mWidth - text.size() : 0;
    mWrite('\r' + text + std::string(gone, ' '));
    mWidth = std::max(mWidth, text.size());
}

void ProgressLine::erase() {
    if (mWidth != 0) {
        mWrite('\r' + std::string(mWidth, ' ') + '\r');
        mWidth = 0;
    }
}

}  // namespace ccquery
