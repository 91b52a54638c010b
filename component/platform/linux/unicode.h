/// One character at a time between UTF-16 and UTF-8; what is malformed is refused and never replaced.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace platform {

inline constexpr char32_t kNoCharacter = 0xFFFFFFFF;

/// The character at the front of terminated text, which moves on behind it. `kNoCharacter` for an unpaired surrogate.
[[nodiscard]] char32_t TakeUtf16(const char16_t*& text);

/// The character at the front of text that isn't empty, which loses it. `kNoCharacter` for any malformed sequence.
[[nodiscard]] char32_t TakeUtf8(std::string_view& text);

/// Write a character and give the number of units, at most 4 bytes or 2 words.
[[nodiscard]] std::size_t PutUtf8(char32_t character, std::span<char, 4> target);
[[nodiscard]] std::size_t PutUtf16(char32_t character, std::span<char16_t, 2> target);

}   // namespace platform
