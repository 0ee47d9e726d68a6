#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace ccquery {

/// Passes messages on, but only the first ten of a kind: a journal may have a million lines with
/// the same problem. The others are counted.
class LimitedMessages {
public:
    using Complain = std::function<void(const std::string&)>;
    static constexpr uint64_t limit = 10;

    /// `complain` writes a message of one line to standard error.
    explicit LimitedMessages(Complain complain) : mComplain(std::move(complain)) {}

    /// `kind` completes "and 5 more " when the kind is counted: "lines that are no JSON object".
    void add(const std::string& kind, const std::string& message);
    /// Says how many messages of each kind were only counted. To be called at the end.
    void finish();

    [[nodiscard]] bool isEmpty() const { return mCounts.empty(); }

private:
    Complain mComplain;
    std::map<std::string, uint64_t> mCounts;
};

}  // namespace ccquery
