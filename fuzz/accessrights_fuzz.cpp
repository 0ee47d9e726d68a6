// The text of access masks. Input: mask, object type and kind, four bytes each with the lowest
// first, and then the stream: a byte of flags, one of width, one with the fill character. Missing
// bytes are 0.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ios>
#include <sstream>
#include <string>
#include <vector>

#include "util/accessrights.h"
#include "util/assertion.h"

namespace {

struct Input {
    uint32_t mask = 0;
    uint32_t objectType = 0;
    uint32_t kind = 0;
    uint8_t flags = 0;
    uint8_t width = 0;
    char fill = 0;
};

uint32_t takeNumber(std::string& bytes, size_t count) {
    uint32_t number = 0;
    for (size_t i = 0; i < count && i < bytes.size(); ++i) {
        number |= uint32_t{static_cast<uint8_t>(bytes[i])} << (8 * i);
    }
    bytes.erase(0, count);
    return number;
}

Input read(std::string bytes) {
    Input input;
    input.mask = takeNumber(bytes, 4);
    // Usually a type that has names.
    input.objectType = takeNumber(bytes, 4) % 16;
    input.kind = takeNumber(bytes, 4);
    input.flags = static_cast<uint8_t>(takeNumber(bytes, 1));
    input.width = static_cast<uint8_t>(takeNumber(bytes, 1));
    input.fill = static_cast<char>(takeNumber(bytes, 1));
    return input;
}

bool belongs(const AccessRight& right, const Input& input) {
    if (right.objectType != input.objectType) {
        return right.objectType == ObjectType::any;
    }
    return input.kind == ObjectKind::unknown || (right.kinds & input.kind) != 0;
}

std::string hexadecimal(uint32_t number) {
    std::ostringstream out;
    out << "0x" << std::hex << number;
    return out.str();
}

/// The expected text. Its names are found by repeatedly taking the first row that fits into the
/// rest of the mask.
std::string expected(const Input& input) {
    std::vector<std::string> words;
    uint32_t left = input.mask;
    const AccessRight* found = nullptr;
    do {
        found = nullptr;
        for (const AccessRight& right : accessRights()) {
            if (left != 0 && belongs(right, input) && (left | right.mask) == left) {
                found = &right;
                words.emplace_back(right.name);
                left -= right.mask;
                break;
            }
        }
    } while (found != nullptr);
    if (left != 0) {
        words.push_back(hexadecimal(left));
    }
    std::string text = hexadecimal(input.mask) + " [";
    for (size_t i = 0; i < words.size(); ++i) {
        text += (i == 0 ? "" : " ") + words[i];
    }
    return text + ']';
}

std::ios_base::fmtflags streamFlags(uint8_t bits) {
    std::ios_base::fmtflags flags{};
    flags |= (bits & 1) != 0 ? std::ios_base::showbase : flags;
    flags |= (bits & 2) != 0 ? std::ios_base::uppercase : flags;
    flags |= (bits & 4) != 0 ? std::ios_base::showpos : flags;
    flags |= (bits & 8) != 0 ? std::ios_base::hex : flags;
    flags |= (bits & 16) != 0 ? std::ios_base::oct : flags;
    flags |= (bits & 32) != 0 ? std::ios_base::left : flags;
    flags |= (bits & 64) != 0 ? std::ios_base::internal : flags;
    return flags;
}

void check(const Input& input) {
    const std::string text = expected(input);
    std::ostringstream out;
    out.flags(streamFlags(input.flags));
    out.width(input.width);
    out.fill(input.fill);
    writeAccessMask(out, input.mask, input.objectType, input.kind);
    NB_ASSERT((out.flags() & std::ios_base::basefield) == std::ios_base::dec);
    NB_ASSERT(out.width() == 0);

    const size_t padding = input.width > text.size() ? input.width - text.size() : 0;
    const bool isLeft = (out.flags() & std::ios_base::adjustfield) == std::ios_base::left;
    const std::string blanks(padding, input.fill);
    NB_ASSERT(out.str() == (isLeft ? text + blanks : blanks + text));
}

void checkFlags(uint32_t bits) {
    std::ostringstream out;
    writeAceFlags(out, bits);
    writeDescriptorControl(out, bits);
    size_t names = 0;
    for (const auto table : {aceFlagNames(), descriptorControlNames()}) {
        for (const NamedValue& bit : table) {
            names += (bits & bit.value) != 0 ? 1 : 0;
        }
    }
    const std::string text = out.str();
    size_t blanks = 0;
    for (const char c : text) {
        blanks += c == ' ' ? 1 : 0;
    }
    NB_ASSERT(blanks == names + (bits == 0 ? 1 : 0));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Input input = read(std::string(reinterpret_cast<const char*>(data), size));
    check(input);
    checkFlags(input.mask);
    for (const auto name : {aceTypeName, accessModeName, sidUseName, trusteeTypeName}) {
        const char* const text = name(input.kind % 32);
        NB_ASSERT(text == nullptr || std::strlen(text) > 3);
    }
    return 0;
}
