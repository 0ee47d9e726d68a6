#pragma once

#include <string>
#include <vector>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"

namespace testing_support {

/// Captures what one module (null: the test program) sends to the debugger, in place of the
/// debugger, until the scope ends. At most one object at a time.
class [[nodiscard]] DebugOutput {
public:
    explicit DebugOutput(HMODULE module = nullptr);
    ~DebugOutput();
    DebugOutput(const DebugOutput&) = delete;
    DebugOutput& operator=(const DebugOutput&) = delete;

    /// Returns the texts so far in their order, one for each call of OutputDebugStringA.
    std::vector<std::string> texts() const;

private:
    ReplacedCall<decltype(OutputDebugStringA)> mCall;
};

}  // namespace testing_support
