# Writes OUTPUT, the source of tools/shared/buildfacts.h, if it would change: from VERSION, COMPILER and
# the commit of the git clone SOURCES. Sources of an archive may be in a folder that is itself below
# somebody else's clone, whose commit says nothing.
execute_process(COMMAND git rev-parse --show-prefix HEAD WORKING_DIRECTORY ${SOURCES}
    OUTPUT_VARIABLE answer ERROR_QUIET RESULT_VARIABLE result OUTPUT_STRIP_TRAILING_WHITESPACE)
# The folder below the root of the clone, which is empty here, and the commit.
if(result EQUAL 0 AND answer MATCHES "^\n([0-9a-f]+)$")
    set(commit ${CMAKE_MATCH_1})
    execute_process(COMMAND git --no-optional-locks status --porcelain --untracked-files=no WORKING_DIRECTORY ${SOURCES}
        OUTPUT_VARIABLE changes ERROR_QUIET)
    if(changes)
        string(APPEND commit " with changes")
    endif()
else()
    set(commit "unknown, since the sources were no git clone")
endif()
file(CONFIGURE OUTPUT ${OUTPUT} @ONLY CONTENT [[
#include "tools/shared/buildfacts.h"

namespace tools {

BuildFacts buildFacts() {
    return {.version = "@VERSION@", .commit = "@commit@", .compiler = "@COMPILER@"};
}

}  // namespace tools
]])
