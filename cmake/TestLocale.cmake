# A locale of one byte a letter, from the sources of the host's packages: the host itself may have none.
# The tests find it by testing/scopes/eightbitlocale.h.
find_program(NBCC_LOCALEDEF localedef REQUIRED)
foreach(source locales/en_US charmaps/ISO-8859-1.gz)
    if(NOT EXISTS /usr/share/i18n/${source})
        message(FATAL_ERROR "/usr/share/i18n/${source} is missing: run scripts/install-dependencies")
    endif()
endforeach()
set(TEST_LOCALES ${PROJECT_BINARY_DIR}/locales)
add_custom_command(OUTPUT ${TEST_LOCALES}/en_US.ISO-8859-1/LC_CTYPE
    COMMAND ${CMAKE_COMMAND} -E make_directory ${TEST_LOCALES}
    COMMAND ${NBCC_LOCALEDEF} --no-archive -i en_US -f ISO-8859-1 ${TEST_LOCALES}/en_US.ISO-8859-1
    VERBATIM)
add_custom_target(test_locale DEPENDS ${TEST_LOCALES}/en_US.ISO-8859-1/LC_CTYPE)
add_dependencies(testing test_locale)
set_source_files_properties(scopes/eightbitlocale-linux.cpp PROPERTIES
    COMPILE_DEFINITIONS NBCC_LOCALES="${TEST_LOCALES}")
