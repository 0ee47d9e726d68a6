#include "clearcase/fakeconfiguration.h"

#include <cstddef>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "clearcase/elementtypes.h"
#include "testing/alltexts.h"
#include "testing/configurationproperty.h"
#include "testing/portablefake.h"

namespace {

using namespace testing_support;
using namespace std::string_literals;

using Kind = ConfigurationCall::Kind;

/// What `call` throws.
template <class Call>
std::string refusalOf(Call call) {
    try {
        FakeConfiguration configuration;
        call(configuration);
    } catch (const std::invalid_argument& refusal) {
        return refusal.what();
    }
    return "nothing was thrown";
}

std::string refusedPath(const std::string& path) {
    return refusalOf([&](FakeConfiguration& c) { c.element(path, elementVersion); });
}

TEST(FakeConfigurationTest, WithoutACallThereIsNoText) {
    EXPECT_EQ(FakeConfiguration().text(), "");
}

TEST(FakeConfigurationTest, EachCallIsALineOfItsSection) {
    FakeConfiguration configuration;
    configuration.element("C:/src/a.c", elementVersion).link("C:\\src\\l", "..\\target");
    configuration.vob("\\vobs\\tools").vob("/vobs/gui").element("//srv/sh/b", elementNull);
    EXPECT_EQ(configuration.text(),
              "[attrs]\nC:/src/a.c=*version\nC:\\src\\l=..\\target*symbolic_link\n"
              "[vobs]\n\\vobs\\tools=\n/vobs/gui=\n[attrs]\n//srv/sh/b=*null\n");
}

TEST(FakeConfigurationTest, EachTypeHasTheNameThatTheReaderKnows) {
    for (const ElementTypeName* entry = elementTypeNames; entry->name != nullptr; ++entry) {
        EXPECT_STREQ(fakeconfiguration::typeName(entry->type), entry->name);
    }
}

TEST(FakeConfigurationTest, TheLaterCallCountsWhateverTheSpelling) {
    FakeConfiguration configuration;
    configuration.element("C:\\src\\a.c", elementVersion).element("C:/src/./a.c", elementNull);
    EXPECT_EQ(readBack(configuration.text()).elements.at("C:\\src\\a.c").first, elementNull);
}

TEST(FakeConfigurationTest, AHostIsAnsweredWhatWasSaid) {
    FakeConfiguration said;
    said.element("C:/src/a.c", elementVersion).link("C:/src/l", "..\\x = y ");
    const FakeWorld world;
    PortableFake fake(said.text(), world);
    std::string version;
    std::string target;
    EXPECT_EQ(fake.getElementStatus("C:\\src\\a.c", &version, &target), elementVersion);
    EXPECT_EQ(version, "/main/0");
    EXPECT_EQ(fake.getElementStatus("C:\\src\\l", &version, &target), elementSymbolicLink);
    EXPECT_EQ(target, "C:\\src/..\\x = y ");
    EXPECT_EQ(fake.getError(), "");
}

TEST(FakeConfigurationTest, ARefusedPathIsNamedWithTheReason) {
    EXPECT_EQ(refusedPath("C:/a=b"), "the path has a '=', which ends it: C:/a=b");
    EXPECT_EQ(refusedPath("C:/a\nb"), "the path has a line feed, which ends the line: C:/a\nb");
    EXPECT_EQ(refusedPath("C:/\x1a"), "the path has a Ctrl+Z, which ends the file: C:/\x1a");
    EXPECT_EQ(refusedPath("C:/a\0b"s),
              "the path has a null character, and no host can ask for it: C:/a");
    EXPECT_EQ(refusedPath(";:/a"), "the path begins like a comment: ;:/a");
    EXPECT_EQ(refusedPath("# C:/a"), "the path begins like a comment: # C:/a");
    EXPECT_EQ(refusedPath("[:/a"), "the path begins like the header of a section: [:/a");
    EXPECT_EQ(refusedPath(" C:/a"), "the path begins with white space, which is removed:  C:/a");
}

TEST(FakeConfigurationTest, ARelativePathIsRefused) {
    const std::string reason =
        "the path isn't absolute and would stop the host; begin with a drive, or with a server "
        "and a share: ";
    for (const char* path : {"", "src\\a.c", "\\src\\a.c", "/", "//", "\\\\srv", "//srv/", ":", "C",
                             "/:a", "/srv/sh"}) {
        EXPECT_EQ(refusedPath(path), reason + path);
    }
    for (const char* path : {"C:", "c:a", "1:x", "::", "\\\\srv\\sh", "//srv\\\\sh/a", "///s/h"}) {
        EXPECT_EQ(refusedPath(path), "nothing was thrown") << path;
    }
}

TEST(FakeConfigurationTest, ALinkTextWithAStarIsRefused) {
    const auto refusedText = [](const std::string& text) {
        return refusalOf([&](FakeConfiguration& c) { c.link("C:/l", text); });
    };
    EXPECT_EQ(refusedText("a*b"), "the text of the link has a '*', which ends it: a*b");
    EXPECT_EQ(refusedText("a\nb"),
              "the text of the link has a line feed, which ends the line: a\nb");
    EXPECT_EQ(refusedText("\x1a"), "the text of the link has a Ctrl+Z, which ends the file: \x1a");
    for (const char* text : {"", " a = b ", ";#[", "..\\x"}) {
        EXPECT_EQ(refusedText(text), "nothing was thrown") << text;
    }
    EXPECT_EQ(refusalOf([](FakeConfiguration& c) { c.link("l", "x"); }), refusedPath("l"));
}

TEST(FakeConfigurationTest, ATagIsRefusedLikeTheStartOfALine) {
    const auto refusedTag = [](const std::string& tag) {
        return refusalOf([&](FakeConfiguration& c) { c.vob(tag); });
    };
    EXPECT_EQ(refusedTag("\\a=b"), "the VOB tag has a '=', which ends it: \\a=b");
    EXPECT_EQ(refusedTag("#a"), "the VOB tag begins like a comment: #a");
    EXPECT_EQ(refusedTag("\\a\n"), "the VOB tag has a line feed, which ends the line: \\a\n");
    for (const char* tag : {"", "a", "\\vobs\\a b ", "/a;b"}) {
        EXPECT_EQ(refusedTag(tag), "nothing was thrown") << tag;
    }
}

TEST(FakeConfigurationTest, ANumberThatIsNoTypeIsRefused) {
    const auto refusedType = [](int type) {
        return refusalOf(
            [&](FakeConfiguration& c) { c.element("C:/a", static_cast<ElementType>(type)); });
    };
    EXPECT_EQ(refusedType(9), "no element has the type 9");
    EXPECT_EQ(refusedType(-2), "no element has the type -2");
    EXPECT_EQ(refusedType(-1), "nothing was thrown");
}

TEST(FakeConfigurationTest, ARefusalChangesNothing) {
    FakeConfiguration configuration;
    configuration.vob("\\a");
    const std::string before = configuration.text();
    EXPECT_THROW(configuration.element("a", elementVersion), std::invalid_argument);
    EXPECT_THROW(configuration.link("C:/l", "*"), std::invalid_argument);
    EXPECT_THROW(configuration.vob("="), std::invalid_argument);
    EXPECT_EQ(configuration.text(), before);
    configuration.vob("\\b");
    EXPECT_EQ(configuration.text(), "[vobs]\n\\a=\n\\b=\n");
}

TEST(FakeConfigurationPropertyTest, EachShortTextComesBackOrIsRefusedRightly) {
    const std::string letters = "C:/\\=* ;#[\r\n\x1a\0.a"s;
    for (size_t length = 0; length <= 3; ++length) {
        forAllTexts(letters, length, [&](const std::string& text) {
            const std::vector<ConfigurationCall> calls = {
                {.kind = Kind::element, .path = text},
                {.kind = Kind::element, .path = "C:/" + text},
                {.kind = Kind::element, .path = "//s/h" + text},
                {.kind = Kind::link, .path = "C:/l", .text = text},
                {.kind = Kind::vob, .path = text}};
            ASSERT_EQ(againstTheProperty(calls), "");
        });
    }
}

TEST(FakeConfigurationPropertyTest, TwoLinesWithTheKeyOfOneAreRefused) {
    // The second line replaces the element of the first, and the whole has the same key.
    ASSERT_EQ(elementKey("C:/=\nC:/.."), elementKey("C:/"));
    EXPECT_EQ(againstTheProperty({{.path = "C:/=\nC:/.."}}), "");
}

TEST(FakeConfigurationPropertyTest, RandomCallsComeBackOrAreRefusedRightly) {
    const std::vector<std::string> pieces = {
        "C:",      "c:/",     "//s/h", "\\",  "/",    "a",        "B",
        ".",       "..",      "/../",  "=",   "*",    "\n",       "\r",
        " ",       "\t",      "\v",    "\f",  ";",    "#",        "[attrs]",
        "[",       ":",       "\x1a",  "\0"s, "\xa0", "\xc3\xa9", "\xef\xbb\xbf",
        "version", "*version"};
    std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp)
    const auto text = [&](size_t most) {
        std::string result;
        for (size_t count = random() % (most + 1); count > 0; --count) {
            result += pieces[random() % pieces.size()];
        }
        return result;
    };
    for (int round = 0; round < 20000; ++round) {
        std::vector<ConfigurationCall> calls(random() % 6);
        for (ConfigurationCall& call : calls) {
            call.kind = static_cast<Kind>(random() % 3);
            call.type = static_cast<ElementType>(static_cast<int>(random() % 12) - 2);
            call.path = (random() % 2 == 0 ? "C:/" : "") + text(5);
            call.text = text(4);
        }
        ASSERT_EQ(againstTheProperty(calls), "");
    }
}

}  // namespace
