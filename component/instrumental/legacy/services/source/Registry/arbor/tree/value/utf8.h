/// Converts between UTF-8 and 16-bit units for the texts of tWSTRING values. Each unit is converted by itself:
/// surrogates are neither combined nor refused, so that every sequence of units survives a round trip.
#pragma once

#include <cstdint>

namespace arbor::module {

inline constexpr std::uint32_t kNoLimit = ~std::uint32_t{0};

/// Decodes `size` bytes, fewer than 2^31, into at most `limit` units, without a terminator. Returns the number of units
/// written, or -1 if bytes are left after `limit` units. Every input is accepted: a byte that doesn't begin a sequence
/// of one to three bytes becomes a question mark, as does a sequence of three bytes that the end cuts short. The bytes
/// after the first of a sequence aren't checked.
std::int32_t DecodeUtf8(const char* source, std::uint32_t size, char16_t* target, std::uint32_t limit);

/// Returns the number of bytes that `EncodeUtf8` writes for `length` units.
[[nodiscard]] std::uint64_t Utf8Length(const char16_t* source, std::uint32_t length);

/// Writes one to three bytes for each unit, without a terminator. Returns the end of the text.
char* EncodeUtf8(const char16_t* source, std::uint32_t length, char* target);

}   // namespace arbor::module
