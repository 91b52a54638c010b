/// Numbers as text: the reading and printing rules of the C library in its "C" locale and with a long of 32 bits,
/// whatever the locale and the long of the process and the x87 control word of the thread. No call allocates.
#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

namespace arbor::module {

/// White space as the C locale sees it.
[[nodiscard]] constexpr bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

[[nodiscard]] constexpr const char* SkipBlanks(const char* text) {
    while (IsBlank(*text)) ++text;
    return text;
}

/// The value of a digit in bases up to 16; 255 for a character that is none.
[[nodiscard]] constexpr unsigned DigitValue(char c) {
    if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
    const char lower = static_cast<char>(c | 0x20);
    if (lower >= 'a' && lower <= 'f') return static_cast<unsigned>(lower - 'a' + 10);
    return 255;
}

/// The same where a larger base can't be meant: any other character gives `Base` or more.
template <unsigned Base>
[[nodiscard]] constexpr unsigned DigitIn(char c) {
    if constexpr (Base > 10) return DigitValue(c);
    return static_cast<unsigned>(static_cast<unsigned char>(c)) - '0';
}

template <class Int>
struct ParsedInteger {
    Int value;          // beyond the range: the nearest end of it; for an unsigned one always the upper end
    const char* stop;   // behind the last digit; the text's start if there was no number
};

/// Reads blanks, a sign and digits as strtol and its kin do. An unsigned type takes a minus sign and negates within its
/// width.
template <unsigned Base, class Int>
[[nodiscard]] constexpr ParsedInteger<Int> ParseInteger(const char* text) {
    using Magnitude = std::make_unsigned_t<Int>;
    constexpr Magnitude kMost = std::numeric_limits<Magnitude>::max();
    const char* at = SkipBlanks(text);
    const bool negative = *at == '-';
    if (negative || *at == '+') ++at;
    if (Base == 16 && at[0] == '0' && (at[1] | 0x20) == 'x' && DigitValue(at[2]) < 16) at += 2;
    const char* const digits = at;
    Magnitude magnitude = 0;
    unsigned digit = DigitIn<Base>(*at);
    // Four bits hold a digit of any base up to 16: so many digits fit.
    for (int left = std::numeric_limits<Magnitude>::digits / 4; left > 0 && digit < Base; --left) {
        magnitude = static_cast<Magnitude>(magnitude * Base + digit);
        digit = DigitIn<Base>(*++at);
    }
    bool overflow = false;
    for (; digit < Base; digit = DigitIn<Base>(*++at)) {
        if (magnitude > kMost / Base || (magnitude == kMost / Base && digit > kMost % Base)) overflow = true;
        magnitude = static_cast<Magnitude>(magnitude * Base + digit);
    }
    if (at == digits) return {0, text};
    if constexpr (std::is_signed_v<Int>) {
        constexpr Int kHighest = std::numeric_limits<Int>::max();
        const Magnitude reach = static_cast<Magnitude>(kHighest) + (negative ? 1U : 0U);
        if (overflow || magnitude > reach) return {negative ? std::numeric_limits<Int>::min() : kHighest, at};
    } else if (overflow) {
        return {kMost, at};
    }
    return {static_cast<Int>(negative ? Magnitude{0} - magnitude : magnitude), at};
}

enum class ScanResult {
    Nothing,
    NoNumber,
    Number
};

/// Reads what a "%lf" scan reads and lets the rest of the text be. `number` is written for `Number` alone: infinite or
/// 0 where the text goes beyond the range. `Nothing` is a text that is empty or blank.
[[nodiscard]] ScanResult ScanDouble(const char* text, double& number);

/// Six decimals, as "%lf" prints, without a terminator; returns the end of the text, or null if it doesn't fit up to
/// `last`.
[[nodiscard]] char* PrintDouble(char* first, char* last, double number);

}   // namespace arbor::module
