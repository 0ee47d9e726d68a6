#include "journal/lines.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstddef>

namespace journal {
namespace {

/// Writes numbers with leading zeros, each followed by a mark.
class DigitWriter {
public:
    explicit DigitWriter(char* place) : mPlace(place) {}

    void put(uint64_t value, size_t digits, char mark) {
        for (size_t i = digits; i-- != 0; value /= 10) {
            mPlace[i] = static_cast<char>('0' + value % 10);
        }
        mPlace[digits] = mark;
        mPlace += digits + 1;
    }

private:
    char* mPlace;
};

/// Returns the time as "2026-01-31T23:59:59.123456Z", in `buffer`.
std::string_view timeText(int64_t clock, std::array<char, 27>& buffer) {
    using namespace std::chrono;
    const sys_time<microseconds> time{floor<microseconds>(nanoseconds(clock))};
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss within(time - day);
    DigitWriter digits(buffer.data());
    digits.put(static_cast<uint64_t>(static_cast<int>(date.year())), 4, '-');
    digits.put(static_cast<unsigned>(date.month()), 2, '-');
    digits.put(static_cast<unsigned>(date.day()), 2, 'T');
    digits.put(static_cast<uint64_t>(within.hours().count()), 2, ':');
    digits.put(static_cast<uint64_t>(within.minutes().count()), 2, ':');
    digits.put(static_cast<uint64_t>(within.seconds().count()), 2, '.');
    digits.put(static_cast<uint64_t>(within.subseconds().count()), 6, 'Z');
    return {buffer.data(), buffer.size()};
}

/// Adds the nanoseconds as microseconds, with three digits after the point.
void addMicroseconds(LineText& text, int64_t nanoseconds) {
    constexpr size_t longest = 24;
    char* const place = text.room(longest);
    char* const point = std::to_chars(place, place + longest, nanoseconds / 1000).ptr;
    *point = '.';
    DigitWriter(point + 1).put(static_cast<uint64_t>(nanoseconds % 1000), 3, '}');
    text.setEnd(point + 5);
    text.append("\n");
}

}  // namespace

CallLine::CallLine(std::string_view operation) { mFields.add("operation", operation); }

void CallLine::end(int64_t clock) noexcept {
    add([&] {
        mFields.addJson("microseconds", "");
        // None has passed if somebody has set the clock back.
        addMicroseconds(mText, std::max<int64_t>(clock - mBegin, 0));
    });
}

std::string_view Lines::numbered(CallLine& line, uint64_t number) const {
    std::array<char, 27> time;
    LineText head;
    head.append("{");
    JsonFields fields(head);
    fields.add("version", formatVersion);
    fields.add("time", timeText(line.mBegin, time));
    fields.add("process", mSurroundings.process());
    fields.add("thread", mSurroundings.thread());
    fields.add("connection", mConnection);
    fields.add("call", number);
    head.append(",");
    return line.mText.withHead(head.view());
}

void Lines::lose(const std::string& why) {
    ++mLost;
    if (!mHasComplained) {
        mHasComplained = true;
        mSurroundings.complain(why);
    }
    mWhyLost = why;
}

std::string Lines::append(CallLine& line) {
    if (!line.mIsComplete) {
        return "there is no memory for a line";
    }
    if (mLost != 0) {
        std::string failure = appendLoss(line.mBegin);
        if (!failure.empty()) {
            return failure;
        }
    }
    return appendNumbered(line);
}

std::string Lines::appendLoss(int64_t clock) {
    CallLine loss("lost");
    loss.begin(clock);
    loss.addObject("arguments", [](JsonFields&) {});
    loss.addObject("result", [lost = mLost, &why = mWhyLost](JsonFields& fields) {
        fields.add("lines", lost);
        fields.add("error", &why);
    });
    loss.end(clock);
    std::string failure = appendNumbered(loss);
    if (failure.empty()) {
        mLost = 0;
    }
    return failure;
}

std::string Lines::appendNumbered(CallLine& line) {
    std::string failure = mSurroundings.append(numbered(line, mNext));
    mNext += failure.empty() ? 1 : 0;
    return failure;
}

void Lines::write(CallLine& line) noexcept {
    const MutexLock lock(mLock);
    try {
        const std::string failure = append(line);
        if (!failure.empty()) {
            lose(failure);
        }
    } catch (const std::exception&) {
        // There is no memory for the line, and so none for a report.
        ++mLost;
    }
}

}  // namespace journal
