#include <fstream>
#include <iostream>
#include <istream>
#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

#include "clearcase/configuration.h"
#include "clearcase/configurationsource-win.h"
#include "clearcase/elementstatus.h"
#include "clearcase/fakeanswers.h"
#include "clearcase/fakeclearcase.h"
#include "clearcase/mvfsdrives-win.h"
#include "clearcase/viewpaths.h"
#include "clearcase/vobprobe-win.h"
#include "util/pathfun.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/environment-win.h"
#include "util/windows/system/filestat-win.h"

FakeClearCase::FakeClearCase(const void* /*unused*/) {
    const std::string name = configurationFile();
    const std::string prefix = viewRootPrefix();

    std::vector<char> buffer(65536);
    std::filebuf file;
    file.pubsetbuf(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    // Opened as text, which Ctrl+Z ends. Others may read and write the file at the same time.
    if (file.open(toWide(name).c_str(), std::ios::in) == nullptr) {
        return;
    }
    std::istream input(&file);
    Configuration configuration;
    readConfiguration(input, prefix, configuration, mError);
    mVobs.swap(configuration.vobs);
    mElements.swap(configuration.elements);
    mElementIndex = std::move(configuration.index);
}

std::string FakeClearCase::getOutput() { return mOutput.str(); }

std::string FakeClearCase::getError() { return mError.str(); }

void FakeClearCase::clearMessages() {
    mOutput.str("");
    mError.str("");
}

int FakeClearCase::getElementStatus(const char* path, std::string* version, std::string* target) {
    if (const auto status = configuredStatus(mElementIndex, path, version, target)) {
        return *status;
    }
    FileStat stat;
    if (!stat.read(path, /*unused=*/0)) {
        return elementViewPrivate;
    }
    return statusOfFile(stat.isDirectory(), !stat.isWritable());
}

std::string FakeClearCase::canonicalizeViewPath(const std::string& cwd, const std::string& path,
                                                const std::vector<std::string>& vobTags) {
    // Made by the first call, and never freed.
    static auto& viewRootCache = *new RootCache;
    return ::canonicalizeViewPath({mvfsRoot, viewDrives, viewDriveLetters}, viewRootCache, cwd,
                                  path, vobTags, std::cerr);
}

std::string FakeClearCase::getViewTag() {
    return leafName(environmentVariable("CLEARCASE_ROOT").value_or(""));
}

void FakeClearCase::probeVobs(const std::string& root, std::vector<VobRecord>& results) {
    ::probeVobs(mVobs, root, results);
}

void FakeClearCase::getProductInfo(const void* /*unused*/,
                                   std::map<std::string, std::string>& info) {
    info["product"] = fakeanswers::product;
    info["version"] = fakeanswers::version;
    info["osname"] = fakeanswers::osname;
}

std::string FakeClearCase::getMvfsDrives(std::map<std::string, std::string>& drives) {
    if (&drives != &viewDrives) {
        drives = viewDrives;
    }
    return mvfsRoot;
}

void FakeClearCase::startSession() { throw std::runtime_error(fakeanswers::noSessions); }

bool FakeClearCase::isReady() { return true; }

void FakeClearCase::killConnection() { throw std::runtime_error(fakeanswers::noConnection); }
