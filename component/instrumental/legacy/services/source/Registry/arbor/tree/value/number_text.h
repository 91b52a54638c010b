/// Parses and prints numbers by the rules of the C library in its "C" locale, with a `long` of 32 bits. The results
/// don't depend on the process's locale, the width of its `long` or the thread's x87 control word. No call allocates.
#pragma once

#include <component/platform/hexadecimal.h>

#include <cstdint>
#include <limits>
#include <type_traits>

namespace arbor::module {

/// Whitespace as `isspace` defines it in the C locale.
[[nodiscard]] constexpr bool IsCSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

[[nodiscard]] constexpr const char* SkipCSpace(const char* text) {
    while (IsCSpace(*text)) ++text;
    return text;
}

/// Returns the value of a digit in `Base`; for any other character a number that is not below `Base`.
template <unsigned Base>
[[nodiscard]] constexpr unsigned DigitIn(char c) {
    if constexpr (Base > 10) return platform::HexDigitValue(c);
    return static_cast<unsigned>(static_cast<unsigned char>(c)) - '0';
}

template <class Int>
struct ParsedInteger {
    Int value;          // outside the range: the nearer limit; for an unsigned type always the maximum
    const char* stop;   // after the last digit; the start of the text if it has no number
};

/// Parses whitespace, a sign and digits as `strtol` and its relatives do. An unsigned type accepts a minus sign and
/// negates modulo its width.
template <unsigned Base, class Int>
[[nodiscard]] constexpr ParsedInteger<Int> ParseInteger(const char* text) {
    using Magnitude = std::make_unsigned_t<Int>;
    constexpr Magnitude kMaxMagnitude = std::numeric_limits<Magnitude>::max();
    const char* at = SkipCSpace(text);
    const bool negative = *at == '-';
    if (negative || *at == '+') ++at;
    if (Base == 16 && at[0] == '0' && (at[1] | 0x20) == 'x' && platform::HexDigitValue(at[2]) < 16) at += 2;
    const char* const digits = at;
    Magnitude magnitude = 0;
    unsigned digit = DigitIn<Base>(*at);
    // A digit of a base up to 16 adds at most four bits: this many digits can't overflow.
    for (int left = std::numeric_limits<Magnitude>::digits / 4; left > 0 && digit < Base; --left) {
        magnitude = static_cast<Magnitude>(magnitude * Base + digit);
        digit = DigitIn<Base>(*++at);
    }
    bool overflow = false;
    for (; digit < Base; digit = DigitIn<Base>(*++at)) {
        if (magnitude > kMaxMagnitude / Base || (magnitude == kMaxMagnitude / Base && digit > kMaxMagnitude % Base))
            overflow = true;
        magnitude = static_cast<Magnitude>(magnitude * Base + digit);
    }
    if (at == digits) return {0, text};
    if constexpr (std::is_signed_v<Int>) {
        constexpr Int kHighest = std::numeric_limits<Int>::max();
        const Magnitude limit = static_cast<Magnitude>(kHighest) + (negative ? 1U : 0U);
        if (overflow || magnitude > limit) return {negative ? std::numeric_limits<Int>::min() : kHighest, at};
    } else if (overflow) {
        return {kMaxMagnitude, at};
    }
    return {static_cast<Int>(negative ? Magnitude{0} - magnitude : magnitude), at};
}

enum class ScanResult {
    Empty,      // nothing but whitespace
    NoNumber,   // text that doesn't begin with a number
    Number
};

/// Parses as a "%lf" scan does and ignores the rest of the text. `number` is written only for `Number`: infinity if the
/// text's number is too large for a double, 0 if it is too small.
[[nodiscard]] ScanResult ScanDouble(const char* text, double& number);

/// Prints with six decimals, as "%lf" does, without a terminator. Returns the end of the text, or null if it doesn't
/// fit between `first` and `last`.
[[nodiscard]] char* PrintDouble(char* first, char* last, double number);

}   // namespace arbor::module
