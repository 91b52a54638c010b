/// Between UTF-8 and 16-bit units, one unit at a time: surrogates are neither paired nor refused.
#pragma once

#include <cstdint>

namespace arbor::module {

inline constexpr std::uint32_t kNoLimit = ~std::uint32_t{0};

/// Decodes `size` bytes into at most `limit` units, without a terminator. Never fails on what it reads: bytes that
/// don't begin a sequence of up to three bytes become question marks, one each, and so does a sequence of three that
/// the end cuts off. The bytes behind a first one aren't checked. Returns the units written, or -1 if the limit was
/// reached with bytes left. `size` is below 2^31.
std::int32_t DecodeUtf8(const char* source, std::uint32_t size, char16_t* target, std::uint32_t limit);

/// The bytes that `EncodeUtf8` writes for `length` units.
[[nodiscard]] std::uint64_t Utf8Length(const char16_t* source, std::uint32_t length);

/// Writes one to three bytes for each unit, without a terminator; returns the end of the text.
char* EncodeUtf8(const char16_t* source, std::uint32_t length, char* target);

}   // namespace arbor::module
