#include <string>
#include <vector>

#include "testing/benchmark/comparison.h"
#include "util/normalform.h"
#include "util/pathfun.h"

namespace {

using benchmark::onWindows;
using Paths = std::vector<std::string>;

const Paths tidyPaths = {
    R"(C:\Users\build\src\main\driver.cpp)",
    R"(M:\main_view\vobs\platform\include\platform\config.h)",
    R"(X:\vobs\tools\bin\make.exe)",
    R"(D:\a)",
    R"(C:\Program Files\Common Files\System\Ole DB\oledb32.dll)",
    R"(C:/build/out/obj/win64/release/util/pathfun.obj)",
    R"(E:\build\nightly\2026\11\21\logs\compile.log)",
    R"(M:\dev_jk_2\vobs\gui\src\widgets\treeview\treeviewmodel.cpp)",
    R"(Z:/vob1/component/subcomponent/module/file.c)",
    R"(C:\src\project\.git\objects\pack)",
    R"(C:\src\third_party\zlib\contrib\minizip\ioapi.c)",
    R"(Y:\vobs\docs\guide\chapter_01\figures\overview.png)",
};
const Paths sharePaths = {
    R"(\\fileserver\projects\release\4.2\notes.txt)",
    R"(//fileserver/projects/release/4.3/notes.txt)",
    R"(\\build07\nightly$\win64\release\bin\make.exe)",
    R"(\\srv\sh)",
};
const Paths untidyPaths = {
    R"(M:/main_view/vobs/platform/lib/../include/version.h)",
    R"(x:/vobs/tools/./bin/make.exe)",
    R"(C:\build\out\obj\win64\release\util\windows\..\pathfun.obj)",
    R"(M:\dev_jk_2\vobs\gui\src\widgets\treeview\..\..\..\inc\gui.h)",
    R"(C:\temp\)",
    R"(C:/src//double/slashes///in/this/one.txt)",
    R"(//fileserver/projects/release/4.2/../4.3/notes.txt)",
    R"(C:\src\project\)",
};

void compareWithCopy(const char* operation, const Paths& paths, double limit) {
    benchmark::compare(
        {operation, "copy into a std::string", limit},
        [&] {
            size_t size = 0;
            for (const std::string& path : paths) {
                size += normalizePath(path).size();
            }
            return size;
        },
        [&] {
            size_t size = 0;
            for (const std::string& path : paths) {
                size += std::string(path).size();
            }
            return size;
        });
}

TEST(Benchmark, NormalizePath) {
    compareWithCopy("normalizePath, tidy paths", tidyPaths, onWindows ? 1.3 : 1.9);
    compareWithCopy("normalizePath, shares", sharePaths, onWindows ? 1.6 : 2.7);
    compareWithCopy("normalizePath, untidy paths", untidyPaths, onWindows ? 2.1 : 4.2);
}

}  // namespace
