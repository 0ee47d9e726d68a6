#include "testing/benchmark/samplepaths.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <random>
#include <span>
#include <string_view>

#include "util/pathcollation.h"

namespace benchmark {
namespace {

using Words = std::span<const std::string_view>;

constexpr std::string_view ascii[] = {
    "Source", "Include", "platform", "widgets", "Network", "storage", "tests",   "Common",
    "report", "editor",  "Build",    "tools",   "config",  "Drivers", "service", "render"};
constexpr std::string_view accented[] = {
    "Übersicht", "Größe",     "préférences", "données", "Año",    "versión", "Ångström", "smörgås",
    "říjen",     "Žluťoučký", "información", "dépôt",   "Straße", "façade",  "çözüm",    "Łódź"};
constexpr std::string_view extensions[] = {".cpp", ".h", ".txt", ".Resources"};

class PathMaker {
public:
    explicit PathMaker(Words words) : mWords(words) {}

    std::string directory() {
        std::string path = "M:/main_view/vobs";
        for (size_t depth = 1 + mRandom() % 3; depth > 0; --depth) {
            path.append("/").append(word());
        }
        return path;
    }
    std::string file(const std::string& directory) {
        std::string path = directory;
        path.append("/").append(word()).append("_").append(word());
        return path.append(std::to_string(mRandom() % 1000)).append(pick(extensions));
    }

private:
    std::string_view pick(Words list) { return list[mRandom() % list.size()]; }
    std::string_view word() { return pick(mWords); }

    Words mWords;
    // A fixed seed, so that the paths are the same each time.
    std::mt19937 mRandom{1};  // NOLINT(cert-msc32-c,cert-msc51-cpp)
};

bool isBefore(const std::string& a, const std::string& b) { return comparePaths(a, b) < 0; }
bool isSame(const std::string& a, const std::string& b) { return comparePaths(a, b) == 0; }

}  // namespace

std::vector<std::string> samplePaths(size_t count, Letters letters) {
    PathMaker maker(letters == Letters::ascii ? Words(ascii) : Words(accented));
    std::vector<std::string> paths;
    while (paths.size() < count) {
        while (paths.size() < count + count / 4) {
            const std::string directory = maker.directory();
            for (int files = 0; files < 20; ++files) {
                paths.push_back(maker.file(directory));
            }
        }
        std::sort(paths.begin(), paths.end(), isBefore);
        paths.erase(std::unique(paths.begin(), paths.end(), isSame), paths.end());
    }
    // Copies lie in memory in this order, so that no row measures how far apart they are.
    return {paths.begin(), paths.begin() + static_cast<ptrdiff_t>(count)};
}

}  // namespace benchmark
