/// ASCII character classes and hexadecimal digits, independent of the locale.
#pragma once

#include <component/platform/hexadecimal.h>

#include <string>
#include <string_view>

namespace arborctl {

inline constexpr std::string_view kDecimalDigits = "0123456789";

[[nodiscard]] constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }

[[nodiscard]] constexpr char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }

[[nodiscard]] constexpr bool IsLetter(char c) { return ToLower(c) >= 'a' && ToLower(c) <= 'z'; }

/// `text` with ASCII letters in lower case. The store compares names in this form.
[[nodiscard]] inline std::string ToLower(std::string text) {
    for (char& c : text) c = ToLower(c);
    return text;
}

/// Appends two upper-case hexadecimal digits.
inline void AppendHex(std::string& text, char byte) {
    const auto value = static_cast<unsigned char>(byte);
    text += platform::kHexDigits[value >> 4];
    text += platform::kHexDigits[value & 0x0F];
}

}   // namespace arborctl
