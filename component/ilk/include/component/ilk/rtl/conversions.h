/// Conversions between narrow text in the encoding of the C runtime's current locale, UTF-16 and UTF-8. Invalid input
/// is an error; no replacement character is ever written.
#pragma once

#include <component/ilk/error/result_code.h>
#include <component/ilk/rtl/basic_string.h>

namespace ilk {

/// Converts `source` to UTF-16 and stores it in `target` from `offset` on; `target` then ends there. A shorter `target`
/// is extended to `offset` with NULs. Returns `ResultInvalidArgument` for bytes that are invalid or incomplete in the
/// locale, `ResultOutOfMemory` if the result doesn't fit; `target` is unchanged then.
[[nodiscard]] ResultCode Widen(std::string_view source, basic_string_t<char16_t>& target, std::size_t offset);

/// Appends `source` as UTF-8; an unpaired surrogate is encoded in three bytes. Returns `ResultOutOfMemory` and appends
/// nothing if the result doesn't fit.
[[nodiscard]] ResultCode ToUtf8(std::u16string_view source, basic_string_t<char>& target);

/// As `Widen`, into a new string. Throws `std::bad_alloc` without memory and `std::bad_cast` for invalid bytes.
[[nodiscard]] basic_string_t<char16_t> WideFromNarrow(std::string_view source);

/// Converts one character for printing. Returns false if the result isn't exactly one character of the other width.
[[nodiscard]] bool NarrowCharacter(char32_t character, char& narrow) noexcept;
[[nodiscard]] bool WidenCharacter(char narrow, char16_t& wide) noexcept;

}   // namespace ilk
