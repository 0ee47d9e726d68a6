#pragma once

#include <string>

/// The folder to probe for a VOB: its tag directly behind `root`, with forward slashes, the first
/// of the doubled ones halved, and the first character in upper case.
std::string probedFolder(const std::string& root, const std::string& tag);
