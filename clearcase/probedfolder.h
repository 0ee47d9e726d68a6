#pragma once

#include <string>

/// Returns the folder to probe for a VOB: `root`, directly followed by the VOB's tag. All
/// backslashes become forward slashes, the first doubled slash becomes a single one, and the first
/// character becomes upper case.
///
///     probedFolder("c:\\vobs", "\\a")        ->  "C:/vobs/a"
///     probedFolder("\\\\srv\\sh", "\\a")    ->  "/srv/sh/a"
[[nodiscard]] std::string probedFolder(const std::string& root, const std::string& tag);
