/// Eight bytes of a text side by side in one number, for looks at all of them at once: the texts of a store are short,
/// and a call of the system's search or comparison would cost more than its work.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace arbor {

using Octet = std::uint64_t;

/// The first byte in memory is the lowest of the number: what stands first in a text is found first.
static_assert(std::endian::native == std::endian::little);

template <class Bytes>
Bytes Load(const char* from) {
    Bytes bytes;
    std::memcpy(&bytes, from, sizeof bytes);
    return bytes;
}

constexpr Octet Each(char byte) { return Octet{0x0101010101010101} * static_cast<unsigned char>(byte); }

/// Marks by its top bit each byte that lies below `limit`, 0x80 at most. A byte above one that is marked may be marked
/// too, whatever it is, so that the lowest mark alone says where something stands.
constexpr Octet MarkBelow(Octet bytes, char limit) { return (bytes - Each(limit)) & ~bytes & Each('\x80'); }

/// The same for each byte that is `wanted`.
constexpr Octet MarkByte(Octet bytes, char wanted) { return MarkBelow(bytes ^ Each(wanted), 1); }

/// One to seven bytes, with zeroes behind them: both ends and the middle, which may overlap.
inline Octet LoadFew(const char* data, std::size_t count) {
    using Half = std::uint32_t;
    if (count >= sizeof(Half)) {
        const std::size_t place = count - sizeof(Half);
        return Load<Half>(data) | Octet{Load<Half>(data + place)} << 8 * place;
    }
    const auto byteAt = [data](std::size_t place) {
        return Octet{static_cast<std::uint8_t>(data[place])} << 8 * place;
    };
    return byteAt(0) | byteAt(count / 2) | byteAt(count - 1);
}

/// Whether the two ends of that width, which may overlap, are the same in both.
template <class Bytes>
bool SameEnds(const char* a, const char* b, std::size_t count) {
    const std::size_t place = count - sizeof(Bytes);
    return ((Load<Bytes>(a) ^ Load<Bytes>(b)) | (Load<Bytes>(a + place) ^ Load<Bytes>(b + place))) == 0;
}

/// Whether `count` bytes are the same.
constexpr bool SameBytes(const char* a, const char* b, std::size_t count) {
    if (std::is_constant_evaluated()) return std::string_view(a, count) == std::string_view(b, count);
    if (count >= 4 && count <= 8) return SameEnds<std::uint32_t>(a, b, count);
    if (count > 8 && count <= 16) return SameEnds<Octet>(a, b, count);
    return std::memcmp(a, b, count) == 0;
}

/// The place of the lowest mark; there must be one.
constexpr std::size_t FirstMark(Octet marks) { return static_cast<std::size_t>(std::countr_zero(marks)) / 8; }

}   // namespace arbor
