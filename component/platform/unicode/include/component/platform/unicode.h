/// The one codec for UTF-8 and UTF-16: it reads or writes one code point at a time. The caller chooses what malformed
/// text becomes. All functions are inline, so that a target which doesn't link the platform library can use them too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace platform {

/// Optional at the start of a UTF-8 text.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

inline constexpr char32_t kReplacementCharacter = 0xFFFD;
inline constexpr char32_t kNoCodePoint = 0xFFFFFFFF;
inline constexpr char32_t kFirstSupplementary = 0x10000;   // UTF-16 needs a surrogate pair from here on
inline constexpr char32_t kMaxCodePoint = 0x10FFFF;

/// How a unit that begins no valid sequence is read. Only that unit is consumed.
enum class Malformed {
    Reject,    // `kNoCodePoint`
    Replace,   // `kReplacementCharacter`
    Keep       // the unit's own value
};

[[nodiscard]] constexpr bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
[[nodiscard]] constexpr bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

[[nodiscard]] constexpr char32_t ReadMalformed(char32_t unit, Malformed policy) {
    if (policy == Malformed::Keep) return unit;
    return policy == Malformed::Replace ? kReplacementCharacter : kNoCodePoint;
}

/// Removes the first code point from `text`, which must not be empty, and returns it. An unpaired surrogate is
/// malformed.
[[nodiscard]] constexpr char32_t ReadUtf16(std::u16string_view& text, Malformed policy) {
    const char32_t first = text.front();
    text.remove_prefix(1);
    if (!IsHighSurrogate(first) && !IsLowSurrogate(first)) return first;
    if (IsLowSurrogate(first) || text.empty() || !IsLowSurrogate(text.front())) return ReadMalformed(first, policy);
    const char32_t second = text.front();
    text.remove_prefix(1);
    return kFirstSupplementary + ((first - 0xD800) << 10) + (second - 0xDC00);
}

/// Removes the first code point from `text`, which must not be empty, and returns it. Stray, missing and impossible
/// bytes, sequences longer than needed, surrogates, and code points above `kMaxCodePoint` are malformed.
[[nodiscard]] constexpr char32_t ReadUtf8(std::string_view& text, Malformed policy) {
    struct Form {
        std::uint8_t mask;   // the bits of the first byte that identify the form
        std::uint8_t lead;   // their value
        char32_t min;        // a code point below needs a shorter form
    };
    constexpr Form kForms[] = {{0x80, 0x00, 0x0}, {0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, 0x10000}};
    const auto first = static_cast<std::uint8_t>(text.front());
    text.remove_prefix(1);
    const std::string_view rest = text;
    for (std::size_t trailing = 0; trailing < std::size(kForms) && trailing <= rest.size(); ++trailing) {
        const Form& form = kForms[trailing];
        if ((first & form.mask) != form.lead) continue;
        char32_t codePoint = first & ~std::uint32_t{form.mask};
        for (const char unit : rest.substr(0, trailing)) {
            const auto byte = static_cast<std::uint8_t>(unit);
            if ((byte & 0xC0) != 0x80) return ReadMalformed(first, policy);
            codePoint = codePoint << 6 | (byte & 0x3FU);
        }
        const bool isSurrogate = IsHighSurrogate(codePoint) || IsLowSurrogate(codePoint);
        if (codePoint < form.min || codePoint > kMaxCodePoint || isSurrogate) break;
        text.remove_prefix(trailing);
        return codePoint;
    }
    return ReadMalformed(first, policy);
}

/// As `ReadUtf8`, but also reads a surrogate in the form of three bytes: generalized UTF-8, in which 16-bit text that
/// isn't valid UTF-16 can be written.
[[nodiscard]] constexpr char32_t ReadGeneralizedUtf8(std::string_view& text, Malformed policy) {
    const auto at = [text](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    const bool isSurrogate = text.size() >= 3 && at(0) == 0xED && (at(1) & 0xE0) == 0xA0 && (at(2) & 0xC0) == 0x80;
    if (!isSurrogate) return ReadUtf8(text, policy);
    const char32_t surrogate = 0xD000U | (at(1) & 0x3FU) << 6 | (at(2) & 0x3FU);
    text.remove_prefix(3);
    return surrogate;
}

/// Return the number of units that `WriteUtf16` and `WriteUtf8` write: at most 2 and at most 4.
[[nodiscard]] constexpr std::uint32_t Utf16Length(char32_t codePoint) {
    return codePoint < kFirstSupplementary ? 1 : 2;
}
[[nodiscard]] constexpr std::uint32_t Utf8Length(char32_t codePoint) {
    return 1U + (codePoint >= 0x80 ? 1U : 0U) + (codePoint >= 0x800 ? 1U : 0U) +
           (codePoint >= kFirstSupplementary ? 1U : 0U);
}

/// Write a code point up to `kMaxCodePoint` at `target`, without a terminator, and return the end of what they wrote.
/// A surrogate is written like any other code point.
constexpr char16_t* WriteUtf16(char32_t codePoint, char16_t* target) {
    if (codePoint < kFirstSupplementary) {
        *target++ = static_cast<char16_t>(codePoint);
    } else {
        *target++ = static_cast<char16_t>(0xD800 + ((codePoint - kFirstSupplementary) >> 10));
        *target++ = static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF));
    }
    return target;
}

constexpr char* WriteUtf8(char32_t codePoint, char* target) {
    const auto trailing = [codePoint](unsigned shift) { return static_cast<char>(0x80 | (codePoint >> shift & 0x3F)); };
    if (codePoint < 0x80) {
        *target++ = static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        *target++ = static_cast<char>(0xC0 | codePoint >> 6);
        *target++ = trailing(0);
    } else if (codePoint < kFirstSupplementary) {
        *target++ = static_cast<char>(0xE0 | codePoint >> 12);
        *target++ = trailing(6);
        *target++ = trailing(0);
    } else {
        *target++ = static_cast<char>(0xF0 | codePoint >> 18);
        *target++ = trailing(12);
        *target++ = trailing(6);
        *target++ = trailing(0);
    }
    return target;
}

}   // namespace platform
