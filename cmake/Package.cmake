# What `make package` packs, and `cmake --install` installs: the targets of nbcc_ship (see
# cmake/Shipping.cmake), and what is named here. CPack reads the components `main` and `dbg`, each of which
# becomes an archive.
set(package_doc share/doc/nbclearcase_fake)
set(package_cmake lib/cmake/nbclearcase_fake)
# Those of directories; files have theirs from `install`.
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
    GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME main)

# bin/, and the symbols
get_property(shipped GLOBAL PROPERTY NBCC_SHIPPED)
foreach(target ${shipped})
    install(PROGRAMS $<TARGET_FILE:${target}> DESTINATION bin)
    if(NBCC_PACKAGE)
        install(DIRECTORY ${PROJECT_BINARY_DIR}/symbols/${target}/ DESTINATION . COMPONENT dbg)
    endif()
endforeach()

# include/ and lib/
set_target_properties(nbcc_contract PROPERTIES EXPORT_NAME contract)
set_target_properties(nbcc_element_types PROPERTIES EXPORT_NAME element_types)
set_target_properties(nbcc_usage PROPERTIES EXPORT_NAME usage)
set_target_properties(nbcc_util PROPERTIES EXPORT_NAME util_portable)
set_target_properties(nbcc_util_windows PROPERTIES EXPORT_NAME util_windows)
set_target_properties(nbcc_utility PROPERTIES EXPORT_NAME util)
install(TARGETS nbcc_contract nbcc_element_types EXPORT nbclearcase_fake-contract
    FILE_SET HEADERS DESTINATION include INCLUDES DESTINATION include ARCHIVE DESTINATION lib)
install(TARGETS nbcc_usage nbcc_util nbcc_util_windows nbcc_utility EXPORT nbclearcase_fake-util
    FILE_SET HEADERS DESTINATION include INCLUDES DESTINATION include ARCHIVE DESTINATION lib)
foreach(library nbcc_element_types nbcc_util nbcc_util_windows)
    # Who debugs into the libraries builds them of the sources.
    install(CODE "execute_process(COMMAND \"${CMAKE_OBJCOPY}\" --enable-deterministic-archives --preserve-dates --strip-debug
        \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/lib/$<TARGET_FILE_NAME:${library}>\" COMMAND_ERROR_IS_FATAL ANY)")
endforeach()
foreach(set contract util)
    install(EXPORT nbclearcase_fake-${set} NAMESPACE nbclearcase:: DESTINATION ${package_cmake})
endforeach()

include(CMakePackageConfigHelpers)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/nbclearcase_fake-versions.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/nbclearcase_fake-versions.cmake DESTINATION ${package_cmake})
foreach(part config config-version compiler)
    configure_file(cmake/package/nbclearcase_fake-${part}.cmake.in package/nbclearcase_fake-${part}.cmake @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/package/nbclearcase_fake-${part}.cmake DESTINATION ${package_cmake})
endforeach()
install(FILES cmake/package/nbclearcase_fake-boost.cmake DESTINATION ${package_cmake})

# share/doc/ and examples/
install(FILES README.md CONTRIBUTING.md CHANGELOG.md DESTINATION ${package_doc})
install(DIRECTORY docs DESTINATION ${package_doc} PATTERN reference.md EXCLUDE PATTERN *.dot EXCLUDE)
# Who has tried the examples in the tree has folders of builds there.
install(DIRECTORY examples/host examples/project examples/utility DESTINATION examples PATTERN build EXCLUDE)
install(FILES examples/drives.txt examples/mingw-w64-x86_64.cmake DESTINATION examples)

# nbcc_licence(NAME FILE): the licences of the Debian package that has FILE, which is linked statically, with
# those that they only refer to.
function(nbcc_licence name file)
    file(REAL_PATH ${file} file)
    execute_process(COMMAND dpkg-query --search ${file} OUTPUT_VARIABLE owner ERROR_VARIABLE problem
        RESULT_VARIABLE result)
    string(REGEX REPLACE ":.*" "" owner "${owner}")
    file(REAL_PATH /usr/share/doc/${owner}/copyright copyright)
    if(NOT result EQUAL 0 OR NOT EXISTS ${copyright})
        message(FATAL_ERROR "no Debian package has the licence of ${file}: ${problem}${copyright} is missing")
    endif()
    install(FILES ${copyright} DESTINATION ${package_doc}/licences RENAME ${name}.txt)
    set(common /usr/share/common-licenses)
    file(STRINGS ${copyright} references REGEX ${common}/)
    string(REGEX MATCHALL "${common}/[A-Za-z0-9.-]*[A-Za-z0-9]" references "${references}")
    foreach(licence IN LISTS references)
        cmake_path(GET licence FILENAME file)
        file(REAL_PATH ${licence} licence)
        install(FILES ${licence} DESTINATION ${package_doc}/licences/common-licenses RENAME ${file}.txt)
    endforeach()
endfunction()
# nbcc_runtime_licence(NAME LIBRARY): the same for a library that the compiler links of itself.
function(nbcc_runtime_licence name library)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${library}
        OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    nbcc_licence(${name} ${file})
endfunction()
if(NBCC_PACKAGE)
    nbcc_licence(boost ${NBCC_boost_headers_HEADERS}/boost/version.hpp)
    nbcc_licence(cli11 ${NBCC_CLI11_HEADERS}/CLI/CLI.hpp)
    nbcc_licence(nlohmann-json ${NBCC_nlohmann_json_HEADERS}/nlohmann/json.hpp)
    nbcc_runtime_licence(gcc-runtime libstdc++.a)
    nbcc_runtime_licence(mingw-w64-runtime libwinpthread.a)
endif()

# What `scripts/package` builds before it packs.
add_custom_target(shipped DEPENDS ${shipped} nbcc_element_types nbcc_util nbcc_util_windows)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL main dbg)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY ON)
set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-windows-x86_64)
if(NBCC_UCRT)
    string(APPEND CPACK_PACKAGE_FILE_NAME -ucrt)
endif()
set(CPACK_ARCHIVE_MAIN_FILE_NAME ${CPACK_PACKAGE_FILE_NAME})
set(CPACK_ARCHIVE_DBG_FILE_NAME ${CPACK_PACKAGE_FILE_NAME}-dbg)
include(CPack)
