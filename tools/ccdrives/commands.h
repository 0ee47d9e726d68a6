#pragma once

// What the commands of ccdrives do, with the machine's side as functions.

#include <functional>
#include <string>

#include "tools/ccdrives/commandline.h"
#include "tools/ccdrives/providerentries.h"

namespace ccdrives {

enum ExitCode : int {
    exitDone = 0,
    exitUnseen = 1,   ///< the list is printed, but programs can't see its drives
    exitNotDone = 2,  ///< standard error says why
};

/// All functions may throw a std::exception, which passes through. Texts and paths are UTF-8.
struct Machine {
    /// The path of the list of drives; empty if the environment names none.
    std::string drivesFile;
    /// Returns the text of the list, none if there is no file.
    std::function<std::string(const std::string& file)> readDrives;
    /// Replaces the list by what `edit` returns for it.
    std::function<void(const std::string& file,
                       const std::function<std::string(const std::string&)>& edit)>
        editDrives;
    std::function<ProviderEntries()> readEntries;
    /// Throws if the user can't change the entries.
    std::function<void()> requireAdministrator;
    std::function<void(const RegistryChanges&)> apply;
    /// The full path of the provider.
    std::string library;
    /// Whether a file, not a folder, is there, and whether it is a network provider.
    std::function<bool(const std::string& path)> isThere;
    std::function<bool(const std::string& path)> isProvider;
    /// For standard output and, without the program's name and the line end, standard error.
    std::function<void(const std::string& text)> print;
    std::function<void(const std::string& problem)> complain;
};

/// Does what is asked for. Throws a std::exception, whose message is one line, if it isn't done.
[[nodiscard]] ExitCode run(const Request& request, const Machine& machine);

}  // namespace ccdrives
