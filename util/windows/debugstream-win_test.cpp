#include "util/windows/debugstream-win.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <iomanip>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "testing/calls/debugoutput-win.h"
#include "testing/calls/memoryshortage-win.h"
#include "testing/calls/systemmessage-win.h"

namespace {

using namespace testing_support;
using Texts = std::vector<std::string>;

/// Reports when it is deleted.
template <class Base>
class Probe : public Base {
public:
    explicit Probe(bool* deleted) : mDeleted(deleted) {}
    ~Probe() override { *mDeleted = true; }

private:
    bool* mDeleted;
};

class EmptyStreambuf : public std::streambuf {};

TEST(DebugStreamTest, TextWithoutALineEndIsHandedOverWhenTheStreamGoes) {
    const DebugOutput output;
    DebugStream() << "x";
    EXPECT_EQ(output.texts(), Texts{"x"});
}

TEST(DebugStreamTest, TextIsHandedOverWhenAStreamThatHasGoneBadGoes) {
    const DebugOutput output;
    {
        DebugStream stream;
        const char* const missing = nullptr;
        stream << "before " << missing << "after" << std::endl;
        EXPECT_TRUE(stream.bad());
        EXPECT_TRUE(output.texts().empty());
    }
    EXPECT_EQ(output.texts(), Texts{"before "});
}

TEST(DebugStreamTest, AStreamWithoutABufferGoesQuietly) {
    const DebugOutput output;
    {
        DebugStream stream;
        delete stream.rdbuf(nullptr);
    }
    EXPECT_TRUE(output.texts().empty());
}

TEST(DebugStreamTest, NothingIsHandedOverBeforeAFlush) {
    const DebugOutput output;
    DebugStream stream;
    stream << "x\n";
    EXPECT_TRUE(output.texts().empty());
}

TEST(DebugStreamTest, AnEmptyFlushMakesNoCall) {
    const DebugOutput output;
    {
        DebugStream stream;
        stream.flush();
        stream << "" << std::flush;
    }
    EXPECT_TRUE(output.texts().empty());
}

TEST(DebugStreamTest, TextThatWasFlushedIsNotHandedOverAgain) {
    const DebugOutput output;
    {
        DebugStream stream;
        stream << "first" << std::endl;
        stream << "second" << std::flush;
        stream.flush();
        stream << "third";
    }
    EXPECT_EQ(output.texts(), (Texts{"first\n", "second", "third"}));
}

TEST(DebugStreamTest, SeveralLinesGoOutAsOneTextAsTheyAre) {
    const DebugOutput output;
    DebugStream() << "one\ntwo\r\n\n" << 3 << " " << std::hex << 255 << std::endl;
    EXPECT_EQ(output.texts(), Texts{"one\ntwo\r\n\n3 ff\n"});
}

TEST(DebugStreamTest, ALongTextGoesOutInOneCall) {
    const DebugOutput output;
    const std::string text(100000, 'y');
    DebugStream() << text;
    EXPECT_EQ(output.texts(), Texts{text});
}

TEST(DebugStreamTest, ASyncAlwaysSucceeds) {
    const DebugOutput output;
    DebugStreambuf buffer;
    EXPECT_EQ(buffer.pubsync(), 0);
    buffer.sputn("text", 4);
    EXPECT_EQ(buffer.pubsync(), 0);
    EXPECT_EQ(buffer.str(), "");
    EXPECT_EQ(output.texts(), Texts{"text"});
}

TEST(DebugStreamTest, ABufferThatGoesHandsNothingOverByItself) {
    const DebugOutput output;
    { DebugStreambuf().sputn("text", 4); }
    EXPECT_TRUE(output.texts().empty());
}

TEST(DebugStreamTest, TheStringBufferOfTheStreamIsDeletedWithIt) {
    bool deleted = false;
    {
        DebugStream stream;
        delete stream.rdbuf(new Probe<DebugStreambuf>(&deleted));
    }
    EXPECT_TRUE(deleted);
}

TEST(DebugStreamTest, ABufferThatIsNoStringBufferIsLeftAlone) {
    bool deleted = false;
    Probe<EmptyStreambuf> other(&deleted);
    {
        DebugStream stream;
        delete stream.rdbuf(&other);
    }
    EXPECT_FALSE(deleted);
}

TEST(DebugStreamTest, StreamsOfSeveralThreadsDoNotMixTheirTexts) {
    const DebugOutput output;
    constexpr size_t lines = 100;
    const Texts words{"alpha", "beta", "gamma", "delta"};
    std::vector<std::thread> threads;
    threads.reserve(words.size());
    for (const std::string& word : words) {
        threads.emplace_back([&word] {
            for (size_t line = 0; line < lines; ++line) {
                DebugStream() << word[0] << word.substr(1) << std::endl;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const Texts texts = output.texts();
    EXPECT_EQ(texts.size(), lines * words.size());
    for (const std::string& word : words) {
        EXPECT_EQ(std::count(texts.begin(), texts.end(), word + "\n"),
                  static_cast<std::ptrdiff_t>(lines));
    }
}

TEST(DebugFailureTest, AFailedCallIsReportedAsAnExceptionsTextInOneLine) {
    const DebugOutput output;
    const SystemMessage none(L"");
    SetLastError(126);
    debugFailure("FreeLibrary");
    EXPECT_EQ(output.texts(), Texts{"FreeLibrary: Windows error 126 (126)\n"});
}

TEST(DebugFailureTest, ANumberThatTheCallReturnedTakesThePlaceOfTheLastError) {
    const DebugOutput output;
    const SystemMessage none(L"");
    SetLastError(126);
    debugFailure("RegCloseKey", 6);
    EXPECT_EQ(output.texts(), Texts{"RegCloseKey: Windows error 6 (6)\n"});
}

/// Reports failures with no memory, with one block, with two, and so on, up to more than is needed.
void reportWithLittleMemory() {
    const std::runtime_error failure("it broke with a text that is too long for a small place");
    debugFailure(failure);  // first, so that the runtime's one-time allocations are done
    debugFailure("FreeLibrary");
    for (int blocks = 0; blocks < 30; ++blocks) {
        const MemoryShortage shortage(blocks);
        debugFailure(failure);
    }
    for (int blocks = 0; blocks < 30; ++blocks) {
        const MemoryShortage shortage(blocks);
        debugFailure("FreeLibrary", 126);
    }
    std::fputs("reported or not", stderr);
    std::exit(0);
}

TEST(DebugFailureDeathTest, LackOfMemoryLosesTheLineAndNothingElse) {
    EXPECT_EXIT(reportWithLittleMemory(), testing::ExitedWithCode(0), "reported or not");
}

TEST(DebugFailureTest, AFailureThatWasCaughtIsReportedInOneLine) {
    const DebugOutput output;
    debugFailure(std::runtime_error("it broke"));
    EXPECT_EQ(output.texts(), Texts{"it broke\n"});
}

}  // namespace
