#pragma once

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "clearcase/clearcaseconnection.h"
#include "clearcase/elementindex.h"

/// A connection that answers from a text file and from the file system.
///
/// The constructor reads the file once (format: clearcase/configuration.h). Its name is the value
/// of the environment variable NBCLEARCASE_FAKE_INI, or "nbclearcase_fake.ini" in the current
/// directory if that isn't set. The file is read as text, which Ctrl+Z ends. A file that is missing
/// or can't be opened counts as empty. CLEARCASE_ROOT, if it is set, is the view root prefix;
/// `getViewTag` reads it again at each call. An empty variable counts as not set.
///
/// All connections share one lock, which guards the view roots that `canonicalizeViewPath`
/// remembers. For threads see clearcase/clearcaseconnection.h.
class FakeClearCase : public ClearCaseConnection {
public:
    /// Complaints about the file go to `getError`. The argument is not read.
    explicit FakeClearCase(const void* unused);
    ~FakeClearCase() override = default;
    FakeClearCase(const FakeClearCase&) = delete;
    FakeClearCase& operator=(const FakeClearCase&) = delete;

    [[nodiscard]] std::string getOutput() override;
    [[nodiscard]] std::string getError() override;
    void clearMessages() override;
    [[nodiscard]] int getElementStatus(const char* path, std::string* version,
                                       std::string* target) override;
    [[nodiscard]] std::string canonicalizeViewPath(
        const std::string& cwd, const std::string& path,
        const std::vector<std::string>& vobTags) override;
    [[nodiscard]] std::string getViewTag() override;
    void probeVobs(const std::string& root, std::vector<VobRecord>& results) override;
    void getProductInfo(const void* unused, std::map<std::string, std::string>& info) override;
    [[nodiscard]] std::string getMvfsDrives(std::map<std::string, std::string>& drives) override;
    [[noreturn]] void startSession() override;
    [[nodiscard]] bool isReady() override;
    [[noreturn]] void killConnection() override;

private:
    std::vector<VobRecord> mVobs;
    ElementTable mElements;
    std::ostringstream mOutput;  ///< required by the contract; nothing writes to it
    std::ostringstream mError;
    ElementIndex mElementIndex;  ///< of `mElements`
};
