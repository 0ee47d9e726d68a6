#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace journal {

/// The error numbers of a thread: of the system, and of the C runtime.
struct ErrorNumbers {
    uint32_t ofSystem = 0;
    int ofRuntime = 0;

    bool operator==(const ErrorNumbers&) const = default;
};

/// What a journal needs of the process around it. Any thread may call any function.
class Surroundings {
public:
    Surroundings() = default;
    virtual ~Surroundings() = default;
    Surroundings(const Surroundings&) = delete;
    Surroundings& operator=(const Surroundings&) = delete;

    /// Returns the nanoseconds since 1970, UTC. Somebody may set the clock back.
    [[nodiscard]] virtual int64_t clock() = 0;
    [[nodiscard]] virtual uint32_t process() = 0;
    [[nodiscard]] virtual uint32_t thread() = 0;
    /// Returns the thread's error numbers.
    [[nodiscard]] virtual ErrorNumbers errors() = 0;
    virtual void setErrors(const ErrorNumbers& errors) = 0;
    /// Appends the text to the file at once. Returns an empty text, or why that failed.
    [[nodiscard]] virtual std::string append(std::string_view text) = 0;
    /// Writes a message of one line about the journal to standard error.
    virtual void complain(const std::string& problem) = 0;
};

}  // namespace journal
