#define CATCH_CONFIG_RUNNER
#include "testing/benchmark/comparison.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <vector>

namespace benchmark {
namespace {

struct Measured {
    Row row;
    double ours = std::numeric_limits<double>::infinity();
    double peer = std::numeric_limits<double>::infinity();
};

std::vector<Measured> gRows;
bool gAnyOver = false;  ///< a row that was printed is over its limit

double medianNanoseconds(const Catch::BenchmarkStats<>& stats) {
    std::vector<double> samples;
    for (const auto& sample : stats.samples) {
        samples.push_back(sample.count());
    }
    const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
    std::nth_element(samples.begin(), middle, samples.end());
    return *middle;
}

std::string timeText(double nanoseconds) {
    const char* unit = "ns";
    if (nanoseconds >= 1e6) {
        nanoseconds /= 1e6;
        unit = "ms";
    } else if (nanoseconds >= 1e4) {
        nanoseconds /= 1e3;
        unit = "us";
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.1f %s", nanoseconds, unit);
    return text;
}

/// Prints the one table, and complaints of a benchmark that doesn't do what it claims.
class TableReporter : public Catch::StreamingReporterBase<TableReporter> {
public:
    using StreamingReporterBase::StreamingReporterBase;

    static std::string getDescription() { return "one row for each comparison"; }

    void assertionStarting(const Catch::AssertionInfo&) override {}

    bool assertionEnded(const Catch::AssertionStats& stats) override {
        if (!stats.assertionResult.isOk()) {
            stream << stats.assertionResult.getSourceInfo()
                   << ": failed: " << stats.assertionResult.getExpressionInMacro() << '\n';
        }
        return true;
    }

    void benchmarkEnded(const Catch::BenchmarkStats<>& stats) override {
        record(stats.info.name.c_str(), medianNanoseconds(stats));
    }

    void testCaseEnded(const Catch::TestCaseStats& stats) override {
        for (; mPrinted < gRows.size(); ++mPrinted) {
            if (mPrinted == 0) {
                print("operation", "peer", "ours", "peer's", "ratio", "limit", "");
            }
            const Measured& m = gRows[mPrinted];
            const double ratio = m.ours / (m.peer + m.row.allowance / m.row.limit);
            const bool over = !(ratio <= m.row.limit);
            gAnyOver = gAnyOver || over;
            char ratioText[32];
            char limitText[32];
            std::snprintf(ratioText, sizeof ratioText, "%.3f", ratio);
            std::snprintf(limitText, sizeof limitText, "%.3f", m.row.limit);
            print(m.row.operation.c_str(), m.row.peer.c_str(), timeText(m.ours).c_str(),
                  timeText(m.peer).c_str(), ratioText, limitText, over ? "over" : "");
        }
        StreamingReporterBase::testCaseEnded(stats);
    }

private:
    void print(const char* operation, const char* peer, const char* ours, const char* peers,
               const char* ratio, const char* limit, const char* verdict) {
        char line[256];
        std::snprintf(line, sizeof line, "%-46s %-44s %11s %11s %8s %8s %s\n", operation, peer,
                      ours, peers, ratio, limit, verdict);
        stream << line << std::flush;
    }

    size_t mPrinted = 0;
};

CATCH_REGISTER_REPORTER("table", TableReporter)

}  // namespace

void announce(const Row& row) { gRows.push_back({row}); }

void record(const char* side, double nanoseconds) {
    Measured& row = gRows.back();
    double& best = side == std::string(OURS) ? row.ours : row.peer;
    best = std::min(best, nanoseconds);
}

}  // namespace benchmark

int main(int argc, char* argv[]) {
    Catch::Session session;
    session.configData().reporterName = "table";
    session.configData().benchmarkSamples = 20;
    session.configData().benchmarkNoAnalysis = true;
    const int status = session.run(argc, argv);
    return status == 0 && benchmark::gAnyOver ? EXIT_FAILURE : status;
}
