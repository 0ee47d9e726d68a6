# Header-only libraries come from the host's packages. A cross compiler must not see the host's
# own /usr/include, so each library is linked alone into a folder of the build.
set(HOST_HEADERS ${CMAKE_BINARY_DIR}/host-headers)
file(MAKE_DIRECTORY ${HOST_HEADERS})
foreach(library boost CLI nlohmann)
    if(NOT EXISTS /usr/include/${library})
        message(FATAL_ERROR "/usr/include/${library} is missing: run scripts/install-dependencies")
    endif()
    file(CREATE_LINK /usr/include/${library} ${HOST_HEADERS}/${library} SYMBOLIC)
endforeach()
add_library(host_headers INTERFACE)
target_include_directories(host_headers SYSTEM INTERFACE ${HOST_HEADERS})
