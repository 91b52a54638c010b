/// Short texts compared and loaded by whole words (SWAR). Names and values are short, so that a call of memcmp costs
/// more than its work.
#pragma once

#include <component/platform/words.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace arbor::module {

using platform::Broadcast;
using platform::FirstMatch;
using platform::Load;
using platform::MatchBelow;
using platform::MatchByte;
using platform::Word;

/// Loads `count` bytes, 1 to 7, padded with zeros: as two halves that may overlap.
[[nodiscard]] inline Word LoadPartial(const char* data, std::size_t count) {
    using Half = std::uint32_t;
    if (count >= sizeof(Half)) {
        const std::size_t second = count - sizeof(Half);
        return Load<Half>(data) | Word{Load<Half>(data + second)} << 8 * second;
    }
    const auto byteAt = [data](std::size_t index) { return Word{static_cast<std::uint8_t>(data[index])} << 8 * index; };
    return byteAt(0) | byteAt(count / 2) | byteAt(count - 1);
}

/// Whether the first and the last `sizeof(Unsigned)` of `count` bytes are equal; the two may overlap.
template <class Unsigned>
[[nodiscard]] bool SameEnds(const char* a, const char* b, std::size_t count) {
    const std::size_t second = count - sizeof(Unsigned);
    return ((Load<Unsigned>(a) ^ Load<Unsigned>(b)) | (Load<Unsigned>(a + second) ^ Load<Unsigned>(b + second))) == 0;
}

[[nodiscard]] constexpr bool SameBytes(const char* a, const char* b, std::size_t count) {
    if (std::is_constant_evaluated()) return std::string_view(a, count) == std::string_view(b, count);
    if (count >= 4 && count <= 8) return SameEnds<std::uint32_t>(a, b, count);
    if (count > 8 && count <= 16) return SameEnds<Word>(a, b, count);
    return std::memcmp(a, b, count) == 0;
}

}   // namespace arbor::module
