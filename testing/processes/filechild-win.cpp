#include "testing/processes/filechild-win.h"

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace testing_support {

FileChild::FileChild(const std::string& what, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {what, mFolder.utf8("signal")});
    ChildRun run = {.program = testProgramFolder() / "filechild.exe",
                    .arguments = std::move(arguments)};
    mRunner = std::thread([this, run = std::move(run)] { this->run(run); });
    for (;;) {
        const bool hasEnded = mHasEnded;  // asked first: the signal is the older event
        if (std::filesystem::exists(mSignal)) {
            break;
        }
        if (hasEnded) {
            static_cast<void>(wait());
            if (mFailure != nullptr) {
                std::rethrow_exception(mFailure);
            }
            throw std::runtime_error("filechild can't do that");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

FileChild::~FileChild() { static_cast<void>(end()); }

void FileChild::run(const ChildRun& run) {
    try {
        mResult = runChild(run);
    } catch (const std::exception&) {
        mFailure = std::current_exception();
    }
    mHasEnded = true;
}

bool FileChild::end() {
    std::error_code ignored;
    std::filesystem::remove(mSignal, ignored);
    return wait();
}

bool FileChild::wait() {
    if (mRunner.joinable()) {
        mRunner.join();
    }
    return mResult.exitCode == 0;
}

}  // namespace testing_support
