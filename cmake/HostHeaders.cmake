# Header-only libraries come from the packages of the machine that builds. A cross compiler must not
# see the folder that they are in, as the headers of this machine's C library are there as well. So
# each library's own folder is linked into a folder of the build.
set(HOST_HEADERS ${PROJECT_BINARY_DIR}/host-headers)
file(MAKE_DIRECTORY ${HOST_HEADERS})
add_library(host_headers INTERFACE)
target_include_directories(host_headers SYSTEM INTERFACE ${HOST_HEADERS})

# Where Debian has the CMake packages of libraries of one architecture; a cross build doesn't look there.
file(GLOB package_folders /usr/lib/*-linux-gnu/cmake)

# host_header(FOLDER PACKAGE TARGET [VERSION]): what TARGET of PACKAGE offers as `#include <FOLDER/...>`.
function(host_header folder package target)
    find_package(${package} ${ARGN} CONFIG QUIET HINTS ${package_folders} /usr NO_CMAKE_FIND_ROOT_PATH)
    if(NOT TARGET ${target})
        message(FATAL_ERROR "the package ${package} ${ARGN} is missing: run scripts/install-dependencies")
    endif()
    get_target_property(includes ${target} INTERFACE_INCLUDE_DIRECTORIES)
    find_path(NBCC_${package}_HEADERS ${folder} PATHS ${includes} NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    file(CREATE_LINK ${NBCC_${package}_HEADERS}/${folder} ${HOST_HEADERS}/${folder} SYMBOLIC)
endfunction()
host_header(boost boost_headers Boost::headers 1.81)
host_header(CLI CLI11 CLI11::CLI11)
host_header(nlohmann nlohmann_json nlohmann_json::nlohmann_json)
