// Examples of docs/utility.md: Cygwin, without a runtime.

#include <iostream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "testing/pageexamples.h"
#include "util/cygwinversion.h"
#include "util/pathfun.h"
#include "util/scriptline.h"

namespace {

using PosixTextExampleTest = testing_support::UtilityExampleTest;

TEST_F(PosixTextExampleTest, UseThePathsOfCygwin) {
    setCygwinPaths(true, "/cygdrive/");
    const std::string path = "/cygdrive/c/project/../a.c";
    PathRange root;
    std::cout << isAbsolutePath("/usr/bin", windowsPaths) << ' '
              << parsePathRoot(path, root, /*rootText=*/nullptr, windowsPaths) << ' '
              << path.substr(0, root.end) << '\n'
              << normalizePath(path) << '\n';
    setCygwinPaths(false, "");
}

TEST_F(PosixTextExampleTest, ReadTheVersionOfCygwin) {
    if (const auto version = cygwin::parse_release("1.7.35(0.287/5/3)")) {
        std::cout << version->release << ' ' << version->patch << ' '
                  << cygwin::version_text(*version) << '\n';
    }
}

TEST_F(PosixTextExampleTest, FindTheInterpreterOfAScript) {
    ScriptHead head = {};
    std::string_view("#!/bin/sh -e\n").copy(head.data(), head.size());
    const NameAndRest command = splitCommandLine("build.sh all");
    if (const auto interpreter = interpreterOf(head)) {
        std::cout << scriptLine(*interpreter, command.name, command.rest) << '\n';
    }
}

}  // namespace
