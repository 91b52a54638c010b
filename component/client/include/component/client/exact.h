/// Exact conversions between the store's types. The store's own conversions change what doesn't fit; these refuse it.
///
/// Numbers convert to every number type that has the same number. A text converts to a number if all of it is one:
/// decimal digits with an optional `-`, "0x" and hexadecimal digits, or, for a `tDOUBLE`, what `std::from_chars` reads;
/// a `tBOOL` also is "true" or "false". A number converts to the shortest text that is this number. Texts convert
/// between UTF-8 and UTF-16. A `tCHAR` is a text of one byte. The blobs `tBINARY` and `tPTR` convert only to each
/// other, `tVOID` and `tWCHAR` to nothing.
///
/// The functions take the plain form of a value: its bytes as the interface has them, a text without its terminator.
#pragma once

#include <component/client/datum.h>
#include <component/kernel/type_table.h>
#include <component/platform/unicode.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

namespace arbor::detail {

using kernel::ValueForm;

/// The form of a type; `Empty` also for a type that can't be stored.
[[nodiscard]] inline ValueForm FormOf(TypeCode type) {
    const kernel::ValueTypeRow* row = kernel::FindType(type);
    return row != nullptr ? row->form : ValueForm::Empty;
}

template <class T>
[[nodiscard]] T LoadNumber(std::string_view bytes) {
    T number{};
    std::memcpy(&number, bytes.data(), std::min(sizeof number, bytes.size()));
    return number;
}

/// An integer of any of the store's types: the value if it isn't negative, otherwise its two's complement.
struct Integer {
    std::uint64_t bits = 0;
    bool isNegative = false;

    [[nodiscard]] std::uint64_t Magnitude() const { return isNegative ? 0 - bits : bits; }
};

[[nodiscard]] inline Integer LoadInteger(ValueForm form, std::string_view bytes) {
    const auto bits = LoadNumber<std::uint64_t>(bytes);
    if (form != ValueForm::Signed) return {bits};
    const std::size_t unusedBits = 64 - 8 * bytes.size();
    const std::int64_t extended = static_cast<std::int64_t>(bits << unusedBits) >> unusedBits;
    return {static_cast<std::uint64_t>(extended), extended < 0};
}

[[nodiscard]] inline bool ParseInteger(std::string_view text, Integer& parsed) {
    const bool isNegative = text.starts_with('-');
    if (isNegative) text.remove_prefix(1);
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (isHexadecimal) text.remove_prefix(2);
    std::uint64_t magnitude = 0;
    const char* const last = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), last, magnitude, isHexadecimal ? 16 : 10);
    if (error != std::errc() || stop != last) return false;
    parsed = {isNegative ? 0 - magnitude : magnitude, isNegative && magnitude != 0};
    return !isNegative || magnitude <= std::uint64_t{1} << 63;
}

[[nodiscard]] inline bool ParseReal(std::string_view text, double& parsed) {
    const char* const last = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), last, parsed);
    return error == std::errc() && stop == last;
}

[[nodiscard]] inline bool ToInteger(double real, Integer& converted) {
    constexpr double kTwoTo63 = 9223372036854775808.0;
    if (!(real >= -kTwoTo63 && real < 2 * kTwoTo63) || real != std::trunc(real)) return false;
    converted = real < 0 ? Integer{static_cast<std::uint64_t>(static_cast<std::int64_t>(real)), true}
                         : Integer{static_cast<std::uint64_t>(real)};
    return true;
}

/// False if a `double` has too few bits for the integer.
[[nodiscard]] inline bool ToReal(Integer integer, double& converted) {
    const std::uint64_t magnitude = integer.Magnitude();
    if (magnitude != 0 && magnitude >> std::countr_zero(magnitude) >> 53 != 0) return false;
    converted = static_cast<double>(magnitude) * (integer.isNegative ? -1 : 1);
    return true;
}

/// What a value is, whatever its width: one of an integer, a real number, and a text in UTF-8.
struct Content {
    enum class Kind {
        Integer,
        Real,
        Text
    } kind;
    Integer integer{};
    double real = 0;
    std::string text{};
};

[[nodiscard]] inline bool ToUtf8(std::string_view bytes, std::string& text) {
    for (std::size_t position = 0; position + 1 < bytes.size();) {
        char16_t pair[2] = {LoadNumber<char16_t>(bytes.substr(position)), 0};
        const bool isPair = platform::IsHighSurrogate(pair[0]) && position + 3 < bytes.size();
        if (isPair) pair[1] = LoadNumber<char16_t>(bytes.substr(position + 2));
        std::u16string_view rest(pair, isPair ? 2 : 1);
        const char32_t codePoint = platform::ReadUtf16(rest, platform::Malformed::Reject);
        if (codePoint == platform::kNoCodePoint) return false;
        char written[4];
        text.append(written, platform::WriteUtf8(codePoint, written));
        position += platform::Utf16Length(codePoint) * sizeof(char16_t);
    }
    return bytes.size() % sizeof(char16_t) == 0;
}

/// Appends UTF-16 as bytes. Accepts surrogates too, because a document holds a character above U+FFFF of a wide text as
/// two of them.
[[nodiscard]] inline bool ToUtf16(std::string_view text, std::string& bytes) {
    while (!text.empty()) {
        const char32_t codePoint = platform::ReadGeneralizedUtf8(text, platform::Malformed::Reject);
        if (codePoint == platform::kNoCodePoint) return false;
        char16_t written[2];
        const std::size_t units = static_cast<std::size_t>(platform::WriteUtf16(codePoint, written) - written);
        bytes.append(reinterpret_cast<const char*>(written), units * sizeof(char16_t));
    }
    return true;
}

[[nodiscard]] inline bool LoadContent(ValueForm form, std::string_view bytes, Content& content) {
    switch (form) {
        case ValueForm::Unsigned:
        case ValueForm::Signed:
        case ValueForm::Bool:
            content.kind = Content::Kind::Integer;
            content.integer = LoadInteger(form, bytes);
            return true;
        case ValueForm::Double:
            content.kind = Content::Kind::Real;
            content.real = LoadNumber<double>(bytes);
            return true;
        case ValueForm::Char:
        case ValueForm::Text:
            content.kind = Content::Kind::Text;
            content.text = bytes;
            return true;
        case ValueForm::WideText:
            content.kind = Content::Kind::Text;
            return ToUtf8(bytes, content.text);
        case ValueForm::WideChar:
        case ValueForm::Blob:
        case ValueForm::Empty:
            return false;
    }
    return false;
}

[[nodiscard]] inline bool StoreInteger(const Content& content, ValueForm form, std::size_t width, std::string& bytes) {
    Integer integer = content.integer;
    if (content.kind == Content::Kind::Real && !ToInteger(content.real, integer)) return false;
    if (content.kind == Content::Kind::Text && !ParseInteger(content.text, integer)) return false;
    if (form == ValueForm::Bool && integer.bits > 1) return false;
    char stored[sizeof integer.bits];
    std::memcpy(stored, &integer.bits, sizeof stored);
    bytes.assign(stored, width);
    const Integer reread = LoadInteger(form, bytes);
    return reread.bits == integer.bits && reread.isNegative == integer.isNegative;
}

[[nodiscard]] inline bool StoreReal(const Content& content, std::string& bytes) {
    double real = content.real;
    if (content.kind == Content::Kind::Integer && !ToReal(content.integer, real)) return false;
    if (content.kind == Content::Kind::Text && !ParseReal(content.text, real)) return false;
    bytes.assign(reinterpret_cast<const char*>(&real), sizeof real);
    return true;
}

[[nodiscard]] inline std::string_view TextOf(Content& content) {
    if (content.kind == Content::Kind::Text) return content.text;
    char text[32];
    char* last = text + sizeof text;
    if (content.kind == Content::Kind::Real)
        last = std::to_chars(text, last, content.real).ptr;
    else if (content.integer.isNegative)
        last = std::to_chars(text, last, static_cast<std::int64_t>(content.integer.bits)).ptr;
    else
        last = std::to_chars(text, last, content.integer.bits).ptr;
    return content.text.assign(text, last);
}

[[nodiscard]] inline bool StoreContent(Content& content, const kernel::ValueTypeRow& row, std::string& bytes) {
    switch (row.form) {
        case ValueForm::Bool:
            if (content.kind == Content::Kind::Text && (content.text == "true" || content.text == "false"))
                content = {Content::Kind::Integer, {content.text == "true" ? 1U : 0U}};
            return StoreInteger(content, row.form, row.width, bytes);
        case ValueForm::Unsigned:
        case ValueForm::Signed:
            return StoreInteger(content, row.form, row.width, bytes);
        case ValueForm::Double:
            return StoreReal(content, bytes);
        case ValueForm::Char:
            bytes = TextOf(content);
            return bytes.size() == row.width;
        case ValueForm::Text:
            bytes = TextOf(content);
            return true;
        case ValueForm::WideText:
            return ToUtf16(TextOf(content), bytes);
        case ValueForm::WideChar:
        case ValueForm::Blob:
        case ValueForm::Empty:
            return false;
    }
    return false;
}

/// Removes one terminator from the bytes of a text. False if `bytes` isn't the plain form of a `type`: the wrong width,
/// half a character, a zero character inside a text, or a type that can't be stored.
[[nodiscard]] inline bool MakePlain(TypeCode type, std::string_view& bytes) {
    const kernel::ValueTypeRow* row = kernel::FindType(type);
    if (row == nullptr) return false;
    if (row->form == ValueForm::Text) {
        if (bytes.ends_with('\0')) bytes.remove_suffix(1);
        return bytes.find('\0') == std::string_view::npos;
    }
    if (row->form == ValueForm::WideText) {
        constexpr std::size_t kUnit = sizeof(char16_t);
        if (bytes.size() % kUnit != 0) return false;
        for (std::size_t i = 0; i < bytes.size(); i += kUnit) {
            if (LoadNumber<char16_t>(bytes.substr(i, kUnit)) != 0) continue;
            if (i + kUnit != bytes.size()) return false;
            bytes.remove_suffix(kUnit);
        }
        return true;
    }
    return row->form == ValueForm::Blob || bytes.size() == row->width;
}

/// Converts the plain form of a `from` to that of a `to`, for which `converted` must be empty. False if `to` has no
/// value that is exactly the same.
[[nodiscard]] inline bool ConvertExactly(TypeCode from, std::string_view bytes, TypeCode to, std::string& converted) {
    const kernel::ValueTypeRow* row = kernel::FindType(to);
    const ValueForm form = FormOf(from);
    if (row == nullptr) return false;
    if (from == to || (form == ValueForm::Blob && row->form == ValueForm::Blob)) {
        converted = bytes;
        return true;
    }
    Content content{};
    return LoadContent(form, bytes, content) && StoreContent(content, *row, converted);
}

}   // namespace arbor::detail
