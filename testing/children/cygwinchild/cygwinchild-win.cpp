// A child for tests. It prints whether Cygwin started it: first the answer that eight threads get
// when they ask at the same time, then the answer to a second question. After that it prints the
// description of a connector.

#include <atomic>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "testing/providers/posixembedding-win.h"
#include "testing/providers/posixprovider-win.h"
#include "util/windows/cygwinconnector.h"

namespace {

const char* word(bool answer) { return answer ? "yes" : "no"; }

/// Returns the threads' answer, or "mixed" if they get different ones.
std::string answerOfThreads() {
    constexpr int count = 8;
    std::atomic<int> ready{0};
    std::atomic<int> yes{0};
    std::vector<std::thread> threads;
    threads.reserve(count);
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&] {
            ++ready;
            while (ready < count) {
                std::this_thread::yield();
            }
            yes += cygwin::invoked_from_cygwin() ? 1 : 0;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return yes == 0 || yes == count ? word(yes == count) : "mixed";
}

}  // namespace

int main() {
    const std::string first = answerOfThreads();
    testing_support::PosixProvider provider("1.7.35");
    const cygwin::connector connector(testing_support::embeddingOf(provider));
    std::printf("%s %s %s", first.c_str(), word(cygwin::invoked_from_cygwin()),
                connector.describe().c_str());
    return 0;
}
