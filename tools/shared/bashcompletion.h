#pragma once

#include <string>

#include "tools/shared/commanddescription.h"

namespace tools {

/// Returns a script for bash 4.2 or newer that completes the program's command line, under its name
/// and with ".exe" after it, in any folder. Its lines end in line feeds, and it starts no program.
///
/// It completes the commands, the options of the command, the words of a value, files and folders,
/// also after `--option=`. After "--" there are no options any more. Bash completes files as it
/// does anywhere; only paths like C:\folder, which it takes apart at the colon, are listed by the
/// script.
///
/// Throws std::invalid_argument if a name or a word has other characters than letters, digits, '-',
/// '_' and '.', or none: it would need quotes.
[[nodiscard]] std::string bashCompletion(const ProgramDescription& program);

}  // namespace tools
