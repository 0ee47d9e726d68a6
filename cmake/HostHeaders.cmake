# Header-only libraries come from the packages of the machine that builds. A cross compiler must not
# see the folder that they are in, as the headers of this machine's C library are there as well. So
# each library's own folder is linked into a folder of the build.
set(HOST_HEADERS ${PROJECT_BINARY_DIR}/host-headers)
file(MAKE_DIRECTORY ${HOST_HEADERS})
add_library(nbcc_host_headers INTERFACE)
target_include_directories(nbcc_host_headers SYSTEM INTERFACE ${HOST_HEADERS})

# Where Debian has the CMake packages of libraries of one architecture; a cross build doesn't look there.
file(GLOB package_folders /usr/lib/*-linux-gnu/cmake)

# nbcc_host_header(FOLDER PACKAGE TARGET [VERSION]): what TARGET of PACKAGE offers as `#include <FOLDER/...>`.
function(nbcc_host_header folder package target)
    set(known ${${package}_DIR})
    find_package(${package} ${ARGN} CONFIG QUIET HINTS ${package_folders} /usr NO_CMAKE_FIND_ROOT_PATH)
    if(NOT TARGET ${target})
        set(advice "run scripts/install-dependencies")
        if(NOT PROJECT_IS_TOP_LEVEL)
            string(CONCAT advice "install it (on Debian 12 libboost1.81-dev, on newer ones libboost-dev), or "
                "name its folder by CMAKE_PREFIX_PATH")
        endif()
        message(FATAL_ERROR "nbclearcase_fake needs the package ${package} ${ARGN}, which is missing: ${advice}")
    endif()
    get_target_property(includes ${target} INTERFACE_INCLUDE_DIRECTORIES)
    find_path(NBCC_${package}_HEADERS ${folder} PATHS ${includes} NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    file(CREATE_LINK ${NBCC_${package}_HEADERS}/${folder} ${HOST_HEADERS}/${folder} SYMBOLIC)
    if(NOT known)
        # Otherwise a parent project would find this package, which is for the machine that builds.
        unset(${package}_DIR CACHE)
    endif()
endfunction()
nbcc_host_header(boost boost_headers Boost::headers 1.81)
if(PROJECT_IS_TOP_LEVEL)
    # Only the tools use them.
    nbcc_host_header(CLI CLI11 CLI11::CLI11)
    nbcc_host_header(nlohmann nlohmann_json nlohmann_json::nlohmann_json)
endif()
