#pragma once

/// Reports a broken invariant and ends the process at that point.
///
/// Writes "assertion failed at FILE(LINE): EXPRESSION" and a line end to standard error, and then
/// stores to address zero, so that a debugger or a dump shows the caller's stack. Never throws and
/// never returns. Any thread may call it.
[[noreturn]] void assertFailed(const char* expression, const char* file, int line);

/// Checks an invariant, in release builds as well. It is a macro because only a macro has the
/// condition's source text and position.
#define NB_ASSERT(condition) NB_ASSERT_AS(condition, #condition)

/// The same, but reports `text` as the expression. For conditions that are known to readers of logs
/// in another spelling than the code's.
#define NB_ASSERT_AS(condition, text) \
    (static_cast<bool>(condition) ? void() : assertFailed(text, __FILE__, __LINE__))
