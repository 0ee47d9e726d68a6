#include "tools/ccquery/askpaths.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <istream>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "tools/shared/report.h"

namespace ccquery {

using tools::explainedText;
using tools::jsonLine;
using tools::Report;
using tools::tabbedLine;
using tools::tableText;

namespace {

const std::string standardInput = "-";
constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";

/// Yields the paths of the command line, and those of `input` for each path "-".
class Paths {
public:
    Paths(const Query& query, std::istream& input) : mQuery(query), mInput(input) {}

    std::optional<std::string> next() {
        while (mNext != mQuery.paths.size()) {
            const std::string& path = mQuery.paths[mNext];
            if (path != standardInput) {
                ++mNext;
                return path;
            }
            if (std::optional<std::string> line = nextOfInput()) {
                return line;
            }
            ++mNext;
        }
        return std::nullopt;
    }

private:
    std::optional<std::string> nextOfInput() {
        std::string path;
        if (!std::getline(mInput, path, mQuery.endedByNull ? '\0' : '\n')) {
            if (mInput.bad()) {
                throw std::runtime_error("can't read standard input");
            }
            return std::nullopt;
        }
        if (std::exchange(mIsAtStart, false) && path.starts_with(byteOrderMark)) {
            path.erase(0, byteOrderMark.size());
        }
        if (!mQuery.endedByNull && !path.empty() && path.back() == '\r') {
            path.pop_back();
        }
        return path;
    }

    const Query& mQuery;
    std::istream& mInput;
    size_t mNext = 0;
    bool mIsAtStart = true;  ///< of the input
};

/// Prints answers as the query wants them.
class AnswerPrinter {
public:
    AnswerPrinter(const Query& query, const PathSurroundings& surroundings)
        : mJson(query.json),
          mAtOnce(std::count(query.paths.begin(), query.paths.end(), standardInput) != 0),
          mSurroundings(surroundings) {
        mTable.headings = headingsOf(query.command);
    }

    void add(Answer answer, const std::optional<Explanation>& explanation) {
        if (explanation) {
            answer.record["explanation"] = explanation->record;
        }
        if (mJson) {
            mSurroundings.print(jsonLine(answer.record));
        } else if (explanation) {
            mSurroundings.print(explainedText(answer.row, explanation->lines));
        } else if (mAtOnce) {
            mSurroundings.print(tabbedLine(answer.row));
        } else {
            mTable.rows.push_back(std::move(answer.row));
        }
    }

    /// To be called after the last answer.
    void finish() {
        if (!mTable.rows.empty()) {
            mSurroundings.print(tableText(mTable));
        }
    }

private:
    bool mJson;
    bool mAtOnce;
    const PathSurroundings& mSurroundings;
    Report mTable;
};

/// Returns nothing after a complaint.
std::optional<Answer> answerFor(const std::string& path, ClearCaseConnection& connection,
                                const Query& query, const PathSurroundings& surroundings) {
    if (path.find('\0') != std::string::npos) {
        // The library would take it for the path in front of the null character.
        std::string complaint = "'";
        complaint.append(path.c_str())
            .append(
                "' is followed by a null character; write the paths in UTF-8, or use --null if "
                "null characters end them");
        surroundings.complain(complaint);
        return std::nullopt;
    }
    std::string about = path;
    try {
        if (query.command == Command::status) {
            about = surroundings.complete(path);
        }
    } catch (const std::exception& error) {  // GCOVR_EXCL_BR_LINE: it throws nothing else
        surroundings.complain(error.what());
        return std::nullopt;
    }
    std::string problem;
    try {
        return askAbout(about, connection, query);
    } catch (const std::exception& error) {
        problem = error.what();
    } catch (...) {
        problem = threwNoException;
    }
    surroundings.complain("'" + about + "': " + problem);
    return std::nullopt;
}

}  // namespace

ExitCode askPaths(ClearCaseConnection& connection, const Query& query,
                  const PathSurroundings& surroundings) {
    Paths paths(query, surroundings.input);
    AnswerPrinter printer(query, surroundings);
    ExitCode exitCode = exitAnswered;
    while (const std::optional<std::string> path = paths.next()) {
        std::optional<Answer> answer = answerFor(*path, connection, query, surroundings);
        if (!answer) {
            exitCode = exitNoAnswer;
            continue;
        }
        std::optional<Explanation> explanation;
        if (surroundings.explain) {
            explanation = surroundings.explain(answer->row.front(), answer->record);
            if (!explanation->agrees) {
                exitCode = std::max<ExitCode>(exitCode, exitComplaints);
            }
        }
        printer.add(*std::move(answer), explanation);
    }
    printer.finish();
    return exitCode;
}

}  // namespace ccquery
