// A key that can't be made. On Linux a process has few keys, so that they can be used up.

#include <cerrno>
#include <cstring>
#include <pthread.h>
#include <string>

#include <gtest/gtest.h>

#include "testing/aborted.h"
#include "util/threadkey-pthreads.h"

namespace {

/// Uses up all keys that the process can have, and makes one more.
void makeKeyTooMany() {
    for (pthread_key_t key{}; pthread_key_create(&key, /*destructor=*/nullptr) == 0;) {
    }
    const ThreadKey key(nullptr);
}

TEST(ThreadKeyDeathTest, AKeyThatCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(makeKeyTooMany(), testing_support::hasAborted,
                std::string("Unable to initialize a new thread key: ") + std::strerror(EAGAIN));
}

}  // namespace
