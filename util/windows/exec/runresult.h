#pragma once

// What `Exec::runCommand` returns, and what it reports.

#include <cstdint>

/// The results of `Exec::runCommand` that aren't the exit code of a command; callers know them as
/// `Exec::failureCode` and `Exec::notFoundCode`. A command may return the same numbers itself.
///
///     outcome                                  result
///     the command ended                        its exit code
///     the program can't be found               notFoundCode
///     the streams can't be set up at first     notFoundCode
///     the alternate can't be started           notFoundCode
///     an abort                                 failureCode, and `*aborted` is true
///     a stall, with capture                    failureCode, with a message after the captured
///                                              errors
///     a stall, without capture                 the exit code
///     any other failure                        failureCode
///
/// With an alternate, the second and third cases start the alternate instead.
///
/// In three cases an abort leaves `*aborted` false, and the result is the same as without the
/// abort:
///
///   - a stall was noticed before it,
///   - no program is started, for instance because it is missing,
///   - the wait for the program fails.
///
/// Failures are reported in the order of events. The failure text is `errorText`, or `outputText`
/// if the streams are merged; there is none without capture. Failures of the wait come before the
/// captured output.
///
///     failure                                      `reportError`      failure text
///     the program is missing                       without capture    with capture
///     the desktop, the assignment to the job,
///     a stall when it is noticed                   yes                no
///     the alternate can't be started               no                 no
///     any other                                    yes                with capture
struct ExecResult {
    static constexpr int32_t failureCode = 1;     ///< an abort, a stall or another failure
    static constexpr int32_t notFoundCode = 255;  ///< no program, or no streams for it
};
