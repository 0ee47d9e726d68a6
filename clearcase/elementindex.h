#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "clearcase/elementtypes.h"

/// Finds elements of a table in fewer steps than the table itself does: a hash table beside it.
///
/// In a large table nearly all the time goes into reading memory that no cache holds. Of that a
/// look-up reads two places, one after the other: a slot, and then what it leads to, the text of
/// the key beside the element. A library's hash tables need three or four, and up to twice the
/// room.
///
/// Elements are added, then comes `finish`, and only then `find`; without elements it may come at
/// once. Any number of threads may call `find`.
class ElementIndex {
public:
    using Element = ElementTable::value_type;

    /// Takes in an element whose key isn't there yet. It must stay where it is, as elements of a
    /// table do whatever else is added, and if the table is moved or swapped.
    void add(const Element& element);
    /// Puts what was added into its slots. Nothing is added after that.
    void finish();

    /// Null if there is none.
    const ElementRecord* find(std::string_view key) const;

private:
    /// Empty without an element.
    struct Slot {
        size_t hash = 0;
        const char* key = nullptr;  ///< the characters of the element's key
        const Element* element = nullptr;

        bool holds(size_t otherHash, std::string_view otherKey) const;
    };

    size_t firstSlotOf(size_t hash) const;
    size_t slotAfter(size_t slot) const { return slot + 1 == mSlots.size() ? 0 : slot + 1; }

    /// Until `finish` the elements, and then, a third of them empty, the slots: an element is in
    /// the first that was free from the one that its hash names on.
    std::vector<Slot> mSlots;
};
