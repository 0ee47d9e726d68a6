#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>

// How a command that Windows can't start becomes the line of an interpreter. Text in, text out; any
// thread may call these.

/// The name that a command line begins with, and what stands behind it.
struct NameAndRest {
    std::string name;
    std::string rest;
};
/// A name in double quotes comes without them, but its closing quote is the first character of the
/// rest. Any other ends before the first space, and the rest begins with that. A quote without a
/// partner is part of the name.
NameAndRest splitCommandLine(const std::string& line);

/// Whether a file (with slashes) is a program for Windows: its extension, in any case of letters,
/// is "exe", "com", "bat" or "cmd".
bool hasProgramExtension(const std::string& path);

/// The program that runs a script, and its arguments with the space before them.
struct Interpreter {
    std::string program;
    std::string arguments;
};

/// The first bytes of a file, with NUL behind the end of a shorter one.
using ScriptHead = std::array<char, 256>;

/// What the first line of a script names behind "#!", up to the first space and from there on: the
/// program is empty where a space or nothing stands there. "/bin/sh" for a file that begins
/// otherwise, and nothing for a program of Windows. A line ends at its first carriage return, line
/// feed or NUL, and with the last byte but one.
std::optional<Interpreter> interpreterOf(const ScriptHead& head);

/// The line that runs a script: the rest follows its name at once.
std::string scriptLine(const Interpreter& interpreter, const std::string& script,
                       const std::string& rest);
