#include "clearcase/elementindex.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>

#include "util/prefetch.h"

namespace {

size_t hashOf(std::string_view key) { return std::hash<std::string_view>()(key); }

}  // namespace

bool ElementIndex::Slot::holds(size_t otherHash, std::string_view otherKey) const {
    // Uses the slot's own pointer, so that the processor reads key and element in parallel.
    const size_t length = otherKey.size();
    // GCOVR_EXCL_BR_START: no two keys of the tests have the same 64-bit hash.
    return hash == otherHash && element->first.size() == length &&
           std::memcmp(key, otherKey.data(), length) == 0;
    // GCOVR_EXCL_BR_STOP
}

size_t ElementIndex::firstSlotOf(size_t hash) const {
    // Fibonacci hashing: the upper bits of the product depend on all bits of the hash.
    const uint64_t mixed = uint64_t{hash} * 0x9E3779B97F4A7C15;
    return static_cast<size_t>((mixed >> 32) * mSlots.size() >> 32);
}

ElementIndex::ElementIndex(const ElementTable& table)
    : mSlots(table.size() + table.size() / 2 + 1) {
    // In groups, so that the slots of some elements are fetched while others are hashed.
    std::array<Slot, 16> elements;
    size_t count = 0;
    const auto insertAll = [&] {
        for (size_t i = 0; i < count; ++i) {
            insert(elements[i]);
        }
        count = 0;
    };
    for (const Element& element : table) {
        const Slot& slot =
            elements[count++] = {hashOf(element.first), element.first.data(), &element};
        prefetch(&mSlots[firstSlotOf(slot.hash)]);
        if (count == elements.size()) {
            insertAll();
        }
    }
    insertAll();
}

void ElementIndex::insert(const Slot& element) {
    size_t slot = firstSlotOf(element.hash);
    while (mSlots[slot].element != nullptr) {
        slot = slotAfter(slot);
    }
    mSlots[slot] = element;
}

const ElementRecord* ElementIndex::find(std::string_view key) const {
    if (mSlots.empty()) {
        return nullptr;
    }
    const size_t hash = hashOf(key);
    for (size_t slot = firstSlotOf(hash); mSlots[slot].element != nullptr; slot = slotAfter(slot)) {
        if (mSlots[slot].holds(hash, key)) {
            return &mSlots[slot].element->second;
        }
    }
    return nullptr;
}
