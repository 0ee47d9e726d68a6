#pragma once

#include <atomic>
#include <exception>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "testing/processes/childprocess-win.h"
#include "testing/scopes/tempfolder.h"

namespace testing_support {

/// A second process that works on files until `end` is called or it is done: the program filechild,
/// whose source documents its actions. At most one object at a time.
class [[nodiscard]] FileChild {
public:
    /// Returns when the process is ready. Throws what runChild throws, and std::runtime_error if
    /// the process ends before it is ready.
    FileChild(const std::string& what, std::vector<std::string> arguments);
    ~FileChild();
    FileChild(const FileChild&) = delete;
    FileChild& operator=(const FileChild&) = delete;

    /// Requests the process to end and waits until it does. Returns true if it did all that it was
    /// to do.
    [[nodiscard]] bool end();
    /// Waits until the process has done all. Returns true if it could.
    [[nodiscard]] bool wait();

private:
    void run(const ChildRun& run);

    TempFolder mFolder;
    std::filesystem::path mSignal = mFolder.path() / "signal";
    ChildResult mResult = {1, "", ""};
    std::exception_ptr mFailure;
    std::atomic<bool> mHasEnded{false};
    std::thread mRunner;
};

}  // namespace testing_support
