// Examples of docs/utility.md: trees of folders.

#include <algorithm>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/folderexample-win.h"
#include "util/pathcollation.h"
#include "util/pathfun.h"
#include "util/windows/system-win.h"

namespace {

using TreeExampleTest = testing_support::FolderExampleTest;

TEST_F(TreeExampleTest, MakeAndRemoveATree) {
    System::makePath("build/objects/debug", /*created=*/nullptr);
    std::string message;
    if (!System::removeTree("build", message, /*keepRoot=*/false, /*closeSystemHandles=*/false,
                            /*waitUntilGone=*/true)) {
        throw std::runtime_error(message);
    }
    std::cout << System::exists("build") << '\n';
}

TEST_F(TreeExampleTest, ListAFolder) {
    std::vector<std::string> names;
    if (System::listDirectory(System::getcwd(), names, /*stats=*/nullptr)) {
        std::sort(names.begin(), names.end(), StringNoCaseLess());
        for (const std::string& name : names) {
            if (!isDotName(name)) {
                std::cout << name << '\n';
            }
        }
    }
}

TEST_F(TreeExampleTest, VisitTheFilesOfATree) {
    class Printer : public System::TreeVisitor {
        void visitFile(const std::string& directory, const std::string& leaf,
                       const FileStat& stat) override {
            std::cout << joinPath(directory, leaf, '/') << ' ' << stat.size << '\n';
        }
    };
    System::makePath("tree/inner", nullptr);
    std::string message;
    if (System::copy("notes.txt", "tree/inner/a.txt", message)) {
        Printer printer;
        std::cout << System::walkTree("tree", printer, /*recurse=*/true) << ' '
                  << System::treeSize("tree") << '\n';
    }
}

}  // namespace
