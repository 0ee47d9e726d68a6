#pragma once

#include <cstddef>
#include <string>

/// Returns a printf-style text of at most `capacity` characters. The caller guarantees that the
/// text fits: a longer one is a programming error, for which std::length_error is thrown.
[[gnu::format(printf, 2, 3)]] [[nodiscard]] std::string format(size_t capacity, const char* pattern,
                                                               ...);
