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

}  // namespace testing_support
