/// Conversions between narrow text, whose meaning is that of the C runtime's current locale, and wide text, which is
/// UTF-16. Nothing is ever replaced: text that has no meaning is refused.
#pragma once

#include <component/ilk/error/result_code.h>
#include <component/ilk/rtl/basic_string.h>

namespace ilk {

/// Sets `target` to its first `offset` characters and `source` behind them. `ResultInvalidArgument` for a byte sequence
/// that is no text, `ResultOutOfMemory` if there is no room; `target` is as it was then.
[[nodiscard]] ResultCode Widen(std::string_view source, basic_string_t<char16_t>& target, std::size_t offset);

/// Appends `source` as UTF-8; an unpaired surrogate stands for itself in three bytes. `ResultOutOfMemory` if there is
/// no room: nothing is appended then.
[[nodiscard]] ResultCode ToUtf8(std::u16string_view source, basic_string_t<char>& target);

/// `Widen` into a new string. Throws `std::bad_alloc` without memory and `std::bad_cast` for what is no text.
[[nodiscard]] basic_string_t<char16_t> WideFromNarrow(std::string_view source);

/// One character alone, as output takes it: false if it isn't exactly one of the other width.
[[nodiscard]] bool NarrowCharacter(char32_t character, char& narrow) noexcept;
[[nodiscard]] bool WidenCharacter(char narrow, char16_t& wide) noexcept;

}   // namespace ilk
