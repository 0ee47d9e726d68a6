#pragma once

#include <concepts>
#include <initializer_list>
#include <type_traits>

// Parameter types that keep the compiler from choosing another overload than the caller meant. It
// takes `{}` as a null pointer or a zero rather than as an empty list. It also converts every
// writable address to `void*`, which is Windows's type for SIDs, security descriptors and handles.

/// Can't be constructed.
class NoArgument {
    NoArgument(const NoArgument&) = delete;
};

/// Accepts `{}` and nothing else. For `{}` it is preferred to pointers, numbers and lists, so a
/// deleted overload with this parameter rejects the call.
using EmptyBraces = std::initializer_list<NoArgument>;

/// A T that the caller must write out. `{}` isn't accepted.
template <class T>
class SpelledOut {
public:
    template <std::same_as<T> Value>
    // NOLINTNEXTLINE(google-explicit-constructor): callers pass a T.
    /// From a T, and nothing that converts to one.
    constexpr SpelledOut(Value value) noexcept : mValue(value) {}
    // NOLINTNEXTLINE(google-explicit-constructor): it is used as a T.
    /// Returns the value.
    constexpr operator T() const noexcept { return mValue; }

private:
    T mValue;
};

/// Decides TextOrObject.
template <class T>
[[nodiscard]] constexpr bool isTextOrObject() {
    // Nothing is known about a class that is only declared: it may be plain bytes.
    if constexpr (std::is_class_v<T>) {
        if constexpr (requires { sizeof(T); }) {
            return !std::is_trivially_copyable_v<T>;
        }
    }
    return std::same_as<T, char> || std::same_as<T, char8_t>;
}

/// Types whose address is never accepted as the `void*` of a SID or a descriptor:
/// - writable text, which could be their text form instead;
/// - objects such as a std::string or a SecurityIdentifier, whose address isn't that of the bytes
///   they hold.
/// UTF-16 text isn't included: a TRUSTEE_W has its SID in an LPWSTR.
template <class T>
concept TextOrObject = isTextOrObject<T>();

/// The same for a handle. UTF-16 text is included: it would be a path.
template <class T>
concept NoHandleTarget = TextOrObject<T> || std::same_as<T, wchar_t>;
