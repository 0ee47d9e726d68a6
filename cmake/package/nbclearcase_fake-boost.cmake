# Sets nbclearcase_fake_boost to the folder with the project's headers of Boost, or
# nbclearcase_fake_problem to why there is none. The project decides by NBCLEARCASE_BOOST_INCLUDE_DIR, or
# by the target Boost::headers; otherwise the headers of the target system are looked for, and then those
# of the machine that builds. A cross compiler must not see the folder of the latter, as the headers of
# that machine's C library are there as well, so Boost's own folder is linked into one of the build.
set(nbclearcase_fake_problem "")
set(nbclearcase_fake_hints "")
set(nbclearcase_fake_is_given FALSE)
if(NBCLEARCASE_BOOST_INCLUDE_DIR)
    set(nbclearcase_fake_is_given TRUE)
endif()
if(TARGET Boost::headers)
    get_target_property(nbclearcase_fake_hints Boost::headers INTERFACE_INCLUDE_DIRECTORIES)
endif()
find_path(NBCLEARCASE_BOOST_INCLUDE_DIR boost/version.hpp
    HINTS ${nbclearcase_fake_hints} ${Boost_ROOT} $ENV{Boost_ROOT} PATH_SUFFIXES include
    DOC "The folder that has boost/version.hpp")
find_path(NBCLEARCASE_BOOST_INCLUDE_DIR boost/version.hpp
    HINTS ${nbclearcase_fake_hints} ${Boost_ROOT} $ENV{Boost_ROOT} PATH_SUFFIXES include
    PATHS /usr/local /usr NO_CMAKE_FIND_ROOT_PATH)
mark_as_advanced(NBCLEARCASE_BOOST_INCLUDE_DIR)
set(nbclearcase_fake_boost "${NBCLEARCASE_BOOST_INCLUDE_DIR}")
set(nbclearcase_fake_header "${nbclearcase_fake_boost}/boost/version.hpp")
if(NOT EXISTS "${nbclearcase_fake_header}")
    set(nbclearcase_fake_problem "they are missing")
    if(nbclearcase_fake_boost)
        set(nbclearcase_fake_problem "they aren't in ${nbclearcase_fake_boost}")
    endif()
    return()
endif()
file(STRINGS "${nbclearcase_fake_header}" nbclearcase_fake_version REGEX "#define BOOST_VERSION [0-9]+")
string(REGEX REPLACE ".*#define BOOST_VERSION ([0-9]+).*" "\\1" nbclearcase_fake_version
    "${nbclearcase_fake_version}")
if(nbclearcase_fake_version LESS 108100)
    set(nbclearcase_fake_problem "${nbclearcase_fake_header} is older (BOOST_VERSION ${nbclearcase_fake_version})")
    if(NOT nbclearcase_fake_is_given)
        # The next run looks again: there may be newer ones then.
        unset(NBCLEARCASE_BOOST_INCLUDE_DIR CACHE)
    endif()
    return()
endif()
if(CMAKE_CROSSCOMPILING AND EXISTS "${nbclearcase_fake_boost}/stdlib.h")
    set(nbclearcase_fake_links "${CMAKE_BINARY_DIR}/nbclearcase_fake-headers")
    file(MAKE_DIRECTORY "${nbclearcase_fake_links}")
    file(CREATE_LINK "${nbclearcase_fake_boost}/boost" "${nbclearcase_fake_links}/boost" SYMBOLIC)
    set(nbclearcase_fake_boost "${nbclearcase_fake_links}")
endif()
