/// SWAR ("SIMD within a register"): eight bytes of a text in one 64-bit word, compared at once, on any processor.
///
/// A match is a word whose top bits mark the matching bytes. Only its lowest mark is exact: a byte above it may be
/// marked although it doesn't match.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace platform {

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

/// Matches the bytes equal to `wanted`.
[[nodiscard]] constexpr Word MatchByte(Word word, char wanted) { return MatchBelow(word ^ Broadcast(wanted), 1); }

/// Returns the index of the first matching byte. `match` must not be 0.
[[nodiscard]] constexpr std::size_t FirstMatch(Word match) {
    return static_cast<std::size_t>(std::countr_zero(match)) / 8;
}

/// A group of bytes that are compared at once, as `byte_group.h` describes it.
class WordGroup {
public:
    static constexpr std::size_t kSizeBytes = sizeof(Word);

    explicit WordGroup(const char* from) : word(Load<Word>(from)) {}

    template <class... Bytes>
    [[nodiscard]] Word Match(Bytes... wanted) const {
        return (MatchByte(word, wanted) | ...);
    }

    [[nodiscard]] static std::size_t First(Word match) { return FirstMatch(match); }

private:
    Word word;
};

}   // namespace platform
