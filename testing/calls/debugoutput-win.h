#pragma once

#include <string>
#include <vector>

#include <windows.h>

#include "testing/calls/replacedcall-win.h"

namespace testing_support {

/// Takes what one module (null: the test program) hands to the debugger, in place of the debugger,
/// until the scope ends. At most one at a time.
class DebugOutput {
public:
    explicit DebugOutput(HMODULE module = nullptr);
    ~DebugOutput();
    DebugOutput(const DebugOutput&) = delete;
    DebugOutput& operator=(const DebugOutput&) = delete;

    /// The texts so far, one for each call of OutputDebugStringA, in their order.
    std::vector<std::string> texts() const;

private:
    ReplacedCall<decltype(OutputDebugStringA)> mCall;
};

}  // namespace testing_support
