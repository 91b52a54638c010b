// Parsing and printing of doubles. `std::from_chars` parses. The printing is exact arithmetic on the number's bits:
// `std::to_chars` gives the same text, but its tables and code are 185 KB of the module for Windows.

#include "tree/value/number_text.h"

#include <component/platform/double_arithmetic.h>

#include <algorithm>
#include <array>
#include <bit>
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
    if (*first == '-' || (hexadecimal && platform::HexDigitValue(*first) > 15 && *first != '.')) return false;
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

constexpr int kDecimals = 6;
constexpr std::uint32_t kDecimalUnit = 1'000'000;   // 10 to the power of `kDecimals`

/// The exact magnitude of a finite double in binary fixed point, as words of 32 bits, the lowest one first.
class FixedPoint {
public:
    explicit FixedPoint(double number) {
        constexpr unsigned kMantissaBits = 52;
        const auto bits = std::bit_cast<std::uint64_t>(number);
        const auto exponent = static_cast<unsigned>(bits >> kMantissaBits) & 0x7FF;
        const std::uint64_t fraction = bits & ((std::uint64_t{1} << kMantissaBits) - 1);
        const std::uint64_t mantissa = exponent != 0 ? fraction | std::uint64_t{1} << kMantissaBits : fraction;
        // The lowest bit of a number with exponent 0 or 1 is 2^-1074.
        const unsigned lowestBit = kFractionWords * 32 - 1074 + std::max(exponent, 1U) - 1;
        const unsigned shift = lowestBit % 32;
        begin = lowestBit / 32;
        end = std::max(begin + 3, kFractionWords + 1);
        std::uint32_t* const word = &words[begin];
        word[0] = static_cast<std::uint32_t>(mantissa << shift);
        word[1] = static_cast<std::uint32_t>(mantissa >> (32 - shift));
        word[2] = static_cast<std::uint32_t>(mantissa >> 32 >> (32 - shift));
    }

    /// Returns the decimals, rounded half to even. If they round up to one, the integer part is incremented.
    std::uint32_t RoundDecimals() {
        constexpr std::uint32_t kHalf = 0x80000000;
        std::uint64_t carry = 0;
        for (unsigned i = begin; i < kFractionWords; ++i) {
            carry += std::uint64_t{words[i]} * kDecimalUnit;
            words[i] = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
        const auto decimals = static_cast<std::uint32_t>(carry);
        const std::uint32_t rest = words[kFractionWords - 1];
        const bool isExact =
            begin >= kFractionWords ||
            std::all_of(words.begin() + begin, words.begin() + kFractionWords - 1, [](auto word) { return word == 0; });
        if (rest < kHalf || (rest == kHalf && isExact && decimals % 2 == 0)) return decimals;
        if (decimals + 1 < kDecimalUnit) return decimals + 1;
        for (unsigned i = kFractionWords; ++words[i] == 0;) ++i;
        return 0;
    }

    /// Divides the integer part by 10 and returns the remainder, the last digit.
    unsigned RemoveDigit() {
        while (end > kFractionWords && words[end - 1] == 0) --end;
        std::uint64_t rest = 0;
        for (unsigned i = end; i-- > kFractionWords;) {
            rest = rest << 32 | words[i];
            words[i] = static_cast<std::uint32_t>(rest / 10);
            rest %= 10;
        }
        return static_cast<unsigned>(rest);
    }

    /// Whether digits other than 0 are left.
    [[nodiscard]] bool HasInteger() const {
        return std::any_of(words.begin() + kFractionWords, words.begin() + end, [](auto word) { return word != 0; });
    }

private:
    static constexpr unsigned kFractionWords = 34;                // 1088 bits after the point
    static constexpr unsigned kWords = kFractionWords + 32 + 1;   // 1024 bits before it, and one word for the shift

    std::array<std::uint32_t, kWords> words{};
    unsigned begin;   // the words before this one are 0
    unsigned end;     // and those from this one on
};

/// Writes a finite magnitude before `last` and returns the first character.
char* PrintMagnitudeBackwards(double number, char* last) {
    FixedPoint value(number);
    std::uint32_t decimals = value.RoundDecimals();
    for (int i = 0; i < kDecimals; ++i, decimals /= 10) *--last = static_cast<char>('0' + decimals % 10);
    *--last = '.';
    do {
        *--last = static_cast<char>('0' + value.RemoveDigit());
    } while (value.HasInteger());
    return last;
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
    constexpr std::size_t kMaxLength = 1 + 309 + 1 + kDecimals;   // sign, integer digits of the largest double, point
    char text[kMaxLength];
    char* const textEnd = std::end(text);
    char* at = textEnd - 3;
    if (std::isfinite(number)) {
        at = PrintMagnitudeBackwards(number, textEnd);
    } else {
        std::copy_n(std::isnan(number) ? "nan" : "inf", 3, at);
    }
    if (std::signbit(number)) *--at = '-';
    return textEnd - at <= last - first ? std::copy(at, textEnd, first) : nullptr;
}

}   // namespace arbor::module
