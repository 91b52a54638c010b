/// SWAR ("SIMD within a register"): eight bytes of a text in one 64-bit word, tested or compared at once. Names and
/// values are short, so that a call of memchr or memcmp costs more than its work.
///
/// A match is a word whose top bits mark the matching bytes. Only its lowest mark is exact: a byte above it may be
/// marked although it doesn't match.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace arbor::module {

using Word = std::uint64_t;

/// The first byte in memory is the lowest of the word, so that the lowest mark is the first match.
static_assert(std::endian::native == std::endian::little);

/// Loads an unsigned integer from unaligned memory.
template <class Unsigned>
[[nodiscard]] Unsigned Load(const char* from) {
    Unsigned number;
    std::memcpy(&number, from, sizeof number);
    return number;
}

[[nodiscard]] constexpr Word Broadcast(char byte) {
    return Word{0x0101010101010101} * static_cast<unsigned char>(byte);
}

/// Matches the bytes below `limit`, which is at most 0x80.
[[nodiscard]] constexpr Word MatchBelow(Word word, char limit) {
    return (word - Broadcast(limit)) & ~word & Broadcast('\x80');
}

[[nodiscard]] constexpr Word MatchByte(Word word, char wanted) { return MatchBelow(word ^ Broadcast(wanted), 1); }

/// Returns the index of the first matching byte. `match` must not be 0.
[[nodiscard]] constexpr std::size_t FirstMatch(Word match) {
    return static_cast<std::size_t>(std::countr_zero(match)) / 8;
}

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
