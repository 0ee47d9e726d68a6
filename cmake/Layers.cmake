# The compiler options of all our own code, and the functions that define a layer and its tests.

# What our headers need wherever they are included, and so in the projects of users too. Whoever uses a
# package has the folders of the package, and its own Boost: see cmake/package/nbclearcase_fake-config.cmake.in.
add_library(nbcc_usage INTERFACE)
target_include_directories(nbcc_usage INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
target_compile_features(nbcc_usage INTERFACE cxx_std_20)
target_link_libraries(nbcc_usage INTERFACE $<BUILD_INTERFACE:nbcc_host_headers>)
if(WIN32)
    target_compile_definitions(nbcc_usage INTERFACE WIN32_LEAN_AND_MEAN NOMINMAX)
endif()

add_library(nbcc_options INTERFACE)
target_link_libraries(nbcc_options INTERFACE nbcc_usage)
# Assertions and reports name files from the root of the tree, on every machine.
target_compile_options(nbcc_options INTERFACE -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
if(PROJECT_IS_TOP_LEVEL)
    # A parent project has its own.
    target_compile_options(nbcc_options INTERFACE
        -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Wold-style-cast
        -Wcast-qual
        # Which lock guards what; the words for it are in util/threadannotations.h.
        $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
endif()
find_package(Threads REQUIRED)
if(WIN32)
    # The code uses only the declarations of Windows 7.
    target_compile_definitions(nbcc_options INTERFACE _WIN32_WINNT=0x0601)
    target_compile_options(nbcc_options INTERFACE -ffunction-sections -fdata-sections)
    # Programs and DLLs need only the DLLs of the system.
    set(nbcc_link_options -static -Wl,--gc-sections)
    if(PROJECT_IS_TOP_LEVEL)
        target_link_options(nbcc_options INTERFACE ${nbcc_link_options})
    endif()
endif()
if(NBCC_SANITIZE)
    add_compile_options(-fsanitize=${NBCC_SANITIZE} -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${NBCC_SANITIZE})
endif()
if(NBCC_FUZZERS)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(NBCC_PACKAGE)
    # Names in the symbols begin at the root of the tree. Of two prefixes that fit, the last one counts.
    # Where variables are in optimised code depends, with GCC, on the folder of the build.
    add_compile_options(-g -fno-var-tracking
        -fdebug-prefix-map=${PROJECT_SOURCE_DIR}/= -fdebug-prefix-map=${PROJECT_BINARY_DIR}=.)
endif()
if(NBCC_COVERAGE)
    # Tests are instrumented too, because they may have the only copy of an inline function.
    add_compile_options(--coverage -fprofile-abs-path -fprofile-update=prefer-atomic)
    add_link_options(--coverage)
    if(NBCC_SANITIZE)
        # Static, as with clang: tests use the C library's functions in place of the sanitizer's.
        add_link_options(-static-libasan)
        # This check adds branches where temporaries end.
        add_compile_options(-fno-sanitize-address-use-after-scope)
    endif()
    add_library(keepcounters OBJECT testing/coverage/keepcounters.cpp)
    set_target_properties(keepcounters PROPERTIES CXX_STANDARD 20)
    # An exported target has none of it.
    link_libraries($<BUILD_INTERFACE:keepcounters>)
    add_link_options(-Wl,--wrap=_exit -Wl,--wrap=_Exit -Wl,--wrap=abort)
endif()
# GoogleTest, with the same sanitizers and for the same system, and so from its sources.
if(PROJECT_IS_TOP_LEVEL AND NOT NBCC_FUZZERS)
    find_path(NBCC_GOOGLETEST googletest/CMakeLists.txt PATHS /usr/src/googletest
        NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
    if(NOT NBCC_GOOGLETEST)
        message(FATAL_ERROR "the sources of GoogleTest are missing: run scripts/install-dependencies")
    endif()
    set(INSTALL_GTEST OFF)
    set(BUILD_GMOCK OFF)
    add_subdirectory(${NBCC_GOOGLETEST} googletest EXCLUDE_FROM_ALL)
    target_compile_options(gtest PRIVATE -O0)
    set_target_properties(gtest gtest_main PROPERTIES COMPILE_WARNING_AS_ERROR OFF)
endif()

# The definitions for tests and for the code under test.
add_library(nbcc_checked_options INTERFACE)
target_compile_definitions(nbcc_checked_options INTERFACE _GLIBCXX_ASSERTIONS)

# Common headers are precompiled for each way of compiling: the product, its checked variant, the tests
# and the benchmarks; the first two also without the headers of Windows. `make lint` compiles without
# them, and so finds sources that lack an include.
function(nbcc_precompiled_headers name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LINK;OPTIONS;HEADERS")
    set(source ${PROJECT_BINARY_DIR}/precompiled/${name}.cpp)
    file(CONFIGURE OUTPUT ${source} CONTENT "")
    add_library(${name} OBJECT EXCLUDE_FROM_ALL ${source})
    target_link_libraries(${name} PRIVATE nbcc_options ${arg_LINK})
    target_compile_options(${name} PRIVATE ${arg_OPTIONS})
    target_precompile_headers(${name} PRIVATE ${arg_HEADERS})
endfunction()
set(common_headers <algorithm> <array> <atomic> <cstdint> <cstring> <exception> <functional> <map>
    <memory> <optional> <sstream> <stdexcept> <string> <string_view> <utility> <vector>)
if(WIN32)
    if(NOT NBCC_COVERAGE)
        # The code under test runs only briefly; the product is compiled with all optimisations.
        set(checked_optimisation -O1)
    endif()
    nbcc_precompiled_headers(nbcc_portable_headers HEADERS ${common_headers})
    nbcc_precompiled_headers(nbcc_portable_checked_headers LINK nbcc_checked_options OPTIONS ${checked_optimisation}
        HEADERS ${common_headers})
    list(APPEND common_headers <winsock2.h> <windows.h> <aclapi.h> <sddl.h>)
endif()
nbcc_precompiled_headers(nbcc_product_headers HEADERS ${common_headers})
nbcc_precompiled_headers(nbcc_checked_headers LINK nbcc_checked_options OPTIONS ${checked_optimisation}
    HEADERS ${common_headers})
if(TARGET gtest)
    nbcc_precompiled_headers(nbcc_test_headers LINK nbcc_checked_options gtest OPTIONS -O0
        HEADERS ${common_headers} <chrono> <filesystem> <fstream> <iostream> <random> <set> <thread>
            <gtest/gtest.h>)
    nbcc_precompiled_headers(nbcc_bench_headers LINK gtest HEADERS ${common_headers} <gtest/gtest.h>)
endif()

# nbcc_public_headers(TARGET [HEADERS...]): the headers of this folder as they are for its users, and
# other headers. Each must compile alone, which the target all_verify_interface_header_sets shows, and
# with it `make lint`.
function(nbcc_public_headers target)
    nbcc_layer_glob(headers *.h)
    list(APPEND headers ${ARGN})
    list(REMOVE_DUPLICATES headers)
    if(NOT WIN32)
        list(FILTER headers EXCLUDE REGEX "-win\\.h$")
    endif()
    target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${headers})
    set_target_properties(${target} PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)
endfunction()

# nbcc_layer(NAME SOURCES... [PORTABLE] [ALIAS ALIAS] [LINK LIBRARIES...]): the static library nbcc_NAME,
# and its twin nbcc_NAME_checked that tests link, with the checks of the standard library. Others link
# them as nbclearcase::ALIAS and nbclearcase::ALIAS_checked; the default of ALIAS is NAME. LINK names
# layers below (which get their twin) and other libraries. The precompiled headers of a PORTABLE layer
# contain no Windows header.
function(nbcc_layer name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "PORTABLE" "ALIAS" "LINK")
    if(NOT arg_ALIAS)
        set(arg_ALIAS ${name})
    endif()
    # Our tests and programs get the options through the layers; a parent project has its own.
    set(options_for PRIVATE)
    if(PROJECT_IS_TOP_LEVEL)
        set(options_for PUBLIC)
    endif()
    foreach(suffix "" "_checked")
        set(target nbcc_${name}${suffix})
        add_library(${target} STATIC EXCLUDE_FROM_ALL ${arg_UNPARSED_ARGUMENTS})
        add_library(nbclearcase::${arg_ALIAS}${suffix} ALIAS ${target})
        target_link_libraries(${target} PUBLIC nbcc_usage Threads::Threads
            ${options_for} $<BUILD_INTERFACE:nbcc_options>)
        foreach(library ${arg_LINK})
            if(TARGET nbcc_${library})
                set(library nbcc_${library}${suffix})
            endif()
            target_link_libraries(${target} PUBLIC ${library})
        endforeach()
    endforeach()
    set(target nbcc_${name})
    nbcc_public_headers(${target})
    target_link_libraries(${target}_checked PUBLIC nbcc_checked_options)
    target_compile_options(${target}_checked PRIVATE ${checked_optimisation})
    if(WIN32 AND arg_PORTABLE)
        target_precompile_headers(${target} REUSE_FROM nbcc_portable_headers)
        target_precompile_headers(${target}_checked REUSE_FROM nbcc_portable_checked_headers)
    else()
        target_precompile_headers(${target} REUSE_FROM nbcc_product_headers)
        target_precompile_headers(${target}_checked REUSE_FROM nbcc_checked_headers)
    endif()
endfunction()

# nbcc_layer_glob(OUT PATTERN): the matching files in this folder, and in its subfolders that have no
# CMakeLists.txt.
function(nbcc_layer_glob out pattern)
    file(GLOB found CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${pattern}
        ${CMAKE_CURRENT_SOURCE_DIR}/*/${pattern})
    set(own "")
    foreach(file ${found})
        cmake_path(GET file PARENT_PATH folder)
        if(folder STREQUAL CMAKE_CURRENT_SOURCE_DIR OR NOT EXISTS ${folder}/CMakeLists.txt)
            list(APPEND own ${file})
        endif()
    endforeach()
    set(${out} ${own} PARENT_SCOPE)
endfunction()

# nbcc_layer_sources(OUT): the sources of a layer, without tests, benchmarks and files whose suffix names
# the other platform.
function(nbcc_layer_sources out)
    nbcc_layer_glob(sources *.cpp)
    list(FILTER sources EXCLUDE REGEX "_(test|bench)\\.cpp$")
    if(WIN32)
        list(FILTER sources EXCLUDE REGEX "-linux\\.cpp$")
    else()
        list(FILTER sources EXCLUDE REGEX "-win\\.cpp$")
    endif()
    set(${out} ${sources} PARENT_SCOPE)
endfunction()

# nbcc_layer_tests(OUT): the tests in the same folders.
function(nbcc_layer_tests out)
    nbcc_layer_glob(tests *_test.cpp)
    if(WIN32)
        list(FILTER tests EXCLUDE REGEX "-linux_test\\.cpp$")
    else()
        list(FILTER tests EXCLUDE REGEX "-win_test\\.cpp$")
    endif()
    set(${out} ${tests} PARENT_SCOPE)
endfunction()

# nbcc_register_test(NAME): for ctest, with the folder's name as label. Tests that take long have Soak in
# their name and run in the configuration of that name only.
function(nbcc_register_test name)
    cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY ${PROJECT_SOURCE_DIR}
        OUTPUT_VARIABLE folder)
    set(command ${name} --gtest_death_test_style=threadsafe)
    add_test(NAME ${name} COMMAND ${command} --gtest_filter=-*Soak*
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
    add_test(NAME ${name}_soak CONFIGURATIONS Soak COMMAND ${command} --gtest_filter=*Soak*
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
    set_tests_properties(${name} PROPERTIES LABELS ${folder} TIMEOUT 1200)
    set_tests_properties(${name}_soak PROPERTIES LABELS soak TIMEOUT 7200)
    if(WIN32)
        # They share a registry and a console.
        set_tests_properties(${name} ${name}_soak PROPERTIES RESOURCE_LOCK windows)
    endif()
endfunction()

# nbcc_layer_test(NAME LAYERS...): the test program of this folder, over the checked layers.
function(nbcc_layer_test name)
    nbcc_layer_tests(sources)
    add_executable(${name} ${sources})
    target_link_libraries(${name} PRIVATE testing GTest::gtest_main)
    # Tests are compiled often and run once.
    target_compile_options(${name} PRIVATE -O0)
    target_precompile_headers(${name} REUSE_FROM nbcc_test_headers)
    foreach(library ${ARGN})
        target_link_libraries(${name} PRIVATE nbcc_${library}_checked)
    endforeach()
    nbcc_register_test(${name})
endfunction()
