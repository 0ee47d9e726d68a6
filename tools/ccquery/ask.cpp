#include "tools/ccquery/ask.h"

#include <map>
#include <sstream>
#include <vector>

#include "clearcase/elementtypes.h"
#include "util/assertion.h"

namespace ccquery {
namespace {

Json orNull(const std::optional<std::string>& text) { return text ? Json(*text) : Json(nullptr); }

/// Returns "name (number)", or only the number.
std::string nameAndNumber(const std::optional<std::string>& name, int number) {
    return name ? *name + " (" + std::to_string(number) + ")" : std::to_string(number);
}

Answer statusAnswer(const std::string& path, ClearCaseConnection& connection) {
    // A target that isn't written keeps its old text, and no link contains a null character.
    const std::string notWritten(1, '\0');
    std::string version;
    std::string target = notWritten;
    const int type = connection.getElementStatus(path.c_str(), &version, &target);
    const auto name = elementTypeName(type);
    const auto link = target == notWritten ? std::nullopt : std::optional(target);
    return {.record = {{"path", path},
                       {"type", type},
                       {"typeName", orNull(name)},
                       {"version", version},
                       {"target", orNull(link)}},
            .row = {path, nameAndNumber(name, type), version, link.value_or("")}};
}

void askVobs(ClearCaseConnection& connection, const Query& query, Report& report) {
    report.headings = {"VOB", "STATE"};
    report.nothing = "no VOBs are configured";
    std::vector<VobRecord> vobs;
    connection.probeVobs(query.root, vobs);
    for (const VobRecord& vob : vobs) {
        const auto name = vobStateName(vob.state);
        const int state = vob.state;
        report.records.push_back({{"tag", vob.tag}, {"state", state}, {"stateName", orNull(name)}});
        report.rows.push_back({vob.tag, nameAndNumber(name, vob.state)});
    }
}

void askDrives(ClearCaseConnection& connection, Report& report) {
    report.headings = {"DRIVE", "LEADS TO"};
    report.nothing = "no drives of views are connected";
    std::map<std::string, std::string> drives;
    const std::string mvfsRoot = connection.getMvfsDrives(drives);
    Json byDrive = Json::object();
    if (!mvfsRoot.empty()) {
        report.rows.push_back({mvfsRoot, "all views (the MVFS drive)"});
    }
    for (const auto& [drive, view] : drives) {
        byDrive[drive] = view;
        report.rows.push_back({drive, "view " + view});
    }
    report.records.push_back({{"mvfsRoot", mvfsRoot}, {"drives", byDrive}});
}

void askView(ClearCaseConnection& connection, Report& report) {
    report.nothing = "no view is set";
    const std::string view = connection.getViewTag();
    report.records.push_back({{"viewTag", view}});
    if (!view.empty()) {
        report.rows.push_back({view});
    }
}

void askInfo(ClearCaseConnection& connection, Report& report) {
    std::map<std::string, std::string> info;
    connection.getProductInfo(/*unused=*/nullptr, info);
    const bool ready = connection.isReady();
    Json byName = Json::object();
    for (const auto& [name, value] : info) {
        byName[name] = value;
        report.rows.push_back({name, value});
    }
    report.records.push_back({{"info", byName}, {"ready", ready}});
    report.rows.push_back({"ready", ready ? "yes" : "no"});
}

ExitCode askErrors(ClearCaseConnection& connection, Report& report) {
    report.nothing = "no complaints";
    const std::string error = connection.getError();
    std::istringstream text(error);
    Json lines = Json::array();
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
        report.rows.push_back({line});
    }
    report.records.push_back({{"error", error}, {"lines", lines}});
    return error.empty() ? exitAnswered : exitComplaints;
}

}  // namespace

ExitCode ask(ClearCaseConnection& connection, const Query& query, Report& report) {
    switch (query.command) {
        case Command::vobs:
            askVobs(connection, query, report);
            break;
        case Command::drives:
            askDrives(connection, report);
            break;
        case Command::view:
            askView(connection, report);
            break;
        case Command::info:
            askInfo(connection, report);
            break;
        case Command::errors:
            return askErrors(connection, report);
        default:
            NB_ASSERT_AS(false, "a command without paths");
    }
    return exitAnswered;
}

Row headingsOf(Command command) {
    return command == Command::status ? Row{"PATH", "TYPE", "VERSION", "TARGET"}
                                      : Row{"PATH", "CANONICAL"};
}

Answer askAbout(const std::string& path, ClearCaseConnection& connection, const Query& query) {
    if (query.command == Command::status) {
        return statusAnswer(path, connection);
    }
    const std::string canonical = connection.canonicalizeViewPath(query.cwd, path, query.tags);
    return {.record = {{"path", path}, {"canonical", canonical}}, .row = {path, canonical}};
}

std::optional<std::string> elementTypeName(int type) {
    for (const ElementTypeName* entry = elementTypeNames; entry->name != nullptr; ++entry) {
        if (entry->type == type) {
            return entry->name;
        }
    }
    return std::nullopt;
}

std::optional<std::string> vobStateName(int state) {
    switch (state) {
        case vobWritable:
            return "writable";
        case vobReadOnly:
            return "read_only";
        case vobNotDetermined:
            return "not_determined";
        default:
            return std::nullopt;
    }
}

}  // namespace ccquery
