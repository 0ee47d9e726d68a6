#pragma once

// All of `System`: what the rest of the code base asks of Windows about files and about the machine
// that it runs on. Each header is the manual of its part:
//
//     system-paths-win.h        the form of a path that Windows takes, and the current directory
//     system/files-win.h        files and directories, by a call or two
//     system/trees-win.h        whole files, chains of directories, whole trees
//     system/volumes-win.h      what a path lies on
//     system/host-win.h         the machine, the program, the environment and the registry
//     exec/programsearch-win.h  which files are programs
//
// A source that needs one part includes that header alone.

#include "util/windows/exec/programsearch-win.h"
#include "util/windows/system-paths-win.h"
#include "util/windows/system/files-win.h"
#include "util/windows/system/host-win.h"
#include "util/windows/system/trees-win.h"
#include "util/windows/system/volumes-win.h"
