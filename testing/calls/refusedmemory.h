#pragma once

namespace testing_support {

/// Until the scope ends, every `new (std::nothrow)` of the program returns null, except in the
/// libraries that it loads. The throwing forms still work. At most one object at a time. For
/// programs whose linker redirects the calls here: see util/CMakeLists.txt.
class [[nodiscard]] RefusedMemory {
public:
    RefusedMemory();
    ~RefusedMemory();
    RefusedMemory(const RefusedMemory&) = delete;
    RefusedMemory& operator=(const RefusedMemory&) = delete;
};

}  // namespace testing_support
