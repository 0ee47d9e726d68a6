#pragma once

#include <cstdio>
#include <cstdlib>
#include <new>

#include "testing/calls/memoryshortage-win.h"
#include "testing/counts/ownershipcount-win.h"

namespace testing_support {

/// Runs the step with memory for no block, for one block, for two and so on, until that is enough.
/// Ends the process with 1 if a try leaves anything allocated or open, or if no try has failed. For
/// a child process of one thread: see MemoryShortage.
template <class Step>
void expectNoLeakWhenMemoryRunsOut(const char* name, Step step) {
    step();  // allocates what the runtime and the system allocate only once
    OwnershipCount ownership;
    bool isDone = false;
    for (int blocks = 0; !isDone; ++blocks) {
        try {
            const MemoryShortage shortage(blocks);
            step();
            isDone = true;
        } catch (const std::bad_alloc&) {
            isDone = false;
        }
        if (ownership.held() != OwnedResources() || (isDone && blocks == 0)) {
            std::fprintf(stderr, "%s with memory for %d blocks\n", name, blocks);
            std::exit(1);
        }
    }
}

}  // namespace testing_support
