/// Names of keys and values: bytes kept as they came, compared without regard to the case of ASCII letters.
#pragma once

#include "tree/swar.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

namespace arbor::module {

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

/// One step of the hash.
[[nodiscard]] constexpr std::uint32_t HashByte(std::uint32_t seed, char byte) {
    std::uint32_t x = seed + 0x9E3779B9U + static_cast<std::uint32_t>(FoldByte(byte));
    x = (x ^ (x >> 16)) * 0x21F0AAADU;
    x = (x ^ (x >> 15)) * 0x735A2D97U;
    return x ^ (x >> 15);
}

/// Combines the folded bytes one by one, starting from 0. The same on every machine; never stored.
[[nodiscard]] constexpr std::uint32_t NameHash(std::string_view name) {
    std::uint32_t seed = 0;
    for (const char byte : name) seed = HashByte(seed, byte);
    return seed;
}

/// Equal names mostly have equal letters: bytes are folded only where some differ.
[[nodiscard]] constexpr bool NameEquals(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    if (SameBytes(a.data(), b.data(), a.size())) return true;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i] != b[i] && FoldByte(a[i]) != FoldByte(b[i])) return false;
    }
    return true;
}

/// A few names that are hashed together: in one chain each multiplication waits for the one before, while several
/// chains side by side cost little more than the longest of them.
class NameBatch {
public:
    static constexpr std::size_t kMost = 6;

    [[nodiscard]] std::size_t Size() const { return count; }
    [[nodiscard]] bool IsFull() const { return count == kMost; }

    /// Not on a full one. The text must outlive the batch's use.
    void Add(std::string_view name) { names[count++] = {{name.data(), static_cast<std::uint32_t>(name.size())}, 0}; }
    void Clear() { count = 0; }

    void Hash() {
        switch (count) {
            case 1:
                return HashSideBySide(std::make_index_sequence<1>());
            case 2:
                return HashSideBySide(std::make_index_sequence<2>());
            case 3:
                return HashSideBySide(std::make_index_sequence<3>());
            case 4:
                return HashSideBySide(std::make_index_sequence<4>());
            case 5:
                return HashSideBySide(std::make_index_sequence<5>());
            case 6:
                return HashSideBySide(std::make_index_sequence<6>());
            default:
                return;
        }
    }

    [[nodiscard]] const HashedName& operator[](std::size_t index) const { return names[index]; }

private:
    /// Written out for each lane: a loop over them would keep the hashes in memory.
    template <std::size_t... lanes>
    void HashSideBySide(std::index_sequence<lanes...>) {
        std::uint32_t hashes[] = {(static_cast<void>(lanes), 0U)...};
        const std::uint32_t shortest = std::min({names[lanes].name.length...});
        const std::uint32_t longest = std::max({names[lanes].name.length...});
        std::uint32_t at = 0;
        for (; at < shortest; ++at) ((hashes[lanes] = HashByte(hashes[lanes], names[lanes].name.text[at])), ...);
        for (; at < longest; ++at) ((hashes[lanes] = HashByteInside(hashes[lanes], names[lanes].name, at)), ...);
        ((names[lanes].hash = hashes[lanes]), ...);
    }

    /// A name that has ended keeps its hash. No branch: where each one ends can't be foretold.
    static std::uint32_t HashByteInside(std::uint32_t hash, const NameRange& name, std::uint32_t at) {
        const bool inside = at < name.length;
        const std::uint32_t next = HashByte(hash, name.text[inside ? at : 0]);
        return inside ? next : hash;
    }

    HashedName names[kMost];
    std::size_t count = 0;
};

/// The name's hash and text as a key to look up by. The text must outlive it.
[[nodiscard]] inline HashedName HashName(std::string_view name) {
    return {{name.data(), static_cast<std::uint32_t>(name.size())}, NameHash(name)};
}

}   // namespace arbor::module
