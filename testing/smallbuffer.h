#pragma once

#include <cstddef>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>

namespace testing_support {

/// A stream buffer that accepts a given number of characters and no more.
class SmallBuffer : public std::streambuf {
public:
    explicit SmallBuffer(size_t room) : mRoom(room) {}
    std::string text;

protected:
    int_type overflow(int_type c) override {
        if (text.size() == mRoom) {
            return traits_type::eof();
        }
        text += traits_type::to_char_type(c);
        return c;
    }

private:
    size_t mRoom;
};

/// A stream buffer that refuses one character, the one at this index, and accepts all others.
class RefusingBuffer : public std::streambuf {
public:
    explicit RefusingBuffer(size_t refused) : mRefused(refused) {}
    std::string text;

protected:
    int_type overflow(int_type c) override {
        if (mCount++ == mRefused) {
            return traits_type::eof();
        }
        text += traits_type::to_char_type(c);
        return c;
    }

private:
    size_t mRefused;
    size_t mCount = 0;
};

/// A stream buffer that counts how often it is flushed.
class FlushCounter : public std::streambuf {
public:
    int flushes = 0;

protected:
    int sync() override {
        ++flushes;
        return 0;
    }
};

/// Returns whether writing to a stream flushes the one that it is tied to. Every inserter that
/// creates a sentry does.
template <class Inserted>
bool flushesTied(const Inserted& inserted) {
    FlushCounter counter;
    std::ostream tied(&counter);
    std::ostringstream out;
    out.tie(&tied);
    out << inserted;
    return counter.flushes != 0;
}

/// A stream buffer that accepts a given number of characters and throws at the next one.
class ThrowingBuffer : public std::streambuf {
public:
    struct Full {};
    explicit ThrowingBuffer(size_t room) : mRoom(room) {}
    std::string text;

protected:
    int_type overflow(int_type c) override {
        if (text.size() == mRoom) {
            throw Full();
        }
        text += traits_type::to_char_type(c);
        return c;
    }

private:
    size_t mRoom;
};

}  // namespace testing_support
