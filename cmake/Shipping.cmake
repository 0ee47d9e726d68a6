# The functions for programs and DLLs that users get.

# nbcc_ship(TARGET): links the target as it ships, and puts it into the package (see cmake/Package.cmake).
# The file has no time of its own, so that the same sources always make the same bytes. It has a build id,
# by which debuggers find its symbols, and no symbols: with NBCC_PACKAGE they are in a file of their own,
# and otherwise nowhere.
function(nbcc_ship target)
    if(NOT PROJECT_IS_TOP_LEVEL)
        target_link_options(${target} PRIVATE -s)
        return()
    endif()
    set_property(GLOBAL APPEND PROPERTY NBCC_SHIPPED ${target})
    target_link_options(${target} PRIVATE -Wl,--no-insert-timestamp -Wl,--build-id)
    if(NOT NBCC_PACKAGE)
        target_link_options(${target} PRIVATE -s)
        return()
    endif()
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_COMMAND} -D FILE=$<TARGET_FILE:${target}>
            -D FOLDER=${PROJECT_BINARY_DIR}/symbols/${target}
            -D OBJCOPY=${CMAKE_OBJCOPY} -D OBJDUMP=${CMAKE_OBJDUMP}
            -P ${PROJECT_SOURCE_DIR}/cmake/SplitSymbols.cmake
        VERBATIM)
endfunction()

# nbcc_build_facts(TARGET): compiles into the target what tools/shared/buildfacts.h declares. After a
# commit only the one generated source is compiled again.
function(nbcc_build_facts target)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${target}-buildfacts.cpp)
    add_custom_target(${target}_build_facts
        COMMAND ${CMAKE_COMMAND} -D SOURCES=${PROJECT_SOURCE_DIR} -D OUTPUT=${source}
            -D VERSION=${PROJECT_VERSION} "-D COMPILER=${NBCC_COMPILER}, ${NBCC_RUNTIME}"
            -P ${PROJECT_SOURCE_DIR}/cmake/BuildFacts.cmake
        BYPRODUCTS ${source}
        VERBATIM)
    target_sources(${target} PRIVATE ${source})
    add_dependencies(${target} ${target}_build_facts)
endfunction()

if(WIN32)
    include(CheckCXXSymbolExists)
    check_cxx_symbol_exists(_UCRT cstdlib NBCC_UCRT)
    set(NBCC_RUNTIME msvcrt)
    if(NBCC_UCRT)
        set(NBCC_RUNTIME ucrt)
    endif()
    set(NBCC_COMPILER "${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}")
    if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
        # As the compiler names itself. CMake knows that of Debian, 12-posix, as 12.0.0, which there is none of.
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -dumpfullversion
            OUTPUT_VARIABLE NBCC_COMPILER OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
        string(PREPEND NBCC_COMPILER "GCC ")
    endif()
    # Archives without times, owners and modes of the machine that builds.
    foreach(language C CXX)
        set(CMAKE_${language}_ARCHIVE_CREATE "<CMAKE_AR> qcD <TARGET> <LINK_FLAGS> <OBJECTS>")
        set(CMAKE_${language}_ARCHIVE_APPEND "<CMAKE_AR> qD <TARGET> <LINK_FLAGS> <OBJECTS>")
        set(CMAKE_${language}_ARCHIVE_FINISH "<CMAKE_RANLIB> -D <TARGET>")
    endforeach()
endif()
