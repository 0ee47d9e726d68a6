#include "journal/journaledconnection.h"

#include <exception>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include <boost/core/demangle.hpp>

namespace journal {
namespace {

void addNothing(JsonFields&) {}

/// To be called in a handler: adds what is being handled.
void addException(JsonFields& fields) {
    try {
        throw;
    } catch (const std::exception& exception) {
        fields.add("type", std::string_view(boost::core::demangle(typeid(exception).name())));
        fields.add("what", exception.what());
    } catch (...) {
        fields.addJson("type", "null");
        fields.addJson("what", "null");
    }
}

/// A call from its begin to its line.
class Measured {
public:
    template <class AddArguments>
    Measured(std::string_view operation, AddArguments addArguments, Lines& lines,
             Surroundings& surroundings)
        : mLines(lines), mSurroundings(surroundings), mLine(operation) {
        mLine.addObject("arguments", addArguments);
        mLine.begin(mSurroundings.clock());
    }
    /// For a call without arguments that has begun already.
    Measured(std::string_view operation, int64_t begin, Lines& lines, Surroundings& surroundings)
        : mLines(lines), mSurroundings(surroundings), mLine(operation) {
        mLine.addObject("arguments", addNothing);
        mLine.begin(begin);
    }

    template <class AddResult>
    void end(std::string_view outcome, AddResult addResult) {
        // The caller may look at the errors that the library leaves.
        const ErrorNumbers errors = mSurroundings.errors();
        const int64_t clock = mSurroundings.clock();
        mLine.addObject(outcome, addResult);
        mLine.end(clock);
        mLines.write(mLine);
        mSurroundings.setErrors(errors);
    }

private:
    Lines& mLines;
    Surroundings& mSurroundings;
    CallLine mLine;
};

}  // namespace

template <class AddArguments, class Ask, class AddResult>
auto JournaledConnection::call(std::string_view operation, AddArguments addArguments, Ask ask,
                               AddResult addResult) {
    Measured measured(operation, addArguments, mLines, *mSurroundings);
    using Result = decltype(ask());
    // Nothing of ours throws: what is caught is the library's.
    try {
        if constexpr (std::is_void_v<Result>) {
            ask();
            measured.end("result", addResult);
        } else {
            Result result = ask();
            measured.end("result", [&](JsonFields& fields) { addResult(fields, result); });
            return result;
        }
    } catch (...) {
        measured.end("exception", addException);
        throw;
    }
}

std::string JournaledConnection::callForText(std::string_view operation,
                                             std::string (ClearCaseConnection::*ask)()) {
    return call(
        operation, addNothing, [&] { return (*mConnection.*ask)(); },
        [](JsonFields& fields, const std::string& text) { fields.add("text", &text); });
}

void JournaledConnection::callPlainly(std::string_view operation,
                                      void (ClearCaseConnection::*ask)()) {
    call(
        operation, addNothing, [&] { (*mConnection.*ask)(); }, addNothing);
}

JournaledConnection::JournaledConnection(std::unique_ptr<ClearCaseConnection> connection,
                                         uint32_t number, const Origin& origin,
                                         std::unique_ptr<Surroundings> surroundings, int64_t begin)
    : mConnection(std::move(connection)),
      mSurroundings(std::move(surroundings)),
      mLines(number, *mSurroundings) {
    const auto addVariable = [](JsonFields& fields, std::string_view name,
                                const std::optional<std::string>& value) {
        fields.add(name, value ? &*value : nullptr);
    };
    Measured("connect", begin, mLines, *mSurroundings).end("result", [&](JsonFields& fields) {
        fields.add("library", &origin.library);
        fields.add("host", &origin.host);
        fields.add("directory", &origin.directory);
        addVariable(fields, "CLEARCASE_ROOT", origin.viewRoot);
        addVariable(fields, "NBCLEARCASE_FAKE_INI", origin.configuration);
    });
}

JournaledConnection::~JournaledConnection() {
    call(
        "disconnect", addNothing, [this] { mConnection.reset(); }, addNothing);
}

std::string JournaledConnection::getOutput() {
    return callForText("getOutput", &ClearCaseConnection::getOutput);
}

std::string JournaledConnection::getError() {
    return callForText("getError", &ClearCaseConnection::getError);
}

void JournaledConnection::clearMessages() {
    callPlainly("clearMessages", &ClearCaseConnection::clearMessages);
}

int JournaledConnection::getElementStatus(const char* path, std::string* version,
                                          std::string* target) {
    const auto addTexts = [&](JsonFields& fields) {
        fields.add("version", version);
        fields.add("target", target);
    };
    return call(
        "getElementStatus",
        [&](JsonFields& fields) {
            fields.add("path", path);
            addTexts(fields);
        },
        [&] { return mConnection->getElementStatus(path, version, target); },
        [&](JsonFields& fields, int type) {
            fields.add("type", type);
            addTexts(fields);
        });
}

std::string JournaledConnection::canonicalizeViewPath(const std::string& cwd,
                                                      const std::string& path,
                                                      const std::vector<std::string>& vobTags) {
    return call(
        "canonicalizeViewPath",
        [&](JsonFields& fields) {
            fields.add("cwd", &cwd);
            fields.add("path", &path);
            fields.add("vobTags", vobTags);
        },
        [&] { return mConnection->canonicalizeViewPath(cwd, path, vobTags); },
        [](JsonFields& fields, const std::string& text) { fields.add("text", &text); });
}

std::string JournaledConnection::getViewTag() {
    return callForText("getViewTag", &ClearCaseConnection::getViewTag);
}

void JournaledConnection::probeVobs(const std::string& root, std::vector<VobRecord>& results) {
    const auto addResults = [&](JsonFields& fields) { fields.add("results", results); };
    call(
        "probeVobs",
        [&](JsonFields& fields) {
            fields.add("root", &root);
            addResults(fields);
        },
        [&] { mConnection->probeVobs(root, results); }, addResults);
}

void JournaledConnection::getProductInfo(const void* unused,
                                         std::map<std::string, std::string>& info) {
    const auto addInfo = [&](JsonFields& fields) { fields.add("info", info); };
    call(
        "getProductInfo", addInfo, [&] { mConnection->getProductInfo(unused, info); }, addInfo);
}

std::string JournaledConnection::getMvfsDrives(std::map<std::string, std::string>& drives) {
    const auto addDrives = [&](JsonFields& fields) { fields.add("drives", drives); };
    return call(
        "getMvfsDrives", addDrives, [&] { return mConnection->getMvfsDrives(drives); },
        [&](JsonFields& fields, const std::string& text) {
            fields.add("text", &text);
            addDrives(fields);
        });
}

void JournaledConnection::startSession() {
    callPlainly("startSession", &ClearCaseConnection::startSession);
}

bool JournaledConnection::isReady() {
    return call(
        "isReady", addNothing, [this] { return mConnection->isReady(); },
        [](JsonFields& fields, bool ready) { fields.add("ready", ready); });
}

void JournaledConnection::killConnection() {
    callPlainly("killConnection", &ClearCaseConnection::killConnection);
}

}  // namespace journal
