#pragma once

// The answers of a `FakeClearCase` that never change, for it and for what compares with it.

namespace fakeanswers {

inline constexpr const char* product = "Phony ClearCase Interface";
inline constexpr const char* version = "n/a";
inline constexpr const char* osname = "Windows";
/// What the exceptions of `startSession` and `killConnection`, of std::runtime_error, say.
inline constexpr const char* noSessions = "No ClearCase sessions when faking";
inline constexpr const char* noConnection = "No connection to kill!";

}  // namespace fakeanswers
