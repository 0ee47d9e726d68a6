#pragma once

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "clearcase/clearcaseconnection.h"
#include "clearcase/configuration.h"
#include "clearcase/elementstatus.h"
#include "clearcase/fakeanswers.h"
#include "clearcase/probedfolder.h"
#include "clearcase/viewpaths.h"
#include "util/pathfun.h"

namespace testing_support {

/// What a PortableFake finds around it.
struct FakeWorld {
    enum class File { folder, readOnly, writable };

    std::optional<std::string> viewRoot = {};  ///< CLEARCASE_ROOT
    std::map<std::string, File> disk = {};     ///< by element key
    std::set<std::string> writableFolders = {};
    std::string mvfsRoot = {};
    std::map<std::string, std::string> views = {};
};

/// Answers as a FakeClearCase does, with values in place of the system. Made of the functions of
/// the library that are portable.
class PortableFake : public ClearCaseConnection {
public:
    /// `configuration` is the content of the file. No path in it is relative. `world` must outlive
    /// the object.
    PortableFake(const std::string& configuration, const FakeWorld& world) : mWorld(world) {
        std::istringstream input(asText(configuration));
        std::ostringstream errors;
        readConfiguration(input, world.viewRoot.value_or(""), mConfiguration, errors);
        mError = errors.str();
    }

    /// Returns what Windows reads of a file that is opened as text.
    static std::string asText(const std::string& bytes) {
        std::string text = bytes.substr(0, bytes.find('\x1a'));
        for (size_t at = text.find("\r\n"); at != std::string::npos; at = text.find("\r\n", at)) {
            text.erase(at, 1);
        }
        return text;
    }

    std::string getOutput() override { return {}; }
    std::string getError() override { return mError; }
    void clearMessages() override { mError.clear(); }

    int getElementStatus(const char* path, std::string* version, std::string* target) override {
        if (const auto status = configuredStatus(mConfiguration.index, path, version, target)) {
            return *status;
        }
        const auto found = mWorld.disk.find(elementKey(path));
        return found == mWorld.disk.end()
                   ? elementViewPrivate
                   : statusOfFile(found->second == FakeWorld::File::folder,
                                  found->second == FakeWorld::File::readOnly);
    }

    std::string canonicalizeViewPath(const std::string& cwd, const std::string& path,
                                     const std::vector<std::string>& vobTags) override {
        std::ostringstream errors;
        return ::canonicalizeViewPath({mWorld.mvfsRoot, mWorld.views}, mCache, cwd, path, vobTags,
                                      errors);
    }

    std::string getViewTag() override { return leafName(mWorld.viewRoot.value_or("")); }

    void probeVobs(const std::string& root, std::vector<VobRecord>& results) override {
        for (const VobRecord& vob : mConfiguration.vobs) {
            const std::string folder = probedFolder(root, vob.tag);
            const bool isWritable = mWorld.writableFolders.count(folder) != 0;
            results.push_back({folder, isWritable ? vobWritable : vobNotDetermined});
        }
    }

    void getProductInfo(const void* /*unused*/, std::map<std::string, std::string>& info) override {
        info["product"] = fakeanswers::product;
        info["version"] = fakeanswers::version;
        info["osname"] = fakeanswers::osname;
    }

    std::string getMvfsDrives(std::map<std::string, std::string>& drives) override {
        drives = mWorld.views;
        return mWorld.mvfsRoot;
    }

    void startSession() override { throw std::runtime_error(fakeanswers::noSessions); }
    bool isReady() override { return true; }
    void killConnection() override { throw std::runtime_error(fakeanswers::noConnection); }

private:
    const FakeWorld& mWorld;
    Configuration mConfiguration;
    std::string mError;
    RootCache mCache;
};

}  // namespace testing_support
