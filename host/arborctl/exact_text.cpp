// One pair of functions for each form of text; the type table assigns a form to each type.

#include "exact_text.h"

#include "ascii.h"

#include <component/kernel/type_table.h>
#include <component/platform/unicode.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

namespace arborctl {
namespace {

using kernel::ValueForm;
using Bytes = std::optional<std::string>;

/// Copies the first bytes of a value into a number; the numbers of the store are little-endian.
template <class T>
T NumberOf(std::string_view bytes) {
    T number{};
    std::memcpy(&number, bytes.data(), std::min(sizeof number, bytes.size()));
    return number;
}

/// Returns the first `width` bytes of a number.
template <class T>
std::string BytesOf(T number, std::size_t width) {
    std::string bytes(sizeof number, '\0');
    std::memcpy(bytes.data(), &number, sizeof number);
    return bytes.substr(0, width);
}

/// Extends the sign of a value of fewer than 8 bytes.
std::int64_t SignedOf(const std::string& bytes) {
    const std::size_t unused = 64 - 8 * bytes.size();
    return static_cast<std::int64_t>(NumberOf<std::uint64_t>(bytes) << unused) >> unused;
}

/// Parses all of `text` as a number of type `T`; "0x" precedes hexadecimal digits, after the sign.
template <class T>
std::optional<T> ParseInteger(std::string_view text) {
    const bool isNegative = text.starts_with('-');
    const std::string_view digits = text.substr(isNegative ? 1 : 0);
    const bool isHexadecimal = digits.starts_with("0x") || digits.starts_with("0X");
    std::string plain(isNegative ? "-" : "");
    plain += digits.substr(isHexadecimal ? 2 : 0);
    T number{};
    const char* const last = plain.data() + plain.size();
    const auto [stop, error] = std::from_chars(plain.data(), last, number, isHexadecimal ? 16 : 10);
    if (error != std::errc() || stop != last) return std::nullopt;
    return number;
}

template <class T>
Bytes IntegerFrom(std::string_view text, std::size_t width) {
    const std::optional<T> number = ParseInteger<T>(text);
    if (!number) return std::nullopt;
    std::string bytes = BytesOf(*number, width);
    const bool fits = std::is_signed_v<T> ? SignedOf(bytes) == static_cast<std::int64_t>(*number)
                                          : NumberOf<std::uint64_t>(bytes) == static_cast<std::uint64_t>(*number);
    return fits ? Bytes(std::move(bytes)) : std::nullopt;
}

constexpr std::string_view kNanPrefix = "nan(";   // followed by 16 hexadecimal digits and ")"

std::optional<double> ParseDouble(std::string_view text) {
    double number = 0;
    const char* const last = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), last, number);
    if (error != std::errc() || stop != last) return std::nullopt;
    return number;
}

std::string DoubleText(const std::string& bytes) {
    const auto number = NumberOf<double>(bytes);
    std::array<char, 32> text{};
    std::string shortest(text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr);
    const std::optional<double> parsed = ParseDouble(shortest);
    if (parsed && BytesOf(*parsed, sizeof number) == bytes) return shortest;
    std::string bits(kNanPrefix);
    for (std::size_t i = bytes.size(); i-- > 0;) AppendHex(bits, bytes[i]);
    return bits + ')';
}

Bytes DoubleFrom(std::string_view text) {
    if (text.starts_with(kNanPrefix) && text.ends_with(')')) {
        const std::string_view digits = text.substr(kNanPrefix.size(), text.size() - kNanPrefix.size() - 1);
        std::uint64_t bits = 0;
        const char* const last = digits.data() + digits.size();
        if (digits.size() != 16 || std::from_chars(digits.data(), last, bits, 16).ptr != last) return std::nullopt;
        std::string bytes = BytesOf(bits, sizeof bits);
        return std::isnan(NumberOf<double>(bytes)) ? Bytes(std::move(bytes)) : std::nullopt;
    }
    const std::optional<double> number = ParseDouble(text);
    if (!number) return std::nullopt;
    return BytesOf(*number, sizeof *number);
}

std::string HexText(const std::string& bytes) {
    std::string text;
    for (const char byte : bytes) AppendHex(text, byte);
    return text;
}

Bytes HexFrom(std::string_view text) {
    if (text.size() % 2 != 0) return std::nullopt;
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const unsigned high = platform::HexDigitValue(text[i]);
        const unsigned low = platform::HexDigitValue(text[i + 1]);
        if (high > 15 || low > 15) return std::nullopt;
        bytes += static_cast<char>(static_cast<unsigned char>(high << 4 | low));
    }
    return bytes;
}

std::string WideTextOf(const std::string& bytes) {
    std::u16string units(bytes.size() / sizeof(char16_t), u'\0');
    std::memcpy(units.data(), bytes.data(), units.size() * sizeof(char16_t));
    std::string text;
    for (std::u16string_view rest = units; !rest.empty();) {
        char character[4];
        text.append(character, platform::WriteUtf8(platform::ReadUtf16(rest, platform::Malformed::Keep), character));
    }
    return text;
}

Bytes WideFrom(std::string_view text) {
    std::u16string units;
    while (!text.empty()) {
        const char32_t character = platform::ReadGeneralizedUtf8(text, platform::Malformed::Reject);
        if (character == platform::kNoCodePoint) return std::nullopt;
        char16_t written[2];
        units.append(written, platform::WriteUtf16(character, written));
    }
    return std::string(reinterpret_cast<const char*>(units.data()), units.size() * sizeof(char16_t));
}

/// Removes the terminator that a text read from the store has.
std::string WithoutTerminator(std::string bytes, std::size_t width) {
    const std::string terminator(width, '\0');
    if (bytes.ends_with(terminator)) bytes.resize(bytes.size() - width);
    return bytes;
}

Bytes BoolFrom(std::string_view text, std::size_t width) {
    if (text == "true" || text == "false") return BytesOf(std::uint32_t{text == "true"}, width);
    return IntegerFrom<std::uint64_t>(text, width);
}

bool HasZeroByte(std::string_view text) { return text.find('\0') != std::string_view::npos; }

Bytes BytesFrom(const kernel::ValueTypeRow& row, std::string_view text) {
    switch (row.form) {
        case ValueForm::Signed:
            return IntegerFrom<std::int64_t>(text, row.width);
        case ValueForm::Bool:
            return BoolFrom(text, row.width);
        case ValueForm::Double:
            return DoubleFrom(text);
        case ValueForm::Char:
            return text.size() == row.width ? Bytes(text) : std::nullopt;
        case ValueForm::WideChar: {
            Bytes bytes = WideFrom(text);
            return bytes && bytes->size() == row.width ? bytes : std::nullopt;
        }
        case ValueForm::Text:
            return HasZeroByte(text) ? std::nullopt : Bytes(text);
        case ValueForm::WideText:
            return HasZeroByte(text) ? std::nullopt : WideFrom(text);
        case ValueForm::Blob:
            return HexFrom(text);
        case ValueForm::Empty:
            return text.empty() ? Bytes("") : std::nullopt;
        case ValueForm::Unsigned:
            break;
    }
    return IntegerFrom<std::uint64_t>(text, row.width);
}

}   // namespace

std::string ToExactText(const arbor::Datum& datum) {
    switch (kernel::FindType(datum.type)->form) {
        case ValueForm::Signed:
            return std::to_string(SignedOf(datum.bytes));
        case ValueForm::Double:
            return DoubleText(datum.bytes);
        case ValueForm::Char:
            return datum.bytes;
        case ValueForm::WideChar:
            return WideTextOf(datum.bytes);
        case ValueForm::Text:
            return WithoutTerminator(datum.bytes, 1);
        case ValueForm::WideText:
            return WideTextOf(WithoutTerminator(datum.bytes, sizeof(char16_t)));
        case ValueForm::Blob:
            return HexText(datum.bytes);
        case ValueForm::Empty:
            return "";
        case ValueForm::Bool:
        case ValueForm::Unsigned:
            break;
    }
    return std::to_string(NumberOf<std::uint64_t>(datum.bytes));
}

std::optional<arbor::Datum> FromExactText(kernel::TypeCode type, std::string_view text) {
    Bytes bytes = BytesFrom(*kernel::FindType(type), text);
    if (!bytes) return std::nullopt;
    return arbor::Datum{type, std::move(*bytes)};
}

}   // namespace arborctl
