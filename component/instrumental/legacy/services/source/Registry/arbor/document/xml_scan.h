/// Character classes of XML and scans over bytes that the parts of the reader share. A scan takes a position and the
/// end of its range and returns a position.
#pragma once

#include "document/xml_reader.h"
#include "tree/swar.h"

#include <component/platform/byte_group.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace arbor::module {

enum CharacterClass : std::uint8_t {
    ClassSpace = 1,
    ClassNameStart = 2,
    ClassNameChar = 4,
};

/// The classes of XML 1.0 for the characters below 256: the reader tests single bytes.
inline constexpr std::array<std::uint8_t, 256> kCharacterClasses = [] {
    std::array<std::uint8_t, 256> classes{};
    const auto add = [&classes](unsigned first, unsigned last, unsigned bits) {
        for (unsigned byte = first; byte <= last; ++byte)
            classes[byte] = static_cast<std::uint8_t>(classes[byte] | bits);
    };
    add('\t', '\n', ClassSpace);
    add('\r', '\r', ClassSpace);
    add(' ', ' ', ClassSpace);
    add(':', ':', ClassNameStart | ClassNameChar);
    add('A', 'Z', ClassNameStart | ClassNameChar);
    add('_', '_', ClassNameStart | ClassNameChar);
    add('a', 'z', ClassNameStart | ClassNameChar);
    add(0xC0, 0xD6, ClassNameStart | ClassNameChar);
    add(0xD8, 0xF6, ClassNameStart | ClassNameChar);
    add(0xF8, 0xFF, ClassNameStart | ClassNameChar);
    add('-', '.', ClassNameChar);
    add('0', '9', ClassNameChar);
    add(0xB7, 0xB7, ClassNameChar);
    return classes;
}();

[[nodiscard]] constexpr bool HasClass(char byte, CharacterClass wanted) {
    return (kCharacterClasses[static_cast<unsigned char>(byte)] & wanted) != 0;
}

[[nodiscard]] constexpr bool IsXmlSpace(char byte) { return HasClass(byte, ClassSpace); }
[[nodiscard]] constexpr bool IsNameStart(char byte) { return HasClass(byte, ClassNameStart); }
[[nodiscard]] constexpr bool IsNameChar(char byte) { return HasClass(byte, ClassNameChar); }

[[nodiscard]] constexpr bool IsAscii(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

/// The first byte of every name, and all bytes of an attribute's name, must be ASCII.
[[nodiscard]] constexpr bool IsAsciiNameStart(char byte) { return IsAscii(byte) && IsNameStart(byte); }
[[nodiscard]] constexpr bool IsAsciiNameChar(char byte) { return IsAscii(byte) && IsNameChar(byte); }

[[nodiscard]] inline ByteSlice SliceOf(const char* first, const char* last) {
    return {first, static_cast<std::uint32_t>(last - first)};
}

[[nodiscard]] inline const char* EndOf(const ByteSlice& slice) { return slice.data + slice.length; }

[[nodiscard]] inline bool HasWord(const char* at, const char* last) {
    return static_cast<std::size_t>(last - at) >= sizeof(Word);
}

/// Returns the first byte that isn't a space (0x20), or `last`.
[[nodiscard]] inline const char* SkipSpaces(const char* at, const char* last) {
    for (; HasWord(at, last); at += sizeof(Word)) {
        const Word difference = Load<Word>(at) ^ Broadcast(' ');
        if (difference != 0) return at + FirstMatch(difference);
    }
    while (at != last && *at == ' ') ++at;
    return at;
}

/// Returns the first byte that isn't XML white space, or `last`.
[[nodiscard]] inline const char* SkipWhitespace(const char* at, const char* last) {
    while (at != last && IsXmlSpace(*at)) {
        ++at;
        // Longer white space is mostly an indent: a line end, then spaces.
        if (at != last && *at == ' ') at = SkipSpaces(at, last);
    }
    return at;
}

/// Returns the first byte that is one of `wanted`, or `last`. One search for several bytes, a group of bytes a step and
/// without a call: names and texts mostly end in the first step.
template <class... Bytes>
[[nodiscard]] inline const char* FindByte(const char* at, const char* last, Bytes... wanted) {
    using platform::ByteGroup;
    for (; static_cast<std::size_t>(last - at) >= ByteGroup::kSizeBytes; at += ByteGroup::kSizeBytes) {
        const auto match = ByteGroup(at).Match(wanted...);
        if (match != 0) return at + ByteGroup::First(match);
    }
    while (at != last && ((*at != wanted) && ...)) ++at;
    return at;
}

/// The same for bytes that are known at compile time, which need no instructions to be spread over a group.
template <char... wanted>
[[nodiscard]] const char* FindAnyOf(const char* at, const char* last) {
    return FindByte(at, last, wanted...);
}

/// Returns the text that ends before the next `terminator` or at `last`.
[[nodiscard]] inline RawText FindTextEnd(const char* first, const char* last, char terminator) {
    const char* const mark = FindByte(first, last, terminator, '&', '\0');
    if (mark == last || *mark == terminator) return {SliceOf(first, mark), true};
    return {SliceOf(first, FindByte(mark, last, terminator)), false};
}

/// Returns the byte after `text`, or null if `text` isn't at `at`. A null `at` gives null, so that calls can be nested.
[[nodiscard]] inline const char* SkipText(const char* at, const char* last, std::string_view text) {
    if (at == nullptr || static_cast<std::size_t>(last - at) < text.size()) return nullptr;
    return SameBytes(at, text.data(), text.size()) ? at + text.size() : nullptr;
}

/// The same for a literal, whose fixed length lets the compiler compare it without a call.
template <std::size_t Size>
[[nodiscard]] const char* SkipLiteral(const char* at, const char* last, const char (&literal)[Size]) {
    constexpr std::size_t kLength = Size - 1;
    if (at == nullptr || static_cast<std::size_t>(last - at) < kLength) return nullptr;
    return std::memcmp(at, literal, kLength) == 0 ? at + kLength : nullptr;
}

/// Returns the byte after the end tag of `name`, or null if that tag isn't at `at` in its shortest form.
[[nodiscard]] inline const char* SkipEndTag(const char* at, const char* last, std::string_view name) {
    return SkipLiteral(SkipText(SkipLiteral(at, last, "</"), last, name), last, ">");
}

}   // namespace arbor::module
