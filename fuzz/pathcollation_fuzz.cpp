// The order of paths. Input: three paths, each on a line except the last, which is the rest.
// Everything is checked without Cygwin paths and with them.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>
#include <vector>

#include "fuzz/fuzzinput.h"
#include "fuzz/utf8model.h"
#include "util/assertion.h"
#include "util/pathcollation.h"
#include "util/pathfun.h"

namespace {

/// Cygwin paths are on while it lives.
class CygwinPaths {
public:
    CygwinPaths() { setCygwinPaths(true, "/cygdrive/"); }
    ~CygwinPaths() { setCygwinPaths(false, ""); }
    CygwinPaths(const CygwinPaths&) = delete;
    CygwinPaths& operator=(const CygwinPaths&) = delete;
};

bool isSeparator(char16_t unit) { return unit == u'/' || unit == u'\\'; }

int signOf(int value) { return (value > 0) - (value < 0); }

/// The parts of a path that decide its order. Only numbers are left to compare.
struct Key {
    bool isRooted = false;
    std::vector<int> root;  ///< weights
    /// Weights, and `separator` for a run of separators between two names.
    std::vector<int> rest;

    static constexpr int separator = 0;

    friend bool operator==(const Key&, const Key&) = default;
};

Key keyOf(const std::string& path) {
    PathRange range;
    Key key;
    key.isRooted = parsePathRoot(path, range, nullptr, windowsPaths);
    size_t rootEnd = range.end;
    if (!key.isRooted && path.find_first_of("/\\") == 0) {
        key.isRooted = true;
        rootEnd = 1;
    }
    key.root.reserve(rootEnd);
    for (const char16_t unit : unitsOf(path.substr(0, rootEnd))) {
        key.root.push_back(collationWeight(unit));
    }
    bool separated = false;
    key.rest.reserve(path.size());
    for (const char16_t unit : unitsOf(path.substr(rootEnd))) {
        if (isSeparator(unit)) {
            separated = true;
            continue;
        }
        // Separators after a root don't count. A path without a root doesn't begin with any.
        if (separated && !key.rest.empty()) {
            key.rest.push_back(Key::separator);
        }
        separated = false;
        key.rest.push_back(collationWeight(unit));
    }
    return key;
}

int compareWeights(const std::vector<int>& a, const std::vector<int>& b) {
    for (size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
        if (a[i] == b[i]) {
            continue;
        }
        const bool isSeparated = a[i] == Key::separator || b[i] == Key::separator;
        return isSeparated ? signOf(a[i] - b[i]) : a[i] - b[i];
    }
    return (a.size() > b.size()) - (a.size() < b.size());
}

int compareKeys(const Key& a, const Key& b) {
    if (a.isRooted != b.isRooted) {
        return int{a.isRooted} - int{b.isRooted};
    }
    const int order = compareWeights(a.root, b.root);
    return order != 0 ? order : compareWeights(a.rest, b.rest);
}

struct Path {
    explicit Path(const std::string& path) : text(path), exact(path), key(keyOf(path)) {}

    std::string text;
    ExactText exact;
    Key key;
};

int checkedOrder(const Path& a, const Path& b) {
    const int order = comparePaths(a.exact.span(), b.exact.span());
    NB_ASSERT(order == compareKeys(a.key, b.key));
    NB_ASSERT((order == 0) == (a.key == b.key));
    return order;
}

/// Returns a path that is equal in the order: each unit is replaced by its partner.
std::string swapped(const std::string& path) {
    std::u16string units = unitsOf(path);
    for (char16_t& unit : units) {
        const char16_t partner = pathCaseSwapTable[unit];
        NB_ASSERT(pathCaseSwapTable[partner] == unit);
        NB_ASSERT(compareCollation(unit, partner) == 0);
        unit = partner;
    }
    return textOfUnits(units);
}

/// Checks a path against others that are made from it.
void checkRelated(const Path& path) {
    if (cygwinPathsEnabled()) {
        return;  // a drive's root is recognized by its case and slashes
    }
    NB_ASSERT(checkedOrder(path, Path(swapped(path.text))) == 0);
    if (path.key.rest.empty()) {
        return;
    }
    NB_ASSERT(checkedOrder(path, Path(path.text + "/\\/")) == 0);
    const Path below(path.text + "/a");
    // A server's name becomes a root with the share after it.
    if (below.key.root == path.key.root && !isPathSeparator(path.text.back())) {
        NB_ASSERT(checkedOrder(path, below) < 0);
        NB_ASSERT(checkedOrder(below, Path(path.text + '\x01')) < 0);
    }
}

void checkOrders(const std::string (&texts)[3]) {
    const Path paths[3] = {Path(texts[0]), Path(texts[1]), Path(texts[2])};
    int orders[3][3] = {};
    for (size_t i = 0; i < 3; ++i) {
        checkRelated(paths[i]);
        for (size_t j = 0; j < 3; ++j) {
            orders[i][j] = checkedOrder(paths[i], paths[j]);
        }
    }
    for (size_t i = 0; i < 3; ++i) {
        const size_t j = (i + 1) % 3;
        const size_t k = (i + 2) % 3;
        NB_ASSERT(orders[i][i] == 0);
        NB_ASSERT(orders[i][j] == -orders[j][i]);
        const int step = signOf(orders[i][j]);
        NB_ASSERT(signOf(orders[j][k]) != step || signOf(orders[i][k]) == step);
    }
}

int lower(char c) {
    const int value = static_cast<unsigned char>(c);
    return c >= 'A' && c <= 'Z' ? value + 'a' - 'A' : value;
}

/// Folds the letters. Cuts both texts at a NUL in both if they are equal before it.
std::pair<std::vector<int>, std::vector<int>> folded(const std::string& a, const std::string& b) {
    std::pair<std::vector<int>, std::vector<int>> both;
    std::transform(a.begin(), a.end(), std::back_inserter(both.first), lower);
    std::transform(b.begin(), b.end(), std::back_inserter(both.second), lower);
    for (size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
        if (both.first[i] == 0 && both.second[i] == 0) {
            both.first.resize(i);
            both.second.resize(i);
            break;
        }
        if (both.first[i] != both.second[i]) {
            break;
        }
    }
    return both;
}

void checkStrings(const std::string& a, const std::string& b) {
    const auto [left, right] = folded(a.substr(0, a.find('\0')), b.substr(0, b.find('\0')));
    NB_ASSERT(StringNoCaseLess()(a, b) == (left < right));
    NB_ASSERT(StringNoCaseEqual()(a, b) == (left == right));
    // Paths that differ only in case are equal.
    const bool hasNul = (a + b).find('\0') != std::string::npos;
    if (left == right && !hasNul) {
        NB_ASSERT(comparePaths(a, b) == 0);
    }
}

/// If a NUL ended the comparison of parts, their lengths decide.
void checkParts(const std::string& a, const std::string& b) {
    std::string text = '<' + a + '|' + b + '>';
    const Substring left(text, 1, a.size());
    const Substring right(text, a.size() + 2, b.size());
    const size_t shorter = std::min(a.size(), b.size());
    const auto [front, otherFront] = folded(a.substr(0, shorter), b.substr(0, shorter));
    const bool isLess = front == otherFront ? a.size() < b.size() : front < otherFront;
    NB_ASSERT(SubstringNoCaseLess()(left, right) == isLess);
    NB_ASSERT(SubstringNoCaseEqual()(left, right) == (front == otherFront && a.size() == b.size()));
}

void checkCharacters(const std::string& a, const std::string& b) {
    bool areEqual = a.size() == b.size();
    for (size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
        const bool equal = pathCharsEqual(a[i], b[i]);
        const bool areSeparators = (a[i] == '/' || a[i] == '\\') && (b[i] == '/' || b[i] == '\\');
        NB_ASSERT(equal == (areSeparators || lower(a[i]) == lower(b[i])));
        areEqual = areEqual && equal;
    }
    if (areEqual) {
        NB_ASSERT(comparePaths(a, b) == 0);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    std::string paths[3];
    paths[0] = takeLine(rest);
    paths[1] = takeLine(rest);
    paths[2] = rest;

    checkOrders(paths);
    for (const std::string& path : {paths[0], paths[2]}) {
        checkStrings(path, paths[1]);
        checkParts(path, paths[1]);
        checkCharacters(path, paths[1]);
    }
    const CygwinPaths cygwin;
    checkOrders(paths);
    return 0;
}
