#include "tree/value/number_text.h"

#include <component/platform/double_arithmetic.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace arbor::module {
namespace {

/// Whether a number that no double holds is too large rather than too small: where its first digit stands tells. The
/// range is what `std::from_chars` took, so that it is well formed.
bool IsTooLarge(const char* first, const char* last, bool hexadecimal) {
    const char exponentMark = hexadecimal ? 'p' : 'e';
    std::int64_t place = 0;   // of the first digit other than 0, counted from the point
    bool seenDigit = false;
    bool seenPoint = false;
    const char* at = first;
    for (; at != last && (*at | 0x20) != exponentMark; ++at) {
        if (*at == '.') {
            seenPoint = true;
            continue;
        }
        seenDigit = seenDigit || *at != '0';
        if (seenPoint && !seenDigit) --place;
        if (!seenPoint && seenDigit) ++place;
    }
    const std::int64_t exponent = at == last ? 0 : ParseInteger<10, std::int32_t>(at + 1).value;
    return place * (hexadecimal ? 4 : 1) + exponent > 0;
}

/// A beginning of "infinity" that is longer than "inf" and not the whole word is no number.
bool IsBrokenInfinity(double number, const char* first, const char* stop) {
    return std::isinf(number) && stop - first == 3 && (*stop | 0x20) == 'i';
}

}   // namespace

ScanResult ScanDouble(const char* text, double& number) {
    const char* at = SkipBlanks(text);
    if (*at == '\0') return ScanResult::Nothing;
    const bool negative = *at == '-';
    if (negative || *at == '+') ++at;
    if (*at == '-') return ScanResult::NoNumber;
    const bool hexadecimal = at[0] == '0' && (at[1] | 0x20) == 'x';
    if (hexadecimal) at += 2;
    // A sign, or the letters of "inf" and "nan", behind the prefix make no number.
    if (hexadecimal && DigitValue(*at) > 15 && *at != '.') return ScanResult::NoNumber;
    const char* last = at + std::strlen(at);
    // The library would read "p+-1" as "p-1"; to C it is no exponent.
    const char* const mark = hexadecimal ? std::strpbrk(at, "pP") : nullptr;
    if (mark != nullptr && mark[1] == '+' && mark[2] == '-') last = mark;
    // The library reads a short decimal as one product of two doubles, which is exact only if it is rounded once.
    const platform::DoubleArithmeticScope scope;
    double magnitude = 0;
    const auto [stop, error] =
        std::from_chars(at, last, magnitude, hexadecimal ? std::chars_format::hex : std::chars_format::general);
    if (error == std::errc::invalid_argument) return ScanResult::NoNumber;
    if (error == std::errc::result_out_of_range) {
        magnitude = IsTooLarge(at, stop, hexadecimal) ? std::numeric_limits<double>::infinity() : 0.0;
    } else if (IsBrokenInfinity(magnitude, at, stop)) {
        return ScanResult::NoNumber;
    }
    number = negative ? -magnitude : magnitude;
    return ScanResult::Number;
}

char* PrintDouble(char* first, char* last, double number) {
    constexpr int kDecimals = 6;
    const auto [end, error] = std::to_chars(first, last, number, std::chars_format::fixed, kDecimals);
    return error == std::errc() ? end : nullptr;
}

}   // namespace arbor::module
