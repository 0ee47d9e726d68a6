#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>

// Turns a command that Windows can't start into the line of an interpreter. Text in, text out; any
// thread may call these functions.

/// The name that a command line begins with, and what follows it.
struct NameAndRest {
    std::string name;  ///< without quotes
    std::string rest;  ///< from the closing quote or the space on
};
/// Splits a command line. A name in double quotes is returned without them, but its closing quote
/// is the first character of the rest. Any other name ends before the first space, and the rest
/// begins with that space. A quote without a partner is part of the name.
[[nodiscard]] NameAndRest splitCommandLine(const std::string& line);

/// Returns whether a file (with slashes) is a program for Windows: its extension, in any case of
/// letters, is "exe", "com", "bat" or "cmd".
[[nodiscard]] bool hasProgramExtension(const std::string& path);

/// The program that runs a script, and its arguments with the space before them.
struct Interpreter {
    std::string program;    ///< as the script spells it
    std::string arguments;  ///< may be empty
};

/// The first bytes of a file; after the end of a shorter file, NULs.
using ScriptHead = std::array<char, 256>;

/// Returns the interpreter that the first line of a script names after "#!". The program ends
/// before the first space, and the arguments begin with that space; the program is empty if a space
/// or nothing follows "#!". A file without "#!" has "/bin/sh", and a program for Windows
/// has no interpreter. The line ends at the first carriage return, line feed or NUL, or at the
/// latest after the last byte but one.
[[nodiscard]] std::optional<Interpreter> interpreterOf(const ScriptHead& head);

/// Returns the line that runs a script. `rest` follows the name of the script without a space.
[[nodiscard]] std::string scriptLine(const Interpreter& interpreter, const std::string& script,
                                     const std::string& rest);
