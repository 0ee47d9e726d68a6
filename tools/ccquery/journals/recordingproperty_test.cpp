#include "testing/recordingproperty.h"

#include <random>

#include <gtest/gtest.h>

#include "tools/ccquery/configurationlines.h"

namespace {

using namespace ccquery;
using namespace testing_support;
using Texts = std::vector<std::string>;

/// Makes hosts at random, from texts with which the rules of the formats meet.
class RandomHosts {
public:
    explicit RandomHosts(unsigned seed) : mRandom(seed) {}

    RecordedHosts make() {
        RecordedHosts hosts;
        hosts.viewRoots = {std::nullopt};
        for (size_t i = 0; i < 3; ++i) {
            hosts.viewRoots.emplace_back(oneOf({"", "V", "C:\\v", "C:\\", "\\\\s\\v\\"}));
        }
        hosts.world.mvfsRoot = oneOf({"", "M:"});
        hosts.world.views = {{"X:", "one"}, {"Y:", oneOf({"one", "two"})}};
        hosts.configuration = configuration();
        for (int i = 0; i < 4; ++i) {
            using File = FakeWorld::File;
            hosts.world.disk[elementKey(path())] =
                std::vector{File::folder, File::readOnly, File::writable}[number(3)];
        }
        for (int i = 0; i < 40; ++i) {
            hosts.questions.emplace_back(number(hosts.viewRoots.size()), question());
        }
        return hosts;
    }

private:
    size_t number(size_t below) { return mRandom() % below; }
    std::string oneOf(const Texts& texts) { return texts[number(texts.size())]; }

    std::string path() {
        return oneOf({"C:", "c:", "C:\\", "C:/", "\\\\s\\v\\", ";:\\", " :/", "C:\\v\\", "[:"}) +
               oneOf({"a", "a/b", "a\\..\\b", "b=c", "", "A", "a ", "a\nb", "a\x1a", "./a*b",
                      "\xff", "VC:\\a", "C:\\a"});
    }

    std::string text() {
        return oneOf(
            {"", "b", "..\\b", "C:\\z", "\\z", " b", "b ", "/main/3", "x=y", "z\xa0", "/b"});
    }

    std::string configuration() {
        std::string lines;
        for (int i = 0; i < 12; ++i) {
            lines += line() + oneOf({"\n", "\r\n", " \n"});
        }
        const ConfigurationLines read(lines, "");
        std::string kept;
        for (const ConfigurationLine& readLine : read.lines()) {
            if (readLine.kind != LineKind::relativePath) {
                kept.append(readLine.text).append(1, '\n');
            }
        }
        return kept;
    }

    std::string line() {
        switch (number(8)) {
            case 0:
                return "[attrs]";
            case 1:
                return oneOf({"[vobs]", "[attrs]", "[Attrs]"});
            case 2:
                return oneOf({"\\vob", "/a", "a//b", " x"}) + oneOf({"=", "=ro", ""});
            case 3:
                return path() + "=" + text();
            default:
                return path() + "=" + text() + "*" +
                       oneOf({"version", "directory_version", "view_private", "symbolic_link",
                              "checked_out_file", "null", "unexpected", "nonsense"});
        }
    }

    JournalText before() {
        switch (number(4)) {
            case 0:
                return std::nullopt;
            case 1:
                return "before";
            default:
                return "";
        }
    }

    JournalLine question() {
        JournalLine asked;
        JournalFields& arguments = asked.arguments;
        asked.operation = std::vector{Operation::getElementStatus,
                                      Operation::getElementStatus,
                                      Operation::getElementStatus,
                                      Operation::getElementStatus,
                                      Operation::canonicalizeViewPath,
                                      Operation::getOutput,
                                      Operation::getError,
                                      Operation::getViewTag,
                                      Operation::probeVobs,
                                      Operation::getProductInfo,
                                      Operation::getMvfsDrives,
                                      Operation::startSession,
                                      Operation::isReady,
                                      Operation::killConnection}[number(14)];
        arguments.path = path();
        while (asked.operation == Operation::getElementStatus &&
               !isAbsolutePath(*arguments.path, windowsPaths)) {
            arguments.path = path();
        }
        arguments.version = before();
        arguments.target = before();
        arguments.cwd = oneOf({"C:\\", "X:\\vob", "M:\\one"});
        arguments.vobTags = {oneOf({"X:\\vob", "M:\\one\\vob"}), oneOf({"Y:", "M:\\two\\vob"})};
        arguments.root = oneOf({"", "c:\\r", "\\\\s\\r", "c:/r/"});
        if (number(2) == 0) {
            arguments.results = {{"before", vobReadOnly}};
            arguments.info = {{"product", "before"}, {"more", "x"}};
            arguments.drives = {{"Z:", "before"}};
        }
        return asked;
    }

    std::mt19937 mRandom;
};

TEST(RecordingPropertyTest, WhatARecordingDoesNotRepeatIsAnnounced) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        ASSERT_EQ(unannouncedDifference(RandomHosts(seed).make()), "") << seed;
    }
}

}  // namespace
