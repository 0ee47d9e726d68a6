// docs/ccquery.md has every field of the program's JSON, with its types, and says where it may be
// missing.

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "testing/exampleshell.h"
#include "testing/page.h"

namespace {

using namespace testing_support;
using tools::Json;

using Texts = std::vector<std::string>;

/// A field as a table describes it.
struct Field {
    std::string type;
    bool mayBeMissing = false;
    /// What the program has printed.
    std::set<std::string> seenTypes = {};
    bool isSeenMissing = false;
};

/// The fields of one kind of object, by their names: "explanation.near[].why".
struct Table {
    std::string command;
    std::string firstField;
    std::map<std::string, Field> fields = {};
};

std::vector<Table> tables() {
    std::vector<Table> found;
    size_t current = 0;
    for (const PagePart& part : partsOf(pageText("docs/ccquery.md"))) {
        if (part.kind != PagePart::Kind::row || part.cells.size() != 3) {
            continue;
        }
        if (part.table != current) {
            found.push_back({.command = part.section, .firstField = part.cells[0]});
            current = part.table;
        }
        found.back().fields[part.cells[0]] = {
            .type = part.cells[1],
            .mayBeMissing = part.cells[2].find("missing ") != std::string::npos};
    }
    return found;
}

/// Returns the types that a table means.
std::set<std::string> typesOf(const std::string& described) {
    const std::string orNull = " or null";
    std::set<std::string> types;
    std::string type = described;
    if (type.ends_with(orNull)) {
        type.resize(type.size() - orNull.size());
        types.insert("null");
    }
    types.insert(type == "TEXT" ? "text" : type.substr(0, type.find(" of ")));
    return types;
}

std::string typeOf(const Json& value) {
    return value.is_null()      ? "null"
           : value.is_string()  ? "text"
           : value.is_number()  ? "number"
           : value.is_boolean() ? "true or false"
           : value.is_array()   ? "list"
                                : "object";
}

/// Enters what is in an object into a table. Fields of the object have names that begin with
/// `prefix`.
void enter(const Json& object, const std::string& prefix, Table& table) {
    for (const auto& [name, value] : object.items()) {
        const auto found = table.fields.find(prefix + name);
        ASSERT_NE(found, table.fields.end()) << table.command << ": " << prefix << name;
        Field& field = found->second;
        const bool isBytes = field.type == "TEXT" && value.is_object();
        ASSERT_TRUE(!isBytes || value.contains("hex")) << value;
        field.seenTypes.insert(isBytes ? "text" : typeOf(value));
        if (value.is_object() && field.type.find(" of ") == std::string::npos && !isBytes) {
            enter(value, prefix + name + '.', table);
        } else if (field.type == "list of objects") {
            for (const Json& element : value) {
                enter(element, prefix + name + "[].", table);
            }
        }
    }
    for (auto& [name, field] : table.fields) {
        const bool isOfObject = name.starts_with(prefix) &&
                                name.find_first_of(".[", prefix.size()) == std::string::npos;
        field.isSeenMissing =
            field.isSeenMissing || (isOfObject && !object.contains(name.substr(prefix.size())));
    }
}

/// Enters each object of an output into the table of the command whose first field it has.
void enterAll(const std::string& output, const std::string& command, std::vector<Table>& all) {
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        const Json object = Json::parse(line);
        const auto table = std::find_if(all.begin(), all.end(), [&](const Table& candidate) {
            return candidate.command == command && object.contains(candidate.firstField);
        });
        ASSERT_NE(table, all.end()) << command << ": " << line;
        enter(object, "", *table);
    }
}

/// A console in which each field has each of its types.
ExampleShell sampleShell() {
    ExampleShell shell;
    shell.world.mvfsRoot = "M:";
    shell.world.views = {{"X:", "v"}};
    shell.world.disk = {{"C:\\src", FakeWorld::File::folder}};
    shell.files["nbclearcase_fake.ini"] =
        "[vobs]\n\\a=ro\nbad\n[attrs]\nC:\\a=x\nC:\\A\\..\\a=y\nC:\\c=x*version\nC:\\\xff=x\n";
    shell.files["j"] = connectLine() + statusLine(R"("C:\\c")", elementVersion, R"("/main/3")") +
                       statusLine(R"("C:\\C")", elementVersion, R"("/main/3")");
    return shell;
}

TEST(CcqueryJsonTest, ThePageHasEachFieldWithItsTypesAndNoOther) {
    ExampleShell shell = sampleShell();
    std::vector<Table> all = tables();
    const std::pair<const char*, Texts> runs[] = {
        {"JSON", {"--version"}},
        {"status",
         {"status C:\\a", "status --library other.dll C:\\x", "status --explain C:\\a C:\\c",
          "status --explain C:\\src C:\\C", "status --explain --config none.ini C:\\c"}},
        {"canonicalize",
         {"canonicalize M:\\v\\a", "canonicalize --explain a --tag C:\\x --tag X:\\v",
          "canonicalize --explain M:\\v\\a --tag X:\\v",
          "canonicalize --explain M:\\w\\a --tag M:\\u\\v",
          "canonicalize --explain --library other.dll --cwd \\\\server\\share \\\\"}},
        {"vobs", {"vobs C:\\", "vobs C:\\ --library other.dll"}},
        {"drives", {"drives"}},
        {"view", {"view"}},
        {"info", {"info"}},
        {"errors", {"errors"}},
        {"check", {"check"}},
        {"verify", {"verify j"}},
        {"usage", {"usage j"}},
    };
    for (const auto& [command, lines] : runs) {
        for (const std::string& line : lines) {
            enterAll(shell.run("ccquery --json " + line), command, all);
        }
    }
    ASSERT_EQ(all.size(), 14U);
    for (const Table& table : all) {
        for (const auto& [name, field] : table.fields) {
            EXPECT_EQ(field.seenTypes, typesOf(field.type)) << table.command << ": " << name;
            EXPECT_EQ(field.isSeenMissing, field.mayBeMissing) << table.command << ": " << name;
        }
    }
}

}  // namespace
