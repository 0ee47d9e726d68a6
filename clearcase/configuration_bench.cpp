#include <algorithm>
#include <cstddef>
#include <memory>
#include <random>
#include <sstream>
#include <utility>
#include <vector>

#include <boost/property_tree/ini_parser.hpp>

#include "clearcase/configuration.h"
#include "clearcase/fakeclearcase.h"
#include "testing/benchmark/comparison.h"
#include "testing/scopes/environmentscope.h"
#include "testing/scopes/tempfolder.h"

namespace {

using namespace testing_support;

constexpr size_t lineCount = 200'000;
constexpr int rounds = 7;  // each takes tenths of a second

using Paths = std::vector<std::string>;

/// Paths in order, as a tool lists them.
Paths sortedPaths(size_t count) {
    Paths paths;
    paths.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        paths.emplace_back("M:\\main_view\\vobs\\part");
        paths.back().append(std::to_string(1000000 + i)).append("\\src\\file.c");
    }
    return paths;
}

Paths shuffledPaths(size_t count) {
    Paths paths = sortedPaths(count);
    // The same order each time.
    std::shuffle(paths.begin(), paths.end(),
                 std::mt19937(1));  // NOLINT(cert-msc32-c,cert-msc51-cpp)
    return paths;
}

/// Returns an "[attrs]" section with a line for each path.
std::string configurationText(const Paths& paths) {
    std::string text = "[attrs]\n";
    for (const std::string& path : paths) {
        text += path + "=/main/3*version\n";
    }
    return text;
}

/// Runs the constructor as a host does: from the file to the connection.
std::unique_ptr<FakeClearCase> connect() { return std::make_unique<FakeClearCase>(nullptr); }

using Elements = std::vector<std::pair<std::string, ElementRecord>>;

void compareWithMap(const char* operation, const Paths& paths, double limit) {
    const TempFolder folder;
    const EnvironmentScope file("NBCLEARCASE_FAKE_INI",
                                folder.write("large.ini", configurationText(paths)));
    Elements elements;
    elements.reserve(paths.size());
    for (const std::string& path : paths) {
        elements.emplace_back(path, ElementRecord{elementVersion, "/main/3"});
    }
    benchmark::compareBuilding({operation, "keys and records into a std::map", limit, rounds},
                               connect, [&] {
                                   auto map = std::make_unique<ElementTable>();
                                   for (const auto& [key, element] : elements) {
                                       map->emplace(key, element);
                                   }
                                   return map;
                               });
}

TEST(Benchmark, Configuration) {
    compareWithMap("configuration of 200,000 sorted lines", sortedPaths(lineCount), 1.0);
    compareWithMap("configuration of 200,000 shuffled lines", shuffledPaths(lineCount), 0.75);
}

TEST(Benchmark, ConfigurationBesideAReader) {
    const TempFolder folder;
    const EnvironmentScope file(
        "NBCLEARCASE_FAKE_INI",
        folder.write("large.ini", configurationText(sortedPaths(lineCount))));
    const std::string name = folder.utf8("large.ini");
    benchmark::compareBuilding(
        {"configuration of 200,000 sorted lines", "property_tree::read_ini", 7.0 / 30, rounds},
        connect, [&] {
            auto tree = std::make_unique<boost::property_tree::ptree>();
            boost::property_tree::read_ini(name, *tree);
            return tree;
        });
}

/// `paths(n)` makes n paths.
template <class MakePaths>
void compareTwice(const char* operation, const char* half, MakePaths paths) {
    const TempFolder folder;
    const std::string small = folder.write("small.ini", configurationText(paths(lineCount)));
    const std::string large = folder.write("large.ini", configurationText(paths(2 * lineCount)));
    const auto connectTo = [](const std::string& name) {
        const EnvironmentScope file("NBCLEARCASE_FAKE_INI", name);
        return connect();
    };
    // A little more than twice as long: the table is a tree, and less of it stays in the caches.
    benchmark::compareBuilding(
        {operation, half, 2.3, rounds}, [&] { return connectTo(large); },
        [&] { return connectTo(small); });
}

TEST(Benchmark, ConfigurationOfTwiceTheLines) {
    compareTwice("configuration of 400,000 sorted lines", "200,000 sorted lines", sortedPaths);
    compareTwice("configuration of 400,000 shuffled lines", "200,000 shuffled lines",
                 shuffledPaths);
}

}  // namespace
