#pragma once

#include <iosfwd>
#include <stdexcept>
#include <string>

// Errors that carry a number, so that a reader can look them up and a caller can branch on them.
// There is no catalogue: a message is a number and a text that the failing code composes. Data from
// outside goes into the text through the escapes of util/escapedoutput.h, so that the text stays
// ASCII.

/// The prefix of a numbered message in output: "ERROR NB5001: " or "WARNING NB0042: ".
struct MessagePrefix {
    bool mIsError;  ///< true for an error, false for a warning
    int mCode;  ///< printed in four columns or more, filled with zeros; 0 is a fault and stops the
                ///< process
};

/// Writes the prefix, with its blank at the end.
std::ostream& operator<<(std::ostream& out, const MessagePrefix& prefix);

/// An error with its number. `what()` is the text as given, without a prefix: code that catches the
/// exception prints it together with the number.
class NumberedRuntimeError : public std::runtime_error {
public:
    /// Neither is checked: a `code` of 0 can't be printed by MessagePrefix.
    NumberedRuntimeError(int code, const std::string& text)
        : std::runtime_error(text), mCode(code) {}
    /// @{
    /// Copies number and text.
    NumberedRuntimeError(const NumberedRuntimeError&) = default;
    NumberedRuntimeError& operator=(const NumberedRuntimeError&) = default;
    /// @}
    ~NumberedRuntimeError() override;

    /// Returns the number.
    [[nodiscard]] int code() const { return mCode; }

private:
    int mCode;
};
