#include "testing/calls/debugoutput-win.h"

#include <mutex>

namespace testing_support {
namespace {

std::mutex gTextsLock;
std::vector<std::string> gTexts;

void WINAPI keepText(LPCSTR text) {
    const std::lock_guard<std::mutex> lock(gTextsLock);
    gTexts.emplace_back(text);
}

}  // namespace

DebugOutput::DebugOutput(HMODULE module) : mCall("OutputDebugStringA", keepText, module) {}

DebugOutput::~DebugOutput() {
    const std::lock_guard<std::mutex> lock(gTextsLock);
    // Frees the memory as well, for tests that count what is left.
    std::vector<std::string>().swap(gTexts);
}

std::vector<std::string> DebugOutput::texts() const {
    const std::lock_guard<std::mutex> lock(gTextsLock);
    return gTexts;
}

}  // namespace testing_support
