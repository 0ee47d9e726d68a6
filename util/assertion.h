#pragma once

/// Reports a broken invariant and ends the process at the place.
///
/// Writes "assertion failed at FILE(LINE): EXPRESSION" and a line end to standard error, and then
/// stores to address zero, so that a debugger or a dump shows the stack of the caller. Never
/// throws and never returns. Any thread may call it.
[[noreturn]] void assertFailed(const char* expression, const char* file, int line);

/// Checks an invariant, in release builds as well. A macro, because only a macro has the
/// condition's source text and place.
#define NB_ASSERT(condition) \
    (static_cast<bool>(condition) ? void() : assertFailed(#condition, __FILE__, __LINE__))
