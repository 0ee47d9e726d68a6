#pragma once

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "clearcase/clearcaseconnection.h"
#include "clearcase/elementindex.h"

/// A connection that answers from a text file and from the file system.
///
/// The file (its format: clearcase/configuration.h) is read once, by the constructor: the one that
/// the environment variable NBCLEARCASE_FAKE_INI names, else "nbclearcase_fake.ini" in the current
/// directory. It is text, which Ctrl+Z ends. A file that is missing or can't be opened counts as
/// empty. CLEARCASE_ROOT, if it is set, is the view root prefix; `getViewTag` reads it anew.
///
/// All connections share one lock, around the view roots that `canonicalizeViewPath` remembers.
/// Any thread may call any operation, save that `clearMessages` must run beside neither itself nor
/// the two operations that read the messages.
class FakeClearCase : public ClearCaseConnection {
public:
    /// Complaints about the file go to `getError`. The argument is not read.
    explicit FakeClearCase(const void* unused);
    ~FakeClearCase() override = default;
    FakeClearCase(const FakeClearCase&) = delete;
    FakeClearCase& operator=(const FakeClearCase&) = delete;

    std::string getOutput() override;
    std::string getError() override;
    void clearMessages() override;
    int getElementStatus(const char* path, std::string* version, std::string* target) override;
    std::string canonicalizeViewPath(const std::string& cwd, const std::string& path,
                                     const std::vector<std::string>& vobTags) override;
    std::string getViewTag() override;
    void probeVobs(const std::string& root, std::vector<VobRecord>& results) override;
    void getProductInfo(const void* unused, std::map<std::string, std::string>& info) override;
    std::string getMvfsDrives(std::map<std::string, std::string>& drives) override;
    [[noreturn]] void startSession() override;
    bool isReady() override;
    [[noreturn]] void killConnection() override;

private:
    std::vector<VobRecord> mVobs;
    ElementTable mElements;
    std::ostringstream mOutput;  ///< nothing writes to it: it is here for the contract's sake
    std::ostringstream mError;
    ElementIndex mElementIndex;  ///< of mElements
};
