/// Hexadecimal digits, independent of the locale.
#pragma once

#include <string_view>

namespace platform {

inline constexpr std::string_view kAllHexDigits = "0123456789ABCDEFabcdef";

/// The digits that are written, by value.
inline constexpr std::string_view kHexDigits = kAllHexDigits.substr(0, 16);

/// Above all values of digits.
inline constexpr unsigned kNoHexDigit = 255;

/// Returns the value of a digit, or `kNoHexDigit` for any other character.
[[nodiscard]] constexpr unsigned HexDigitValue(char c) {
    if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? static_cast<unsigned>(lower - 'a' + 10) : kNoHexDigit;
}

}   // namespace platform
