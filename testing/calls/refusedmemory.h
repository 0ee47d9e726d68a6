#pragma once

namespace testing_support {

/// Until the scope ends, every `new (std::nothrow)` of the program gives null, but for those of the
/// libraries that it loads; the forms that throw go on. One at a time. For programs whose linker
/// leads the calls here: see util/CMakeLists.txt.
class RefusedMemory {
public:
    RefusedMemory();
    ~RefusedMemory();
    RefusedMemory(const RefusedMemory&) = delete;
    RefusedMemory& operator=(const RefusedMemory&) = delete;
};

}  // namespace testing_support
