#include "util/windows/posix/vrpsxbuffers.h"

#include <cstddef>

namespace vrpsx {

namespace {

void* allocate(raw::allocator* allocator, size_t size) {
    std::optional<std::string>& text = static_cast<string_buffer_allocator*>(allocator)->text;
    try {
        text.emplace(size == 0 ? 0 : size - 1, '\0');
        return text->data();
    } catch (...) {
        return nullptr;  // nothing may be thrown into the other side
    }
}

void deallocate(raw::allocator* allocator, void*) {
    static_cast<string_buffer_allocator*>(allocator)->text.reset();
}

constexpr raw::allocator_table string_allocator_table = {&deallocate, &allocate};

}  // namespace

string_buffer_allocator::string_buffer_allocator() { table = &string_allocator_table; }

}  // namespace vrpsx
