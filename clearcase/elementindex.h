#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "clearcase/elementtypes.h"

/// Finds elements of a table in fewer steps than the table itself does: a hash table beside it.
///
/// In a large table nearly all the time goes into reading memory that no cache holds. Of that a
/// look-up reads two places, one after the other: a slot, and then what it leads to, the text of
/// the key beside the element. Boost's flat tables read the marks of a group first, and have room
/// that doubles: with one of them the look-ups of `make bench` took a third longer.
///
/// Any number of threads may call `find`.
class ElementIndex {
public:
    /// Of no element.
    ElementIndex() = default;
    /// Of all elements of `table`, which must stay where they are, as they do if the table is moved
    /// or swapped.
    explicit ElementIndex(const ElementTable& table);

    /// Null if there is none.
    const ElementRecord* find(std::string_view key) const;

private:
    using Element = ElementTable::value_type;

    /// Empty without an element.
    struct Slot {
        size_t hash = 0;
        const char* key = nullptr;  ///< the characters of the element's key
        const Element* element = nullptr;

        bool holds(size_t otherHash, std::string_view otherKey) const;
    };

    size_t firstSlotOf(size_t hash) const;
    size_t slotAfter(size_t slot) const { return slot + 1 == mSlots.size() ? 0 : slot + 1; }

    void insert(const Slot& element);

    /// A third of them empty. An element is in the first that was free from the one that its hash
    /// names on.
    std::vector<Slot> mSlots;
};
