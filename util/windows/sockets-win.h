#pragma once

/// Starts Windows Sockets 2.2 for this process, the first time that it is called. Throws
/// std::runtime_error "couldn't initialize socket system: WHY" (at most 100 bytes of why) if the
/// system refuses; a later call then tries again. Call it at the start of the process: two threads
/// at once may both start the sockets, which Windows allows. It never stops them.
void startSockets();
