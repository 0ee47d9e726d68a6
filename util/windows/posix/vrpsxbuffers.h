#pragma once

// Texts that the POSIX side allocates: by itself, or in a string of the caller. Null pointers
// mustn't be passed unless documented otherwise; nothing checks that. Nothing is locked here: only
// one thread at a time may use an object.

#include <optional>
#include <string>
#include <utility>

#include "util/windows/vrpsx.h"

namespace vrpsx {

/// A path from the other side, freed by the object that allocated it. Null is a valid result, too.
class buffer_result {
public:
    buffer_result() = default;
    /// `owner`, not null, must outlive the result.
    buffer_result(char* text, raw::buffer_owner* owner) : _text(text), _owner(owner) {}
    /// @{
    /// Takes the text over; `other` is empty from then on.
    buffer_result(buffer_result&& other) noexcept { swap(other); }
    buffer_result& operator=(buffer_result&& other) noexcept {
        buffer_result fresh(std::move(other));
        fresh.swap(*this);
        return *this;
    }
    /// @}
    ~buffer_result() {
        if (_text != nullptr) {
            _owner->table->deallocate(_owner, _text);
        }
    }
    buffer_result(const buffer_result&) = delete;
    buffer_result& operator=(const buffer_result&) = delete;

    /// Exchanges the texts.
    void swap(buffer_result& other) noexcept {
        std::swap(_text, other._text);
        std::swap(_owner, other._owner);
    }
    /// Hands the text over to the caller; it is no longer freed here.
    [[nodiscard]] char* take() { return std::exchange(_text, nullptr); }

private:
    char* _text = nullptr;
    raw::buffer_owner* _owner = nullptr;
};

/// Lets the other side write into a string. Meant for one result; of several, the last one remains.
class string_buffer_allocator : public raw::allocator {
public:
    string_buffer_allocator();
    string_buffer_allocator(const string_buffer_allocator&) = delete;
    string_buffer_allocator& operator=(const string_buffer_allocator&) = delete;

    /// The string, without the terminator that the buffer includes. No value if no buffer was
    /// requested, or if there was no memory for it.
    std::optional<std::string> text;
};

}  // namespace vrpsx
