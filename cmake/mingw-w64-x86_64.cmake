# Debian's cross compiler for 64-bit Windows, with POSIX threads, as users of the package have it.
include(${CMAKE_CURRENT_LIST_DIR}/../examples/mingw-w64-x86_64.cmake)
# With the project's own Wine prefix.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine)
