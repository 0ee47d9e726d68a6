// A connection library for tests of a host. Every answer is canned, and some are awkward on
// purpose. Its answers report what it was passed, and when.

#include <cerrno>
#include <cstdlib>
#include <stdexcept>

#include <windows.h>

#include "clearcase/clearcaseconnection.h"

namespace {

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

const std::string gConfigAtLoad = variable("NBCLEARCASE_FAKE_INI");

class SampleConnection : public ClearCaseConnection {
public:
    std::string getOutput() override { return {}; }

    /// Returns the text of SAMPLECONNECTION_ERROR.
    std::string getError() override { return variable("SAMPLECONNECTION_ERROR"); }

    void clearMessages() override {}

    /// The last name of the path decides: "version", "link" and "broken" (texts that are invalid
    /// UTF-8, with control characters); "throw" throws a std::exception, "throwint" throws
    /// something else. Every other name is view private.
    int getElementStatus(const char* path, std::string* version, std::string* target) override {
        const std::string text = path;
        const std::string name = text.substr(text.find_last_of("/\\") + 1);
        version->clear();
        if (name == "version") {
            *version = "/main/0";
            return elementVersion;
        }
        if (name == "link") {
            *target =
                "D:\\gr\xc3\xb6\xc3\x9f"
                "er \"quoted\"";
            return elementSymbolicLink;
        }
        if (name == "broken") {
            *version = "a\tb\n\x1b[31m";
            *target = "\xff\xc3(";
            return elementSymbolicLink;
        }
        if (name == "throw") {
            throw std::runtime_error("a failure\nof two lines");
        }
        if (name == "throwint") {
            throw 42;
        }
        return elementViewPrivate;
    }

    /// Returns the arguments, separated by bars.
    std::string canonicalizeViewPath(const std::string& cwd, const std::string& path,
                                     const std::vector<std::string>& vobTags) override {
        std::string text = cwd + "|" + path;
        for (const std::string& tag : vobTags) {
            text += "|" + tag;
        }
        return text;
    }

    std::string getViewTag() override {
        return "gr\xc3\xb6\xc3\x9f"
               "te_view";
    }

    void probeVobs(const std::string& root, std::vector<VobRecord>& results) override {
        results.push_back({root + "\\a", vobWritable});
        results.push_back({root + "\\b", vobReadOnly});
        results.push_back({root + "\\c", vobNotDetermined});
    }

    /// Includes NBCLEARCASE_FAKE_INI as it was when the library was loaded.
    void getProductInfo(const void*, std::map<std::string, std::string>& info) override {
        info["product"] = "Sample connection";
        info["configAtLoad"] = gConfigAtLoad;
    }

    /// Throws if SAMPLECONNECTION_NO_DRIVES is set; if that is "throwint", no std::exception.
    std::string getMvfsDrives(std::map<std::string, std::string>& drives) override {
        if (const std::string how = variable("SAMPLECONNECTION_NO_DRIVES"); !how.empty()) {
            drives = {{"X:", "tag0"}};
            if (how == "throwint") {
                throw 1;
            }
            throw std::runtime_error("no drives");
        }
        drives = {{"X:", "tag1"}, {"Y:", "tag2"}};
        return "M:";
    }

    void startSession() override { throw std::runtime_error("no session"); }
    bool isReady() override { return true; }
    void killConnection() override { throw std::runtime_error("no connection"); }
};

}  // namespace

/// Returns null if SAMPLECONNECTION_NULL is set. Leaves error numbers in the thread.
extern "C" ClearCaseConnection* ClearCaseImplCtor(void*) {
    ClearCaseConnection* const connection =
        variable("SAMPLECONNECTION_NULL").empty() ? new SampleConnection : nullptr;
    errno = EDOM;
    SetLastError(ERROR_NOT_READY);
    return connection;
}
