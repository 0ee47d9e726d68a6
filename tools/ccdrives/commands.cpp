#include "tools/ccdrives/commands.h"

#include <cstdint>
#include <exception>
#include <optional>
#include <stdexcept>

#include "tools/ccdrives/driveedit.h"
#include "tools/ccdrives/driveentry.h"
#include "tools/ccdrives/drivelist.h"
#include "tools/shared/report.h"

namespace ccdrives {
namespace {

using tools::Json;

Json textOrNull(const std::optional<std::string>& text) {
    return text ? Json(*text) : Json(nullptr);
}

const char* nameOf(RegistryChange::Kind kind) {
    switch (kind) {
        case RegistryChange::Kind::set:
            return "set";
        case RegistryChange::Kind::removeValue:
            return "removeValue";
        default:
            return "removeKey";
    }
}

Json record(const RegistryChange& change) {
    const bool isSet = change.kind == RegistryChange::Kind::set;
    Json fields;
    fields["change"] = nameOf(change.kind);
    fields["key"] = change.key;
    fields["value"] = change.value.empty() ? Json(nullptr) : Json(change.value);
    fields["text"] = isSet ? Json(change.text) : Json(nullptr);
    fields["before"] = textOrNull(change.before);
    return fields;
}

/// Prints the changes, makes them, and prints that they are made.
void change(const RegistryChanges& changes, bool json, const Machine& machine) {
    if (changes.empty()) {
        return;
    }
    machine.requireAdministrator();
    std::string text = json ? "" : "changes below HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet:\n";
    for (const RegistryChange& change : changes) {
        text +=
            json ? tools::jsonLine(record(change)) : "  " + tools::oneLine(lineOf(change)) + '\n';
    }
    machine.print(text);
    try {
        machine.apply(changes);
    } catch (const std::exception& error) {
        throw std::runtime_error(std::string(error.what()) +
                                 "; give the command again, and it makes the changes that are "
                                 "missing");
    }
}

ExitCode install(const Request& request, const Machine& machine) {
    if (!machine.isThere(machine.library)) {
        throw std::runtime_error("there is no provider '" + machine.library +
                                 "'; name another by --library FILE");
    }
    if (!machine.isProvider(machine.library)) {
        throw std::runtime_error("'" + machine.library +
                                 "' is no network provider of 64-bit programs; name another by "
                                 "--library FILE");
    }
    const RegistryChanges changes = changesToInstall(machine.readEntries(), machine.library);
    change(changes, request.json, machine);
    if (request.json) {
        machine.print(tools::jsonLine({{"installed", true}, {"changes", changes.size()}}));
    } else {
        machine.print(changes.empty()
                          ? "installed already; nothing changes\n"
                          : "installed; programs that start from now on see the drives of the "
                            "list\n");
    }
    return exitDone;
}

ExitCode remove(const Request& request, const Machine& machine) {
    const RegistryChanges changes = changesToRemove(machine.readEntries());
    change(changes, request.json, machine);
    if (request.json) {
        machine.print(tools::jsonLine({{"installed", false}, {"changes", changes.size()}}));
    } else {
        machine.print(changes.empty() ? "not installed; nothing changes\n"
                                      : "removed; the list of drives stays\n");
    }
    return exitDone;
}

/// Returns the path of the list. Throws if there is none.
const std::string& drivesFileOf(const Machine& machine) {
    if (machine.drivesFile.empty()) {
        throw std::runtime_error(
            "there is no folder APPDATA for the list of drives; name a file by "
            "NBCLEARCASE_DRIVES");
    }
    return machine.drivesFile;
}

/// Calls `step`. An error in the list becomes a message that names the line.
template <class Step>
auto withLineErrors(const std::string& file, const Step& step) {
    try {
        return step();
    } catch (const DriveListError& error) {
        throw std::runtime_error(file + ":" + std::to_string(error.mLine) + ": '" + error.mText +
                                 "' can't be understood; write DRIVE | REMOTENAME, or # before "
                                 "a comment, in UTF-8");
    }
}

/// Returns why programs don't find the provider; empty if they do.
std::string whyNoProvider(const Machine& machine) {
    try {
        const ProviderEntries entries = machine.readEntries();
        std::string missing = missingOf(entries);
        if (!missing.empty() || machine.isThere(entries.libraryFile)) {
            return missing;
        }
        return "there is no provider '" + entries.libraryFile +
               "'; run ccdrives install as an administrator";
    } catch (const std::exception& error) {
        return error.what();
    }
}

/// Returns what in the list hides drives of it; empty if nothing does.
std::string whatHides(const DriveList& list) {
    if (list.openError != 0) {
        return "the list has 'open " + std::to_string(list.openError) + "'; take that line out";
    }
    std::optional<uint32_t> failure;
    for (const DriveBatch& batch : list.batches) {
        // Only a failure has no connections. As under Wine, it ends the enumeration, even if its
        // number is 0.
        if (batch.connections.empty() && !failure) {
            failure = batch.error;
        }
        for (const DriveConnection& connection : batch.connections) {
            const std::string line = "line " + std::to_string(connection.line);
            if (failure) {
                return "'fail " + std::to_string(*failure) + "' hides the drives from " + line +
                       " on; take it out of the list";
            }
            if (entrySize(connection) > longestEntry) {
                return line + " is too long for the library; write a shorter tag";
            }
        }
    }
    return {};
}

/// Returns why programs can't see the drives of the list; empty if they can.
std::string whyUnseen(const DriveList& list, const Machine& machine) {
    std::string problem = whyNoProvider(machine);
    return problem.empty() ? whatHides(list) : problem;
}

ExitCode list(const Request& request, const Machine& machine) {
    const std::string& file = drivesFileOf(machine);
    const DriveList drives =
        withLineErrors(file, [&] { return parseDriveList(machine.readDrives(file)); });
    const std::vector<DriveConnection> connections = connectionsOf(drives);
    tools::Report report;
    report.headings = {"DRIVE", "REMOTE NAME", "PROVIDER"};
    report.nothing = "no drive is connected";
    for (const DriveConnection& connection : connections) {
        report.records.push_back({{"drive", textOrNull(connection.localName)},
                                  {"remoteName", textOrNull(connection.remoteName)},
                                  {"provider", textOrNull(connection.provider)}});
        report.rows.push_back({connection.localName.value_or(""),
                               connection.remoteName.value_or(""),
                               connection.provider.value_or("")});
    }
    machine.print(request.json ? tools::jsonText(report) : tools::tableText(report));
    const std::string problem = whyUnseen(drives, machine);
    if (problem.empty()) {
        return exitDone;
    }
    machine.complain((connections.empty() ? "programs couldn't see drives of this list: "
                                          : "programs can't see these drives: ") +
                     problem);
    return exitUnseen;
}

/// Replaces the list by `edit` of it. Returns whether that has changed it.
bool edit(const Machine& machine, const std::function<std::string(const std::string&)>& edit) {
    const std::string& file = drivesFileOf(machine);
    bool isChanged = false;
    withLineErrors(file, [&] {
        machine.editDrives(file, [&](const std::string& before) {
            std::string after = edit(before);
            isChanged = after != before;
            return after;
        });
    });
    return isChanged;
}

ExitCode connect(const Request& request, const Machine& machine) {
    // Before anything is opened for the list.
    const std::string drive = checkedDrive(request.drive);
    checkRemoteName(request.remoteName);
    const bool isChanged = edit(machine, [&](const std::string& text) {
        return withConnection(text, drive, request.remoteName);
    });
    if (request.json) {
        machine.print(tools::jsonLine(
            {{"drive", drive}, {"remoteName", request.remoteName}, {"changed", isChanged}}));
    } else {
        machine.print(drive + " is connected with " + tools::oneLine(request.remoteName) +
                      (isChanged ? "\n" : " already\n"));
    }
    return exitDone;
}

ExitCode disconnect(const Request& request, const Machine& machine) {
    const std::string drive = checkedDrive(request.drive);
    const bool isChanged =
        edit(machine, [&](const std::string& text) { return withoutDrive(text, drive); });
    machine.print(
        request.json
            ? tools::jsonLine({{"drive", drive}, {"remoteName", nullptr}, {"changed", isChanged}})
            : drive + (isChanged ? " is disconnected\n" : " isn't connected; nothing changes\n"));
    return exitDone;
}

}  // namespace

ExitCode run(const Request& request, const Machine& machine) {
    switch (request.command) {
        case Command::install:
            return install(request, machine);
        case Command::remove:
            return remove(request, machine);
        case Command::connect:
            return connect(request, machine);
        case Command::disconnect:
            return disconnect(request, machine);
        default:
            return list(request, machine);
    }
}

}  // namespace ccdrives
