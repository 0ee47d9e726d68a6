#pragma once

/// Starts Windows Sockets 2.2 for this process on the first call. If the system refuses, throws
/// std::runtime_error "couldn't initialize socket system: WHY" (WHY is cut to 100 bytes), and a
/// later call tries again. Call it at the start of the process: two threads at once may both start
/// the sockets, which Windows allows. The sockets are never stopped.
void startSockets();
