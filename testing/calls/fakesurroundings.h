#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "journal/surroundings.h"

namespace testing_support {

/// What a journal has written, and how it is to fail. Outlives the journal.
struct WrittenJournal {
    std::mutex lock;
    std::vector<std::string> pieces;  ///< what was appended at once
    std::vector<std::string> complaints;
    bool hasMemory = true;  ///< otherwise appending throws std::bad_alloc
    std::string failure;    ///< if not empty, nothing can be appended, for this reason
    /// 2026-01-31T23:59:59.123456Z. Each look at it adds 1,234,567 ns.
    int64_t clock = 1'769'903'999'123'456'789;
    /// Those of all threads. Appending changes them.
    journal::ErrorNumbers errors;
};

/// Surroundings without a file or a clock.
class FakeSurroundings : public journal::Surroundings {
public:
    explicit FakeSurroundings(WrittenJournal& written) : mWritten(written) {}

    int64_t clock() override {
        const std::scoped_lock lock(mWritten.lock);
        return std::exchange(mWritten.clock, mWritten.clock + 1'234'567);
    }
    uint32_t process() override { return 11; }
    uint32_t thread() override { return 22; }
    journal::ErrorNumbers errors() override {
        const std::scoped_lock lock(mWritten.lock);
        return mWritten.errors;
    }
    void setErrors(const journal::ErrorNumbers& errors) override {
        const std::scoped_lock lock(mWritten.lock);
        mWritten.errors = errors;
    }
    std::string append(std::string_view text) override {
        const std::scoped_lock lock(mWritten.lock);
        mWritten.errors = {5, 5};
        if (!mWritten.hasMemory) {
            throw std::bad_alloc();
        }
        if (mWritten.failure.empty()) {
            mWritten.pieces.emplace_back(text);
        }
        return mWritten.failure;
    }
    void complain(const std::string& problem) override { mWritten.complaints.push_back(problem); }

private:
    WrittenJournal& mWritten;
};

}  // namespace testing_support
