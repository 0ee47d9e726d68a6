#pragma once

#include "testing/pageexamples.h"
#include "testing/scopes/currentdirectory-win.h"
#include "testing/scopes/tempfolder.h"

namespace testing_support {

/// An example that works with files: it runs in the folder that docs/utility.md describes.
class FolderExampleTest : public UtilityExampleTest {
protected:
    FolderExampleTest() {
        mFolder.write("notes.txt", "hello\n");
        mFolder.write("oem.txt", "Gr\x81n\n");  // in code page 850
    }

private:
    TempFolder mFolder;
    const CurrentDirectory mInside{mFolder.path()};
};

}  // namespace testing_support
