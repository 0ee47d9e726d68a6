#pragma once

// Reads journals as they come: in blocks of any size. Memory holds one line at a time.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tools/ccquery/journals/journalline.h"
#include "tools/ccquery/journals/lineparser.h"

namespace ccquery {

/// A line or a journal that can't be taken.
enum class JournalProblem {
    notJson,
    torn,  ///< the last line, which has no line feed and is no JSON
    tooLong,
    otherVersion,
    operation,
    field,
    empty,       ///< the journal has no line
    unreadable,  ///< it can't be opened, or not be read to its end
};

/// Gets what the journals say.
class JournalVisitor {
public:
    JournalVisitor() = default;
    virtual ~JournalVisitor() = default;
    JournalVisitor(const JournalVisitor&) = delete;
    JournalVisitor& operator=(const JournalVisitor&) = delete;

    /// The line is valid during the call.
    virtual void take(const JournalLine& line, const JournalPlace& place) = 0;
    /// `place.line` is 0 for a problem with the whole journal. `problem` has no line of its own,
    /// and may contain any text of the journal.
    virtual void report(JournalProblem kind, const JournalPlace& place,
                        const std::string& problem) = 0;
};

/// Splits journals into lines, and gives each line to a visitor, which either takes it or gets a
/// report. Lines of white space alone are ignored. A line of more than `longestLine` bytes is
/// reported without being kept.
class JournalReader {
public:
    static constexpr size_t longestLine = size_t{64} << 20;

    /// `visitor` must outlive the object.
    explicit JournalReader(JournalVisitor& visitor) : mVisitor(visitor) {}

    /// Begins the journal with this number. What another one has begun, without `end`, is dropped.
    void begin(size_t file);
    /// Takes the next bytes of the journal.
    void read(std::string_view bytes);
    /// To be called after the last bytes, once. A last line without a line feed counts if it is
    /// JSON. A journal without lines is reported.
    void end();

private:
    void collect(std::string_view bytes);
    void readLine(std::string_view line, bool hasEnd);
    void report(JournalProblem kind, const std::string& problem);

    JournalVisitor& mVisitor;
    LineParser mParser;
    JournalPlace mPlace;
    std::string mBegun;        ///< the line that the last bytes have begun
    uint64_t mBegunBytes = 0;  ///< how long it is, even if it is too long to be kept
    bool mIsEmpty = true;
};

}  // namespace ccquery
