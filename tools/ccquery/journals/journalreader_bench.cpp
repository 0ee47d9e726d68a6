#include <nlohmann/json.hpp>

#include "testing/benchmark/comparison.h"
#include "tools/ccquery/journals/journalreader.h"

namespace {

using namespace ccquery;

constexpr int rounds = 4;                    // each takes a second
constexpr size_t journalSize = 100'000'000;  // bytes

/// Returns the lines of a host that asks for the status of many files.
std::string journalText() {
    std::string text;
    text.reserve(journalSize + 1000);
    for (size_t i = 0; text.size() < journalSize; ++i) {
        const std::string number = std::to_string(i);
        text.append(R"({"version":1,"time":"2026-01-31T23:59:59.123456Z","process":4711,)"
                    R"("thread":42,"connection":1,"call":)")
            .append(number)
            .append(R"(,"operation":"getElementStatus","arguments":{"path":)"
                    R"("M:\\main_view\\vobs\\part\\src\\file)")
            .append(number)
            .append(R"(.c","version":"","target":""},"result":{"type":1,"version":"/main/0",)"
                    R"("target":""},"microseconds":12.345})"
                    "\n");
    }
    return text;
}

/// Takes all lines, and looks at none.
class CountingVisitor : public JournalVisitor {
public:
    void take(const JournalLine& line, const JournalPlace& /*place*/) override {
        mTypes += line.result.type;
    }
    void report(JournalProblem /*kind*/, const JournalPlace& /*place*/,
                const std::string& /*problem*/) override {
        ++mReports;
    }
    int64_t types() const { return mTypes; }
    int64_t reports() const { return mReports; }

private:
    int64_t mTypes = 0;
    int64_t mReports = 0;
};

/// Accepts every event.
struct BareHandler {
    // NOLINTBEGIN(readability-identifier-naming)
    bool null() { return true; }
    bool boolean(bool) { return true; }
    bool number_integer(int64_t) { return true; }
    bool number_unsigned(uint64_t) { return true; }
    bool number_float(double, const std::string&) { return true; }
    bool string(std::string&) { return true; }
    bool binary(nlohmann::json::binary_t&) { return true; }
    bool start_object(size_t) { return true; }
    bool key(std::string&) { return true; }
    bool end_object() { return true; }
    bool start_array(size_t) { return true; }
    bool end_array() { return true; }
    bool parse_error(size_t, const std::string&, const nlohmann::json::exception&) { return false; }
    // NOLINTEND(readability-identifier-naming)
};

TEST(Benchmark, JournalReader) {
    const std::string journal = journalText();
    const auto ours = [&] {
        CountingVisitor visitor;
        JournalReader reader(visitor);
        constexpr size_t block = 4096;  // as for the progress
        reader.begin(0);
        for (std::string_view rest = journal; !rest.empty();
             rest.remove_prefix(std::min(block, rest.size()))) {
            reader.read(rest.substr(0, block));
        }
        reader.end();
        EXPECT_EQ(visitor.reports(), 0);
        return visitor.types();
    };
    const auto bare = [&] {
        BareHandler handler;
        std::string_view rest = journal;
        int64_t lines = 0;
        for (size_t end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
            const std::string_view line = rest.substr(0, end);
            lines += nlohmann::json::sax_parse(line.begin(), line.end(), &handler) ? 1 : 0;
            rest.remove_prefix(end + 1);
        }
        return lines;
    };
    benchmark::compare({"a journal of 100 MB", "nlohmann's SAX parser alone", 1.5, rounds}, ours,
                       bare);
}

}  // namespace
