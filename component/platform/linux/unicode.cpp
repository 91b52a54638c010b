#include "unicode.h"

namespace platform {
namespace {

constexpr char32_t kLastCharacter = 0x10FFFF;

bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

/// The forms of a sequence: what marks its first byte, and the least character that may take so many bytes.
struct SequenceForm {
    std::uint8_t mask;
    std::uint8_t lead;
    char32_t least;
};

constexpr SequenceForm kForms[] = {
    {0x80, 0x00, 0x0},
    {0xE0, 0xC0, 0x80},
    {0xF0, 0xE0, 0x800},
    {0xF8, 0xF0, 0x10000},
};

}   // namespace

char32_t TakeUtf16(const char16_t*& text) {
    const char32_t first = *text++;
    if (IsLowSurrogate(first)) return kNoCharacter;
    if (!IsHighSurrogate(first)) return first;
    if (!IsLowSurrogate(*text)) return kNoCharacter;   // the terminator ends here too
    return 0x10000 + ((first - 0xD800) << 10) + (*text++ - 0xDC00U);
}

char32_t TakeUtf8(std::string_view& text) {
    const auto first = static_cast<std::uint8_t>(text.front());
    std::size_t lengthBytes = 1;
    for (const SequenceForm& form : kForms) {
        if ((first & form.mask) != form.lead) {
            ++lengthBytes;
            continue;
        }
        if (text.size() < lengthBytes) return kNoCharacter;
        char32_t character = first & static_cast<std::uint8_t>(~form.mask);
        for (const char unit : text.substr(1, lengthBytes - 1)) {
            const auto byte = static_cast<std::uint8_t>(unit);
            if ((byte & 0xC0) != 0x80) return kNoCharacter;
            character = (character << 6) | (byte & 0x3FU);
        }
        const bool isSurrogate = IsHighSurrogate(character) || IsLowSurrogate(character);
        if (character < form.least || character > kLastCharacter || isSurrogate) return kNoCharacter;
        text.remove_prefix(lengthBytes);
        return character;
    }
    return kNoCharacter;
}

std::size_t PutUtf8(char32_t character, std::span<char, 4> target) {
    std::size_t lengthBytes = std::size(kForms);
    while (lengthBytes > 1 && character < kForms[lengthBytes - 1].least) --lengthBytes;
    for (std::size_t at = lengthBytes - 1; at > 0; --at) {
        target[at] = static_cast<char>(0x80 | (character & 0x3F));
        character >>= 6;
    }
    target[0] = static_cast<char>(kForms[lengthBytes - 1].lead | character);
    return lengthBytes;
}

std::size_t PutUtf16(char32_t character, std::span<char16_t, 2> target) {
    if (character < 0x10000) {
        target[0] = static_cast<char16_t>(character);
        return 1;
    }
    target[0] = static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10));
    target[1] = static_cast<char16_t>(0xDC00 + (character & 0x3FF));
    return 2;
}

}   // namespace platform
