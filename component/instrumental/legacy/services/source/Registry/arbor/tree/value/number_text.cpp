// Parsing and printing of doubles, on the standard library's locale-independent functions.

#include "tree/value/number_text.h"

#include <component/platform/double_arithmetic.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace arbor::module {
namespace {

/// For a number out of the range of a double: true if it is too large, false if it is too small. Compares the position
/// of its first digit other than 0, relative to the point, with its exponent. `std::from_chars` has accepted the text
/// between `first` and `last`.
bool IsTooLarge(const char* first, const char* last, bool hexadecimal) {
    const char exponentMark = hexadecimal ? 'p' : 'e';
    std::int64_t digitsBeforePoint = 0;   // negative: the zeros between the point and the first other digit
    bool seenNonzero = false;
    bool seenPoint = false;
    const char* at = first;
    for (; at != last && (*at | 0x20) != exponentMark; ++at) {
        if (*at == '.') {
            seenPoint = true;
            continue;
        }
        seenNonzero = seenNonzero || *at != '0';
        if (seenPoint && !seenNonzero) --digitsBeforePoint;
        if (!seenPoint && seenNonzero) ++digitsBeforePoint;
    }
    const std::int64_t exponent = at == last ? 0 : ParseInteger<10, std::int32_t>(at + 1).value;
    return digitsBeforePoint * (hexadecimal ? 4 : 1) + exponent > 0;
}

/// True for a text like "infix", which continues "inf" but doesn't complete "infinity": `std::from_chars` reads "inf",
/// `scanf` refuses it.
bool IsPartialInfinity(double number, const char* first, const char* stop) {
    return std::isinf(number) && stop - first == 3 && (*stop | 0x20) == 'i';
}

/// Parses a number without a sign and ignores the rest of the text. Returns false if the text doesn't begin with one.
bool ScanMagnitude(const char* text, double& magnitude) {
    const bool hexadecimal = text[0] == '0' && (text[1] | 0x20) == 'x';
    const char* const first = hexadecimal ? text + 2 : text;
    // Here `std::from_chars` would accept a minus sign, and after "0x" also "inf" and "nan"; `scanf` doesn't.
    if (*first == '-' || (hexadecimal && DigitValue(*first) > 15 && *first != '.')) return false;
    const char* last = first + std::strlen(first);
    // `std::from_chars` reads "p+-1" as "p-1"; `scanf` finds no exponent there.
    const char* const mark = hexadecimal ? std::strpbrk(first, "pP") : nullptr;
    if (mark != nullptr && mark[1] == '+' && mark[2] == '-') last = mark;
    // `std::from_chars` computes a short decimal as one product of two doubles, which must be rounded only once.
    const platform::DoubleArithmeticScope scope;
    const auto [stop, error] =
        std::from_chars(first, last, magnitude, hexadecimal ? std::chars_format::hex : std::chars_format::general);
    if (error == std::errc::invalid_argument) return false;
    if (error == std::errc::result_out_of_range) {
        magnitude = IsTooLarge(first, stop, hexadecimal) ? std::numeric_limits<double>::infinity() : 0.0;
        return true;
    }
    return !IsPartialInfinity(magnitude, first, stop);
}

}   // namespace

ScanResult ScanDouble(const char* text, double& number) {
    const char* at = SkipCSpace(text);
    if (*at == '\0') return ScanResult::Empty;
    const bool negative = *at == '-';
    if (negative || *at == '+') ++at;
    double magnitude = 0;
    if (!ScanMagnitude(at, magnitude)) return ScanResult::NoNumber;
    number = negative ? -magnitude : magnitude;
    return ScanResult::Number;
}

char* PrintDouble(char* first, char* last, double number) {
    constexpr int kDecimals = 6;
    const auto [end, error] = std::to_chars(first, last, number, std::chars_format::fixed, kDecimals);
    return error == std::errc() ? end : nullptr;
}

}   // namespace arbor::module
