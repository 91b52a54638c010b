/// Printing of numbers and texts into narrow and wide targets. A target is a class with `value_type` and `append` of
/// one character: any of the string classes. What a target throws passes through, with what was printed before it in
/// place.
#pragma once

#include <component/ilk/rtl/conversions.h>

#include <concepts>
#include <type_traits>

namespace ilk {

/// How one item is printed.
struct FormatSpec {
    std::uint32_t width = 0;       // the least number of characters
    std::uint32_t base = 10;       // of numbers; 2 to 36
    std::int32_t precision = -1;   // the most characters of a text; negative: all of it
    std::int32_t align = 1;        // positive: fill to the left; 0: between prefix and digits; negative: to the right
    char32_t fill = U' ';          // not printed if it isn't one character of the target's width
    bool show_base = false;        // "0x" and "0" before numbers of base 16 and 8
};

namespace detail {

/// Room for 64 digits: a number in base 2.
struct DigitBuffer {
    char digits[64];
};
[[nodiscard]] std::string_view DigitsOf(std::uint64_t value, std::uint32_t base, DigitBuffer& buffer) noexcept;
[[nodiscard]] std::string_view PrefixOf(bool minus, const FormatSpec& spec) noexcept;

/// One character for a target of another width, or the same; false if it isn't one there.
inline bool Convert(char from, char& to) noexcept { return (to = from, true); }
inline bool Convert(char16_t from, char16_t& to) noexcept { return (to = from, true); }
inline bool Convert(char from, char16_t& to) noexcept { return WidenCharacter(from, to); }
inline bool Convert(char16_t from, char& to) noexcept { return NarrowCharacter(from, to); }
inline bool Convert(char32_t from, char& to) noexcept { return NarrowCharacter(from, to); }
inline bool Convert(char32_t from, char16_t& to) noexcept {
    to = static_cast<char16_t>(from);
    return to == from;
}

/// The characters of `text` up to the first one that `Convert` refuses.
template <class To, class From>
[[nodiscard]] std::basic_string_view<From> Convertible(std::basic_string_view<From> text) noexcept {
    if constexpr (std::is_same_v<To, From>) return text;
    std::size_t count = 0;
    for (To to{}; count < text.size() && Convert(text[count], to);) ++count;
    return text.substr(0, count);
}

template <class Target, class From>
void AppendConverted(Target& target, std::basic_string_view<From> text) {
    for (const From from : text) {
        typename Target::value_type to{};
        static_cast<void>(Convert(from, to));   // the text is convertible
        target.append(to);
    }
}

template <class Target>
void AppendFill(Target& target, const FormatSpec& spec, std::size_t used) {
    typename Target::value_type fill{};
    if (used >= spec.width || !Convert(spec.fill, fill)) return;
    for (std::size_t count = spec.width - used; count != 0; --count) target.append(fill);
}

template <class Target, class From>
void PrintItem(Target& target, const FormatSpec& spec, std::string_view prefix, std::basic_string_view<From> item) {
    const std::size_t used = prefix.size() + item.size();
    if (spec.align > 0) AppendFill(target, spec, used);
    AppendConverted(target, prefix);
    if (spec.align == 0) AppendFill(target, spec, used);
    AppendConverted(target, item);
    if (spec.align < 0) AppendFill(target, spec, used);
}

/// The terminated text at `text`, which is read no further than `precision`.
template <class From>
[[nodiscard]] std::basic_string_view<From> TextAt(const From* text, std::int32_t precision) noexcept {
    if (text == nullptr || precision < 0) return text == nullptr ? std::basic_string_view<From>() : text;
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
    PrintItem(target, spec, {}, Convertible<typename Target::value_type>(text));
}

}   // namespace detail

/// A negative number has a minus in base 10; in any other base it is the unsigned number of its width.
template <class Target, std::integral Number>
requires(sizeof(Number) == 4 || sizeof(Number) == 8) void Print(Target& target, const FormatSpec& spec, Number number) {
    const bool minus = spec.base == 10 && number < Number{};
    const auto bits = static_cast<std::make_unsigned_t<Number>>(number);
    detail::DigitBuffer buffer;
    const std::string_view digits =
        detail::DigitsOf(minus ? std::make_unsigned_t<Number>{} - bits : bits, spec.base, buffer);
    detail::PrintItem(target, spec, detail::PrefixOf(minus, spec), digits);
}

/// A text of the other width goes out character by character, and ends at the first that isn't exactly one there. A
/// null text prints nothing, no fill either.
template <class Target>
void Print(Target& target, const FormatSpec& spec, std::string_view text) {
    detail::PrintText(target, spec, text);
}
template <class Target>
void Print(Target& target, const FormatSpec& spec, std::u16string_view text) {
    detail::PrintText(target, spec, text);
}
template <class Target>
void Print(Target& target, const FormatSpec& spec, const char* text) {
    detail::PrintText(target, spec, detail::TextAt(text, spec.precision));
}
template <class Target>
void Print(Target& target, const FormatSpec& spec, const char16_t* text) {
    detail::PrintText(target, spec, detail::TextAt(text, spec.precision));
}

}   // namespace ilk
