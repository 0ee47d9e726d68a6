#pragma once

// All of `System`: what the rest of the code base asks Windows about files and the machine. Each
// header documents its part:
//
//     system-paths-win.h        the form of a path for Windows, and the current directory
//     system/files-win.h        files and directories, with a call or two
//     system/trees-win.h        whole files, chains of directories, whole trees
//     system/volumes-win.h      the volume that a path is on
//     system/host-win.h         the machine, the program, the environment and the registry
//     exec/programsearch-win.h  which files are programs
//
// A source that needs only one part includes only that header.

#include "util/windows/exec/programsearch-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/files-win.h"
#include "util/windows/system/host-win.h"
#include "util/windows/system/trees-win.h"
#include "util/windows/system/volumes-win.h"
