# Moves the debug symbols of FILE into FOLDER/.build-id/xx/yyyy.debug, where xxyyyy is the build id of
# FILE: a debugger finds them there if FOLDER is one of its folders of symbols. `objcopy` would write the
# present time if it didn't preserve that of FILE, which is none.
execute_process(COMMAND ${OBJDUMP} --private-headers ${FILE} OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)
if(NOT headers MATCHES "RSDS signature ([0-9a-f][0-9a-f])([0-9a-f]+)")
    message(FATAL_ERROR "${FILE} has no build id: link it with --build-id")
endif()
set(folder ${FOLDER}/.build-id/${CMAKE_MATCH_1})
set(symbols ${folder}/${CMAKE_MATCH_2}.debug)
# Of an earlier link.
file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${folder})
foreach(action "--only-keep-debug;${FILE};${symbols}" "--strip-all;${FILE}")
    execute_process(COMMAND ${OBJCOPY} --preserve-dates ${action} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
