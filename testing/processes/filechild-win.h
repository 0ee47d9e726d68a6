#pragma once

#include <atomic>
#include <exception>
#include <string>
#include <thread>
#include <vector>

#include "testing/processes/childprocess-win.h"
#include "testing/scopes/tempfolder.h"

namespace testing_support {

/// A second process that does something to files until it is told to end (or is done): the program
/// filechild, whose source tells its words. One at a time.
class FileChild {
public:
    /// Returns when it is ready. Throws what runChild throws, and std::runtime_error if it ends
    /// before that.
    FileChild(const std::string& what, std::vector<std::string> arguments);
    ~FileChild();
    FileChild(const FileChild&) = delete;
    FileChild& operator=(const FileChild&) = delete;

    /// Tells it to end and waits for that. True if it could do all that it was to.
    bool end();
    /// Waits until it has done all. True if it could.
    bool wait();

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
