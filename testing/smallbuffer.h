#pragma once

#include <cstddef>
#include <streambuf>
#include <string>

namespace testing_support {

/// A stream's buffer that takes so many characters and no more.
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

/// A stream's buffer that refuses one character, the one at this index, and takes all others.
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

/// A stream's buffer that takes so many characters and throws at the next.
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
