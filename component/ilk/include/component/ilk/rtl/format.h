/// Formatted printing of numbers and texts. A target is any class with a `value_type` of `char` or `char16_t` and an
/// `append` of one such character; the string classes are. If `append` throws, the exception passes on and the
/// characters printed before stay in the target.
#pragma once

#include <component/ilk/rtl/conversions.h>

#include <concepts>
#include <type_traits>

namespace ilk {

/// The format of one printed item.
struct FormatSpec {
    std::uint32_t width = 0;       // minimum number of characters
    std::uint32_t base = 10;       // of numbers; 2 to 36
    std::int32_t precision = -1;   // maximum number of characters of a text; negative: no limit
    std::int32_t align = 1;        // positive: fill on the left; 0: between prefix and digits; negative: on the right
    char32_t fill = U' ';          // omitted if it doesn't convert to one character of the target
    bool show_base = false;        // print "0x" before a number in base 16, "0" in base 8
};

namespace detail {

/// The digits of a 64-bit number in base 2 fit.
struct DigitBuffer {
    char digits[64];
};
/// Returns the digits of `value`, lower-case; the view lies in `buffer`.
[[nodiscard]] std::string_view ToDigits(std::uint64_t value, std::uint32_t base, DigitBuffer& buffer) noexcept;
[[nodiscard]] std::string_view ChoosePrefix(bool isNegative, const FormatSpec& spec) noexcept;

/// Converts a character to the target's width; false if the result isn't exactly one character.
inline bool Convert(char from, char& to) noexcept { return (to = from, true); }
inline bool Convert(char16_t from, char16_t& to) noexcept { return (to = from, true); }
inline bool Convert(char from, char16_t& to) noexcept { return WidenCharacter(from, to); }
inline bool Convert(char16_t from, char& to) noexcept { return NarrowCharacter(from, to); }
inline bool Convert(char32_t from, char& to) noexcept { return NarrowCharacter(from, to); }
inline bool Convert(char32_t from, char16_t& to) noexcept {
    to = static_cast<char16_t>(from);
    return to == from;
}

/// Returns `text` up to the first character for which `Convert` returns false.
template <class To, class From>
[[nodiscard]] std::basic_string_view<From> ConvertiblePart(std::basic_string_view<From> text) noexcept {
    if constexpr (std::is_same_v<To, From>) return text;
    std::size_t count = 0;
    for (To to{}; count < text.size() && Convert(text[count], to);) ++count;
    return text.substr(0, count);
}

template <class Target, class From>
void AppendConverted(Target& target, std::basic_string_view<From> text) {
    for (const From from : text) {
        typename Target::value_type to{};
        static_cast<void>(Convert(from, to));   // can't fail: every character of `text` is convertible
        target.append(to);
    }
}

template <class Target>
void AppendFill(Target& target, const FormatSpec& spec, std::size_t length) {
    typename Target::value_type fill{};
    if (length >= spec.width || !Convert(spec.fill, fill)) return;
    for (std::size_t count = spec.width - length; count != 0; --count) target.append(fill);
}

template <class Target, class From>
void PrintItem(Target& target, const FormatSpec& spec, std::string_view prefix, std::basic_string_view<From> item) {
    const std::size_t length = prefix.size() + item.size();
    if (spec.align > 0) AppendFill(target, spec, length);
    AppendConverted(target, prefix);
    if (spec.align == 0) AppendFill(target, spec, length);
    AppendConverted(target, item);
    if (spec.align < 0) AppendFill(target, spec, length);
}

/// Returns the text up to its terminator; with a `precision`, no character after that many is read.
template <class From>
[[nodiscard]] std::basic_string_view<From> MakeView(const From* text, std::int32_t precision) noexcept {
    if (text == nullptr) return {};
    if (precision < 0) return text;
    std::size_t count = 0;
    while (count < static_cast<std::size_t>(precision) && text[count] != From{}) ++count;
    return {text, count};
}

template <class Target, class From>
void PrintText(Target& target, const FormatSpec& spec, std::basic_string_view<From> text) {
    if (text.data() == nullptr) return;
    if (spec.precision >= 0) {
        text = text.substr(0, static_cast<std::size_t>(spec.precision));
        text = text.substr(0, text.find(From{}));
    }
    PrintItem(target, spec, {}, ConvertiblePart<typename Target::value_type>(text));
}

}   // namespace detail

/// Prints a number. In base 10 a negative number has a minus sign; in other bases it is printed as the unsigned number
/// of the same width.
template <class Target, std::integral Number>
requires(sizeof(Number) == 4 || sizeof(Number) == 8) void Print(Target& target, const FormatSpec& spec, Number number) {
    using Unsigned = std::make_unsigned_t<Number>;
    const bool isNegative = spec.base == 10 && number < Number{};
    const auto bits = static_cast<Unsigned>(number);
    detail::DigitBuffer buffer;
    const std::string_view digits = detail::ToDigits(isNegative ? Unsigned{} - bits : bits, spec.base, buffer);
    detail::PrintItem(target, spec, detail::ChoosePrefix(isNegative, spec), digits);
}

/// Prints a text. Text of the other width is converted character by character and ends before the first that doesn't
/// convert to exactly one. With a `precision`, it also ends at a NUL. A null text prints nothing, not even fill.
template <class Target, class From>
void Print(Target& target, const FormatSpec& spec, std::basic_string_view<From> text) {
    detail::PrintText(target, spec, text);
}
template <class Target, class From>
void Print(Target& target, const FormatSpec& spec, const From* text) {
    detail::PrintText(target, spec, detail::MakeView(text, spec.precision));
}

}   // namespace ilk
