/// Names of keys and values: bytes kept as they came, compared without regard to the case of ASCII letters.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace arbor {

/// A name and its length; one at rest has a terminator behind it. Owns nothing: whoever holds it knows the block.
struct NameRange {
    const char* text = "";
    std::uint32_t length = 0;

    [[nodiscard]] bool IsEmpty() const { return length == 0; }
    [[nodiscard]] std::string_view View() const { return {text, length}; }
};

/// A name with its hash, which is computed once and kept: what the indexes store and look up.
struct HashedName {
    NameRange name;
    std::uint32_t hash = 0;
};

/// Each byte as a signed number, upper-case ASCII letters as their lower-case ones. No locale has a say in it: names
/// that are equal must hash alike on every thread.
inline constexpr std::array<std::int8_t, 256> kFoldedBytes = [] {
    std::array<std::int8_t, 256> table{};
    for (int byte = 0; byte < 256; ++byte) {
        const bool upper = byte >= 'A' && byte <= 'Z';
        table[static_cast<std::size_t>(byte)] = static_cast<std::int8_t>(upper ? byte + ('a' - 'A') : byte);
    }
    return table;
}();

[[nodiscard]] constexpr std::int32_t FoldByte(char byte) { return kFoldedBytes[static_cast<unsigned char>(byte)]; }

/// A chain of the 32-bit hash combination over the folded bytes, starting from 0. The same on every machine, never
/// stored.
[[nodiscard]] constexpr std::uint32_t NameHash(std::string_view name) {
    std::uint32_t seed = 0;
    for (const char byte : name) {
        std::uint32_t x = seed + 0x9E3779B9U + static_cast<std::uint32_t>(FoldByte(byte));
        x = (x ^ (x >> 16)) * 0x21F0AAADU;
        x = (x ^ (x >> 15)) * 0x735A2D97U;
        seed = x ^ (x >> 15);
    }
    return seed;
}

[[nodiscard]] constexpr bool NameEquals(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i] != b[i] && FoldByte(a[i]) != FoldByte(b[i])) return false;
    }
    return true;
}

/// The name's hash and text as a key to look up by. The text must outlive it.
[[nodiscard]] inline HashedName HashName(std::string_view name) {
    return {{name.data(), static_cast<std::uint32_t>(name.size())}, NameHash(name)};
}

}   // namespace arbor
