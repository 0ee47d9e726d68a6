#pragma once

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <utility>
#include <vector>

#include <windows.h>

#include "util/windows/security/securityidentifier-win.h"

/// Converts an element of a list to an element of the array that a Windows call takes.
template <class Source, class Target>
struct array_element;

/// For lists of SIDs.
template <>
struct array_element<std::pair<SecurityIdentifier, unsigned long>, SID_AND_ATTRIBUTES> {
    /// For messages.
    static constexpr const char* name =
        "array_initializer<struct std::pair<class SecurityIdentifier,unsigned long>,"
        "struct _SID_AND_ATTRIBUTES>::operator ()";
    /// Doesn't copy the SID.
    static void write(const std::pair<SecurityIdentifier, unsigned long>& source,
                      SID_AND_ATTRIBUTES& target) {
        target.Sid = source.first.sid();
        target.Attributes = source.second;
    }
};

/// For lists of privileges.
template <>
struct array_element<std::pair<LUID, unsigned long>, LUID_AND_ATTRIBUTES> {
    /// For messages.
    static constexpr const char* name =
        "array_initializer<struct std::pair<struct _LUID,unsigned long>,"
        "struct _LUID_AND_ATTRIBUTES>::operator ()";
    /// Copies both.
    static void write(const std::pair<LUID, unsigned long>& source, LUID_AND_ATTRIBUTES& target) {
        target.Luid = source.first;
        target.Attributes = source.second;
    }
};

/// Writes the elements of a list into an array, one per call, up to the array's capacity. An
/// element beyond it throws std::out_of_range with the name of this call operator. SIDs aren't
/// copied, so the list must outlive the array.
template <class Source, class Target>
class array_initializer {
public:
    /// `start` has space for `capacity` elements.
    array_initializer(Target* start, size_t capacity)
        : mStart(start), mCursor(start), mCapacity(capacity) {}

    /// Writes the next element.
    void operator()(const Source& source) {
        if (static_cast<size_t>(mCursor - mStart) == mCapacity) {
            throw std::out_of_range(array_element<Source, Target>::name);
        }
        array_element<Source, Target>::write(source, *mCursor);
        ++mCursor;
    }

private:
    Target* mStart;
    Target* mCursor;
    size_t mCapacity;
};

/// Writes the whole list into an array, which has at least as many elements.
template <class Source, class Target>
void initializeArray(const std::vector<Source>& list, Target* array) {
    std::for_each(list.begin(), list.end(), array_initializer<Source, Target>(array, list.size()));
}
