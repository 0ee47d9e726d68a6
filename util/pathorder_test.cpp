// The order of paths compared with a plain model of it, and what decides it at roots.

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "testing/counts/allocationcount.h"
#include "testing/scopes/cygwinscope.h"
#include "util/pathcollation.h"
#include "util/pathfun.h"

namespace {

using namespace testing_support;

using namespace std::string_view_literals;

int order(std::string_view a, std::string_view b) {
    return comparePaths(StringSpan(a), StringSpan(b));
}

int weight(char c) { return collationWeight(static_cast<uint16_t>(c)); }

struct OrderRow {
    std::string_view a, b;
    int order;
};

void expectOrder(const std::vector<OrderRow>& rows) {
    for (const OrderRow& row : rows) {
        EXPECT_EQ(order(row.a, row.b), row.order) << row.a << " and " << row.b;
        EXPECT_EQ(order(row.b, row.a), -row.order) << row.b << " and " << row.a;
    }
}

TEST(PathRootOrderTest, InARootEverySeparatorCounts) {
    expectOrder({
        {"//s//x", "//s/x", weight('/') - weight('x')},
        {"///s/x", "//s/x", weight('/') - weight('s')},
        {"//s//x/a", "//s/x/a", weight('/') - weight('x')},
        {"//s\\/x/a", "\\/S/\\X\\A", 0},
        {"//s/x//a", "//s/x/a", 0},  // after it a run counts as one
        {"//s/x///", "//s/x", 0},
        {"//s//x", "//s//x/", 0},
    });
}

TEST(PathRootOrderTest, SeparatorsBeforeNoShareAreOneRoot) {
    expectOrder({
        {"//s", "/s", 0},
        {"\\\\\\s/", "/S", 0},
        {"//", "/", 0},
        {"/s", "//s/x", -1},  // its root ends first
        {"/z", "//a/a", -1},
        {"C:/a", "/a", weight('c') - weight('/')},
        {"C:/a", "//a/b", weight('c') - weight('/')},
    });
}

TEST(PathRootOrderTest, RootsDecideBeforeWhatComesAfterThem) {
    expectOrder({
        {"C:/z", "D:/a", weight('c') - weight('d')},
        {"//s/x/z", "//s/y/a", weight('x') - weight('y')},
        {"//s/x/z", "//s/xx/a", -1},
        {"1:z", "2:a", weight('1') - weight('2')},
        {"C:", "C:a", -1},
        {"C:a", "C:/a", 0},
        {"\xC3\xA9:a", "\xC3\xA9:/a", 1},  // not a drive: its name has two bytes
    });
}

TEST(PathRootOrderTest, InCygwinModeAPosixPathHasAnEmptyRootThatComesFirst) {
    const CygwinScope cygwin;
    expectOrder({
        {"/a", "/A/", 0},
        {"/a", "a", 1},
        {"/", "", 1},
        {"/", "///", 0},
        {"/z", "\\a", -1},  // has a root of one character
        {"/z", "//a", -1},  // has one as well
        {"/", "\\", -1},
        {"\\a", "\\\\A", 0},
        {"/z", "C:/a", -1},
        {"/z", "//s/x", -1},
        {"/z", "/cygdrive/c", -1},
        {"/cygdrive", "/cygdrive/c", -1},
        {"/cygdrive/cc", "/cygdrive/c/c", -1},
        {"/a/b", "/a!", -1},
    });
}

TEST(PathRootOrderTest, InCygwinModeADrivesFolderIsARoot) {
    {
        const CygwinScope cygwin;
        expectOrder({
            {"/cygdrive/c/a", "/cygdrive/C/A", 0},
            {"/cygdrive/c//a", "/cygdrive/c/a/", 0},
            {"/cygdrive/c/z", "/cygdrive/d/a", weight('c') - weight('d')},
            {"/cygdrive/c", "C:", weight('/') - weight('c')},
            {"/cygdrive/c/a", "\\cygdrive/c/a", 1},  // continues after the separator
            {"/cygdrive/c/a", "/CYGDRIVE/c/a", 1},   // case counts in the prefix
        });
    }
    expectOrder({{"/cygdrive/c/a", "\\CYGDRIVE/C\\A", 0}});
}

TEST(PathRootOrderTest, TheOtherComparisonsKnowNoCygwinMode) {
    const CygwinScope cygwin;
    EXPECT_TRUE(pathCharsEqual('/', '\\'));
    EXPECT_FALSE(pathCharsEqual('/', 'a'));
    EXPECT_FALSE(StringNoCaseEqual()("/a", "\\a"));
    EXPECT_TRUE(StringNoCaseEqual()("/cygdrive/C", "/CYGDRIVE/c"));
    EXPECT_TRUE(StringNoCaseLess()("/a", "\\a"));
    std::string text = "/a\\A";
    EXPECT_FALSE(SubstringNoCaseEqual()(Substring(text, 0, 2), Substring(text, 2, 2)));
    EXPECT_TRUE(SubstringNoCaseLess()(Substring(text, 0, 2), Substring(text, 2, 2)));
}

TEST(PathOrderTest, ANulIsACharacterThatComesFirst) {
    const int nul = weight('\0');
    expectOrder({
        {"a\0b"sv, "A\0B"sv, 0},
        {"a\0b"sv, "a\0c"sv, weight('b') - weight('c')},
        {"a\0"sv, "a", 1},
        {"a\0"sv, "a\x01", nul - weight('\x01')},
        {"a\0"sv, "a/", 1},
        {"a\0z"sv, "a/b", 1},
        {"\0"sv, "", 1},
        {"\0"sv, "/", -1},
        {"\0:a"sv, "b", 1},  // a drive
        {"\0:a"sv, "\0:/A"sv, 0},
        {"C:\0"sv, "C:", 1},
        {"//s\0/x"sv, "//s/x", nul - weight('/')},
        {"//s/\0"sv, "//S\\\0\\"sv, 0},
    });
}

TEST(PathOrderTest, NothingIsAllocatedWhateverTheRoots) {
    const std::string name(300, 'a');
    const std::string ends[] = {name, name + "/B", name + "\\\xC3\xA9", name + "\xFF"};
    std::vector<std::string> paths;
    for (const char* const root :
         {"", "C:", "c:\\", "//srv/share/", "\\\\srv//share\\", "/", "\\", "/cygdrive/c/"}) {
        for (const std::string& end : ends) {
            paths.push_back(root + end);
        }
    }
    const auto allocationsOfAll = [&] {
        const size_t before = testing_support::allocationCount();
        int sum = 0;
        for (const std::string& a : paths) {
            for (const std::string& b : paths) {
                sum += comparePaths(a, b) == 0 ? 1 : 0;
            }
        }
        const size_t after = testing_support::allocationCount();
        EXPECT_GE(sum, static_cast<int>(paths.size()));
        return after - before;
    };
    EXPECT_EQ(allocationsOfAll(), 0U);
    const CygwinScope cygwin;
    EXPECT_EQ(allocationsOfAll(), 0U);
}

// The model: each path is split into lists of tokens first, and then these are compared.

using Tokens = std::vector<int>;

/// Sorts before all weights.
constexpr int separatorWeight = 0;

bool isSeparator(char c) { return c == '/' || c == '\\'; }

int unitWeight(uint32_t unit) { return collationWeight(static_cast<uint16_t>(unit)); }

/// Returns the length of the well-formed sequence at the start of `text`, by the table of the
/// Unicode Standard; 0 if there is none.
size_t sequenceLength(std::string_view text) {
    const struct {
        unsigned first, last;              // of the lead byte
        unsigned secondFirst, secondLast;  // of the second byte
        size_t length;
    } rows[] = {
        {0x00, 0x7F, 0, 0, 1},       {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
        {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
        {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
    };
    const auto isBetween = [&](size_t at, unsigned first, unsigned last) {
        const auto byte = static_cast<unsigned char>(text[at]);
        return byte >= first && byte <= last;
    };
    for (const auto& row : rows) {
        if (!isBetween(0, row.first, row.last)) {
            continue;
        }
        if (text.size() < row.length) {
            return 0;
        }
        for (size_t i = 1; i < row.length; ++i) {
            if (!isBetween(i, i == 1 ? row.secondFirst : 0x80, i == 1 ? row.secondLast : 0xBF)) {
                return 0;
            }
        }
        return row.length;
    }
    return 0;
}

/// The weights of the units.
Tokens weightsOf(std::string_view text) {
    Tokens tokens;
    while (!text.empty()) {
        const size_t length = sequenceLength(text);
        const auto lead = static_cast<unsigned char>(text.front());
        uint32_t value = length == 0 ? 0xDC00U + lead : lead;
        if (length > 1) {
            value &= 0xFFU >> (length + 1);
            for (size_t i = 1; i < length; ++i) {
                value = value * 64 + (static_cast<unsigned char>(text[i]) & 0x3FU);
            }
        }
        if (value > 0xFFFF) {
            tokens.push_back(unitWeight(0xD800 + (value - 0x10000) / 1024));
            tokens.push_back(unitWeight(0xDC00 + (value - 0x10000) % 1024));
        } else {
            tokens.push_back(unitWeight(value));
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return tokens;
}

struct ModelPath {
    bool isRooted = false;
    Tokens root;
    Tokens rest;
};

size_t lengthOfRun(std::string_view text, size_t from, bool ofSeparators) {
    size_t end = from;
    while (end < text.size() && isSeparator(text[end]) == ofSeparators) {
        ++end;
    }
    return end - from;
}

/// Returns where the root ends; npos if the path isn't rooted.
size_t rootEnd(std::string_view path) {
    if (path.empty()) {
        return std::string_view::npos;
    }
    const size_t leading = lengthOfRun(path, 0, true);
    if (leading == 0) {
        return path.size() > 1 && path[1] == ':' ? 2 : std::string_view::npos;
    }
    if (cygwinPathsEnabled() && path[0] == '/') {
        constexpr std::string_view prefix = "/cygdrive/";
        if (path.starts_with(prefix) && path.size() > prefix.size() && path[prefix.size()] != '/' &&
            (path.size() == prefix.size() + 1 || path[prefix.size() + 1] == '/')) {
            return prefix.size() + 1;
        }
        if (leading == 1 || leading == path.size()) {
            return 0;
        }
    }
    if (leading > 1) {
        const size_t serverEnd = leading + lengthOfRun(path, leading, false);
        const size_t share = serverEnd + lengthOfRun(path, serverEnd, true);
        const size_t shareEnd = share + lengthOfRun(path, share, false);
        if (shareEnd > share) {
            return shareEnd;
        }
    }
    return 1;
}

ModelPath modelOf(std::string_view path) {
    ModelPath model;
    const size_t end = rootEnd(path);
    model.isRooted = end != std::string_view::npos;
    if (model.isRooted) {
        model.root = weightsOf(path.substr(0, end));
        path.remove_prefix(end);
        path.remove_prefix(lengthOfRun(path, 0, true));
    }
    while (!path.empty()) {
        const size_t separators = lengthOfRun(path, 0, true);
        path.remove_prefix(separators);
        if (path.empty()) {
            break;  // trailing ones don't count
        }
        if (separators != 0) {
            model.rest.push_back(separatorWeight);
        }
        const size_t length = lengthOfRun(path, 0, false);
        const Tokens name = weightsOf(path.substr(0, length));
        model.rest.insert(model.rest.end(), name.begin(), name.end());
        path.remove_prefix(length);
    }
    return model;
}

int compareTokens(const Tokens& a, const Tokens& b) {
    for (size_t i = 0; i < a.size() && i < b.size(); ++i) {
        if (a[i] != b[i]) {
            return a[i] == separatorWeight ? -1 : b[i] == separatorWeight ? 1 : a[i] - b[i];
        }
    }
    return static_cast<int>(a.size() > b.size()) - static_cast<int>(a.size() < b.size());
}

int compareModels(const ModelPath& a, const ModelPath& b) {
    if (a.isRooted != b.isRooted) {
        return a.isRooted ? 1 : -1;
    }
    const int roots = compareTokens(a.root, b.root);
    return roots != 0 ? roots : compareTokens(a.rest, b.rest);
}

/// Makes paths from a few roots and pieces, and others that are similar.
class PathMaker {
public:
    std::string path() { return pick(pathRoots) + tail(4); }

    /// The same path, often with another spelling, and often with other text at its end.
    std::string alike(std::string path) {
        for (char& c : path) {
            if (isSeparator(c) && chance(4)) {
                c = c == '/' ? '\\' : '/';
            } else if (c >= 'a' && c <= 'z' && chance(4)) {
                c = static_cast<char>(c - 'a' + 'A');
            }
        }
        const size_t separator = path.find_last_of("/\\");
        if (separator != std::string::npos && chance(4)) {
            path.insert(separator, 1, '/');
        }
        if (chance(4)) {
            path.resize(path.size() - mRandom() % (path.size() + 1));
        }
        return chance(2) ? path + tail(2) : path;
    }

    bool chance(unsigned oneIn) { return mRandom() % oneIn == 0; }

private:
    using Texts = std::vector<std::string>;

    const std::string& pick(const Texts& texts) { return texts[mRandom() % texts.size()]; }

    std::string tail(size_t most) {
        std::string text;
        for (size_t i = mRandom() % (most + 1); i > 0; --i) {
            text += pick(pathPieces);
        }
        return text;
    }

    const Texts pathRoots = {"",     "",       "C:",        "c:/",    "\\",          "/",
                             "//",   "//s/x",  "\\/s//x",   "//s/x/", "///s/x",      "//s",
                             "a:\\", "/c",     "/cygdrive", "/x/y",   "/cygdrive/c", "\\cygdrive/c",
                             "1:",   "//s\\/", "//s//",     "//S/X\\"};
    const Texts pathPieces = {"a",
                              "B",
                              "s",
                              "x",
                              "/",
                              "\\",
                              "//",
                              "\xC3\xA9",
                              "\xC3\x89",
                              "\xC3",
                              "\xA9",
                              "\xF0\x9F\x98\x80",
                              "\xF0\x9F\x98",
                              "\xED\xA0\x80",
                              "0",
                              "'",
                              "!",
                              ":",
                              ".",
                              std::string(1, '\0')};
    std::mt19937 mRandom{20};  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same paths every time
};

void expectTheModelsOrder() {
    PathMaker maker;
    int equal = 0;
    for (int round = 0; round < 40000; ++round) {
        const std::string a = maker.path();
        const std::string b = maker.chance(8) ? maker.path() : maker.alike(a);
        const int expected = compareModels(modelOf(a), modelOf(b));
        ASSERT_EQ(comparePaths(a, b), expected)
            << testing::PrintToString(a) << " and " << testing::PrintToString(b);
        ASSERT_EQ(comparePaths(b, a), -expected)
            << testing::PrintToString(b) << " and " << testing::PrintToString(a);
        equal += expected == 0 ? 1 : 0;
    }
    EXPECT_GT(equal, 4000) << "else the paths are too unlike to show much";
}

TEST(PathOrderTest, RandomPathsHaveTheOrderOfTheModel) { expectTheModelsOrder(); }

TEST(PathOrderTest, RandomPathsHaveTheOrderOfTheModelInCygwinModeToo) {
    const CygwinScope cygwin;
    expectTheModelsOrder();
}

}  // namespace
