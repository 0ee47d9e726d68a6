#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "clearcase/clearcaseconnection.h"
#include "journal/jsonfields.h"
#include "journal/lines.h"
#include "journal/surroundings.h"

namespace journal {

/// Where a connection is from: the result of "connect".
struct Origin {
    std::string library;    ///< the path of the library that answers
    std::string host;       ///< the path of the program
    std::string directory;  ///< the current one
    /// Variables of the environment.
    std::optional<std::string> viewRoot = {};       ///< CLEARCASE_ROOT
    std::optional<std::string> configuration = {};  ///< NBCLEARCASE_FAKE_INI
};

/// Passes every call on to another connection, and writes a line for each. The caller gets what the
/// other connection gives: every result, every exception, in the thread that calls.
class JournaledConnection : public ClearCaseConnection {
public:
    /// Begins with the line "connect", which says where the connection is from. `number` is the
    /// number of the connection in its process, and `begin` when the library began to make it (see
    /// Surroundings). Neither pointer is null.
    JournaledConnection(std::unique_ptr<ClearCaseConnection> connection, uint32_t number,
                        const Origin& origin, std::unique_ptr<Surroundings> surroundings,
                        int64_t begin);
    /// Ends the other connection, and then writes the line "disconnect".
    ~JournaledConnection() override;
    JournaledConnection(const JournaledConnection&) = delete;
    JournaledConnection& operator=(const JournaledConnection&) = delete;

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
    void startSession() override;
    bool isReady() override;
    void killConnection() override;

private:
    template <class AddArguments, class Ask, class AddResult>
    auto call(std::string_view operation, AddArguments addArguments, Ask ask, AddResult addResult);
    /// For an operation without arguments, whose result is a text.
    std::string callForText(std::string_view operation, std::string (ClearCaseConnection::*ask)());
    /// For an operation without arguments and result.
    void callPlainly(std::string_view operation, void (ClearCaseConnection::*ask)());

    std::unique_ptr<ClearCaseConnection> mConnection;
    const std::unique_ptr<Surroundings> mSurroundings;
    Lines mLines;
};

}  // namespace journal
