// Conversion between UTF-8 and 16-bit units. It has a decoder of its own, since `platform::ReadUtf8` is stricter: this
// one accepts surrogates and overlong sequences, never checks continuation bytes and reads no sequence of four bytes.

#include "tree/value/utf8.h"

#include <component/platform/unicode.h>

namespace arbor::module {
namespace {

constexpr std::uint8_t kReplacement = '?';

constexpr char16_t Unit(unsigned bits) { return static_cast<char16_t>(bits); }

}   // namespace

std::int32_t DecodeUtf8(const char* source, std::uint32_t size, char16_t* target, std::uint32_t limit) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(source);
    std::uint32_t count = 0;
    for (std::uint32_t at = 0; at < size; ++count) {
        if (count == limit) return -1;
        const unsigned lead = bytes[at];
        const std::uint32_t left = size - at;
        if (lead < 0x80) {
            target[count] = Unit(lead);
            at += 1;
        } else if ((lead & 0xE0) == 0xC0) {
            const unsigned next = left > 1 ? bytes[at + 1] : kReplacement;
            target[count] = Unit((lead & 0x1F) << 6 | (next & 0x3F));
            at += left > 1 ? 2 : 1;
        } else if ((lead & 0xF0) == 0xE0) {
            const bool whole = left > 2;
            target[count] = whole ? Unit((lead & 0x0F) << 12 | (bytes[at + 1] & 0x3FU) << 6 | (bytes[at + 2] & 0x3FU))
                                  : kReplacement;
            at += whole ? 3 : left;
        } else {
            target[count] = kReplacement;
            at += 1;
        }
    }
    return static_cast<std::int32_t>(count);
}

std::uint64_t Utf8Length(const char16_t* source, std::uint32_t length) {
    std::uint64_t bytes = 0;
    for (std::uint32_t i = 0; i < length; ++i) bytes += platform::Utf8Length(source[i]);
    return bytes;
}

char* EncodeUtf8(const char16_t* source, std::uint32_t length, char* target) {
    for (std::uint32_t i = 0; i < length; ++i) target = platform::WriteUtf8(source[i], target);
    return target;
}

}   // namespace arbor::module
