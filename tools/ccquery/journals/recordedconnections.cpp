#include "tools/ccquery/journals/recordedconnections.h"

namespace ccquery {
namespace {

void clearMessages(ClearCaseConnection& connection) {
    try {
        connection.clearMessages();
    } catch (...) {
        // It was compared where the journal asks it.
    }
}

}  // namespace

void RecordedConnections::setViewRoot(const std::optional<std::string>& value) {
    if (!mViewRoot || *mViewRoot != value) {
        mSetViewRoot(value);
        mViewRoot = value;
    }
}

void RecordedConnections::drop(Recorded& recorded) {
    if (recorded.connection != nullptr) {
        mUsed.erase(recorded.use);
        recorded.connection.reset();
    }
}

void RecordedConnections::begin(const JournalLine& line) {
    end(line);
    mRecorded[{line.process, line.connection}].viewRoot = line.result.viewRoot;
    static_cast<void>(of(line));
}

void RecordedConnections::end(const JournalLine& line) {
    const auto found = mRecorded.find({line.process, line.connection});
    if (found != mRecorded.end()) {
        setViewRoot(found->second.viewRoot);
        drop(found->second);
        mRecorded.erase(found);
    }
}

ClearCaseConnection& RecordedConnections::of(const JournalLine& line) {
    const Number number(line.process, line.connection);
    Recorded& recorded = mRecorded[number];
    setViewRoot(recorded.viewRoot);
    if (recorded.connection != nullptr) {
        mUsed.splice(mUsed.begin(), mUsed, recorded.use);
    } else {
        if (mUsed.size() == limit) {
            drop(mRecorded.at(mUsed.back()));
        }
        recorded.connection = mConnect();
        recorded.use = mUsed.insert(mUsed.begin(), number);
        if (recorded.isCleared) {
            clearMessages(*recorded.connection);
        }
    }
    recorded.isCleared = recorded.isCleared || line.operation == Operation::clearMessages;
    return *recorded.connection;
}

}  // namespace ccquery
