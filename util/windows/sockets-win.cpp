#include "util/windows/sockets-win.h"

#include <atomic>
#include <cstdint>
#include <stdexcept>
#include <string>

#include <winsock2.h>

#include "util/platform/errortext-win.h"
#include "util/stringformat.h"

namespace {

std::atomic<bool> gSocketsStarted{false};

}  // namespace

void startSockets() {
    if (gSocketsStarted.load(std::memory_order_relaxed)) {
        return;
    }
    WSADATA data;
    // The call returns its error number; WSAGetLastError isn't valid for it.
    const auto result = static_cast<uint32_t>(WSAStartup(MAKEWORD(2, 2), &data));
    if (result != 0) {
        const std::string why = errorText(/*withCode=*/true, &result, errorOfSystem);
        throw std::runtime_error(
            format(160, "couldn't initialize socket system: %.100s", why.c_str()));
    }
    gSocketsStarted.store(true, std::memory_order_relaxed);
}
