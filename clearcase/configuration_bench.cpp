#include <memory>
#include <sstream>
#include <vector>

#include <boost/property_tree/ini_parser.hpp>

#include "clearcase/configuration.h"
#include "clearcase/fakeclearcase.h"
#include "testing/benchmark/comparison.h"
#include "testing/environmentscope.h"
#include "testing/tempfolder.h"

namespace {

using testing_support::EnvironmentScope;
using testing_support::TempFolder;

constexpr size_t LINES = 200000;

/// Paths in order, as a tool lists them.
std::string pathOf(size_t i) {
    return "M:\\main_view\\vobs\\part" + std::to_string(1000000 + i) + "\\src\\file.c";
}

/// `lines` lines of an "[attrs]" section.
std::string configurationText(size_t lines) {
    std::string text = "[attrs]\n";
    for (size_t i = 0; i < lines; ++i) {
        text += pathOf(i) + "=/main/3*version\n";
    }
    return text;
}

using Elements = std::vector<std::pair<std::string, ElementRecord>>;

Elements finishedElements() {
    Elements elements;
    for (size_t i = 0; i < LINES; ++i) {
        elements.emplace_back(pathOf(i), ElementRecord{elementVersion, "/main/3"});
    }
    return elements;
}

/// The constructor as a host runs it: from the file to the connection.
std::unique_ptr<FakeClearCase> connect() { return std::make_unique<FakeClearCase>(nullptr); }

using Map = std::map<std::string, ElementRecord>;

TEST_CASE("a configuration of 200,000 lines") {
    const TempFolder folder;
    const EnvironmentScope file("NBCLEARCASE_FAKE_INI",
                                folder.write("large.ini", configurationText(LINES)));
    const Elements elements = finishedElements();
    benchmark::compareBuilding(
        {"configuration of 200,000 lines", "keys and records into a std::map", 2.5, 1}, connect,
        [&] {
            auto map = std::make_unique<Map>();
            for (const auto& [key, element] : elements) {
                map->emplace(key, element);
            }
            return map;
        });
    const std::string name = folder.utf8("large.ini");
    benchmark::compareBuilding(
        {"configuration of 200,000 lines", "property_tree::read_ini", 1.0 / 5, 1}, connect, [&] {
            auto tree = std::make_unique<boost::property_tree::ptree>();
            boost::property_tree::read_ini(name, *tree);
            return tree;
        });
}

TEST_CASE("a configuration of twice the lines") {
    const std::string half = configurationText(LINES / 2);
    const std::string whole = configurationText(LINES);
    const auto read = [](const std::string& text) {
        std::istringstream input(text);
        std::ostringstream errors;
        auto configuration = std::make_unique<Configuration>();
        readConfiguration(input, "", *configuration, errors);
        return configuration;
    };
    // A little over twice: the map is a tree.
    benchmark::compareBuilding(
        {"200,000 lines", "100,000 lines", 2.5, 1}, [&] { return read(whole); },
        [&] { return read(half); });
}

}  // namespace
