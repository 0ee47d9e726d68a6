#pragma once

#include <concepts>
#include <initializer_list>
#include <type_traits>

// Parameter types that keep a call from being taken for another one. To the compiler `{}` is a null
// pointer or a zero sooner than an empty list, and every writable address is a `void*`, which is
// Windows's type for SIDs, security descriptors and handles alike.

/// Nothing is one.
class NoArgument {
    NoArgument(const NoArgument&) = delete;
};

/// `{}` and nothing else. It takes that before pointers, numbers and lists do: a deleted overload
/// with it refuses the call.
using EmptyBraces = std::initializer_list<NoArgument>;

/// A T that the call spells out. `{}` is none.
template <class T>
class SpelledOut {
public:
    template <std::same_as<T> Value>
    // NOLINTNEXTLINE(google-explicit-constructor): a T is one.
    constexpr SpelledOut(Value value) noexcept : mValue(value) {}
    // NOLINTNEXTLINE(google-explicit-constructor): it is a T.
    constexpr operator T() const noexcept { return mValue; }

private:
    T mValue;
};

template <class T>
constexpr bool isTextOrObject() {
    // A class that is declared alone may be bytes: nothing is known of it.
    if constexpr (std::is_class_v<T>) {
        if constexpr (requires { sizeof(T); }) {
            return !std::is_trivially_copyable_v<T>;
        }
    }
    return std::same_as<T, char> || std::same_as<T, char8_t>;
}

/// The targets of pointers that are never the `void*` of a SID or a descriptor: writable
/// text, which may as well be their text form, and objects like a std::string or a
/// SecurityIdentifier, whose address isn't that of the bytes they hold. UTF-16 isn't among them: a
/// TRUSTEE_W has its SID in an LPWSTR.
template <class T>
concept TextOrObject = isTextOrObject<T>();

/// The same for a handle: it isn't a path either.
template <class T>
concept NoHandleTarget = TextOrObject<T> || std::same_as<T, wchar_t>;
