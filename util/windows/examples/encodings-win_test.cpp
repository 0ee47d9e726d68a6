// Examples of docs/utility.md: UTF-16 and code pages.

#include <cstdio>
#include <iostream>
#include <istream>
#include <string>

#include <gtest/gtest.h>

#include "testing/folderexample-win.h"
#include "testing/pageexamples.h"
#include "util/escapedoutput.h"
#include "util/platform/unicodetext-win.h"
#include "util/windows/system/files-win.h"
#include "util/windows/utf8stream-win.h"

namespace {

using EncodingExampleTest = testing_support::UtilityExampleTest;
using EncodingFileExampleTest = testing_support::FolderExampleTest;

TEST_F(EncodingExampleTest, ConvertUtf8AndUtf16) {
    const std::wstring wide = toWide("M\u00fcller");
    std::cout << wide.size() << ' ' << toUtf8(wide).size() << ' ' << (toUtf8(wide) == "M\u00fcller")
              << '\n';
}

TEST_F(EncodingFileExampleTest, ReadTextOfACodePage) {
    if (std::FILE* const file = System::openFile("oem.txt", "rb")) {
        utf8istream text(file, /*codePage=*/850, /*lenient=*/true);
        std::string line;
        while (std::getline(text, line)) {
            std::cout << escapeUtf8(line) << '\n';
        }
    }
}

}  // namespace
