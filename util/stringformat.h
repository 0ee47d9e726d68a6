#pragma once

#include <cstddef>
#include <string>

/// printf-style text of at most `capacity` characters. The capacity is the caller's promise: a
/// longer text is a programming fault and ends in std::length_error.
[[gnu::format(printf, 2, 3)]] std::string format(size_t capacity, const char* pattern, ...);
