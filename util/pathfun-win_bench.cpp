#include <filesystem>
#include <string>

#include "testing/benchmark/comparison.h"
#include "util/pathfun.h"

namespace {

using benchmark::compare;

const std::string samplePaths[] = {
    R"(C:\Users\build\src\main\driver.cpp)",
    R"(M:\main_view\vobs\platform\include\platform\config.h)",
    R"(M:/main_view/vobs/platform/lib/../include/version.h)",
    R"(X:\vobs\tools\bin\make.exe)",
    R"(x:/vobs/tools/./bin/make.exe)",
    R"(\\fileserver\projects\release\4.2\notes.txt)",
    R"(//fileserver/projects/release/4.2/../4.3/notes.txt)",
    R"(C:\)",
    R"(D:\a)",
    R"(C:\Program Files\Common Files\System\Ole DB\oledb32.dll)",
    R"(C:/build/out/obj/win64/release/util/pathfun.obj)",
    R"(C:\build\out\obj\win64\release\util\windows\..\pathfun.obj)",
    R"(E:\build\nightly\2026\11\21\logs\compile.log)",
    R"(M:\dev_jk_2\vobs\gui\src\widgets\treeview\treeviewmodel.cpp)",
    R"(M:\dev_jk_2\vobs\gui\src\widgets\treeview\..\..\..\inc\gui.h)",
    R"(Z:/vob1/component/subcomponent/module/file.c)",
    R"(C:\temp\)",
    R"(C:\src\third_party\zlib\contrib\minizip\ioapi.c)",
    R"(Y:\vobs\docs\guide\chapter_01\figures\overview.png)",
    R"(C:/src//double/slashes///in/this/one.txt)",
};

TEST(Benchmark, NormalizePathOfTwentyPaths) {
    const auto normalize = [] {
        size_t size = 0;
        for (const std::string& path : samplePaths) {
            size += normalizePath(path).size();
        }
        return size;
    };
    compare({"normalizePath, 20 paths", "path::lexically_normal", 1.0 / 15}, normalize, [] {
        size_t size = 0;
        for (const std::string& path : samplePaths) {
            size += std::filesystem::path(path).lexically_normal().native().size();
        }
        return size;
    });
}

}  // namespace
