/// ASCII character classes and hexadecimal digits, independent of the locale.
#pragma once

#include <string>
#include <string_view>

namespace arborctl {

inline constexpr std::string_view kDecimalDigits = "0123456789";
inline constexpr std::string_view kHexDigits = "0123456789ABCDEFabcdef";

[[nodiscard]] constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }

[[nodiscard]] constexpr char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }

[[nodiscard]] constexpr bool IsLetter(char c) { return ToLower(c) >= 'a' && ToLower(c) <= 'z'; }

/// `text` with ASCII letters in lower case. The store compares names in this form.
[[nodiscard]] inline std::string ToLower(std::string text) {
    for (char& c : text) c = ToLower(c);
    return text;
}

/// The value of a hexadecimal digit, or -1 for any other character.
[[nodiscard]] constexpr int HexValue(char c) {
    if (IsDigit(c)) return c - '0';
    const char lower = ToLower(c);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// Appends two upper-case hexadecimal digits.
inline void AppendHex(std::string& text, char byte) {
    const auto value = static_cast<unsigned char>(byte);
    text += kHexDigits[value >> 4];
    text += kHexDigits[value & 0x0F];
}

}   // namespace arborctl
