#pragma once

#include <filesystem>
#include <string>

#include "testing/processes/childprocess-win.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"

namespace testing_support {

/// A small POSIX world until the scope ends: a folder that is its "/", and the programs cygpath,
/// readlink and ln, which work on links in that folder. The search path contains only these
/// programs. See testing/children/posixnames-win.h. The world has the folders /bin and /tools/bin.
/// Wine starts programs of its host if they are called by POSIX names, so commands with POSIX names
/// are in /tools/bin. At most one object at a time.
class [[nodiscard]] PosixWorld {
public:
    /// The world's folder is in `folder`, which must outlive the world.
    explicit PosixWorld(const TempFolder& folder) : mFolder(folder) {
        for (const char* name : {"bin", "tools/bin"}) {
            create_directories(mRoot / name);
        }
    }

    /// Returns the folder of those programs.
    static std::filesystem::path tools() { return testProgramFolder() / "posixtools"; }

    const std::filesystem::path& root() const { return mRoot; }
    /// Returns the Windows name, with slashes, of a POSIX name (UTF-8) that begins with a slash.
    std::string native(const std::string& name) const { return mFolder.utf8(rootFolder) + name; }
    /// Writes a file and returns its Windows name. Its folder must exist.
    std::string write(const std::string& name, const std::string& content = {}) const {
        return mFolder.write(rootFolder + name, content);
    }
    /// Creates a link and returns its Windows name (".lnk" is appended to the name of its file).
    std::string link(const std::string& name, const std::string& target) const {
        write(name + ".lnk", "!<symlink>" + target);
        return native(name);
    }
    /// Creates a copy of one of the tools and returns its Windows name.
    std::string program(const std::string& name, const char* tool = "interpreter.exe") const {
        std::string file = native(name);
        copy_file(tools() / tool, std::u8string(file.begin(), file.end()));
        return file;
    }

private:
    static inline const std::string rootFolder = "posixroot";

    const TempFolder& mFolder;
    std::filesystem::path mRoot = mFolder.path() / rootFolder;
    EnvironmentScope mRootVariable{"NBCC_POSIX_ROOT", mRoot.string()};
    EnvironmentScope mPath{"PATH", tools().string()};
};

}  // namespace testing_support
