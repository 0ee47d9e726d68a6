#pragma once

#include <atomic>
#include <cstdint>

/// 1 if new jobs run at high priority, otherwise 0. Set by Exec::elevateWindowsPriority.
extern std::atomic<int32_t> gRaisePriority;
