/// Converts values of every type to a text and back without the loss of a bit. The store's own texts don't keep the
/// digits of a tDOUBLE, the number of a tBOOL, a tWCHAR, a tFUNC_PTR, or a text that isn't valid UTF-16.
///
/// Integers, tBOOL and tFUNC_PTR are decimal numbers. A tDOUBLE is the shortest decimal number that gives the same
/// bits; a NaN with other bits than those of "nan" and "-nan" is "nan(BITS)" with 16 hexadecimal digits. tBINARY and
/// tPTR are hexadecimal. tSTRING and tCHAR are their bytes. tWSTRING and tWCHAR are UTF-8, in which an unpaired
/// surrogate is three bytes, as if it were a character.
#pragma once

#include <component/client/datum.h>

#include <optional>
#include <string>
#include <string_view>

namespace arborctl {

[[nodiscard]] std::string ToExactText(const arbor::Datum& datum);

/// Converts `text` to a value of the storable `type`. Also accepts hexadecimal integers with "0x", and "true" and
/// "false" for a tBOOL. Returns none if the type has no value with exactly this text: a number out of range, other
/// characters after a number, a text with a zero byte.
[[nodiscard]] std::optional<arbor::Datum> FromExactText(kernel::TypeCode type, std::string_view text);

}   // namespace arborctl
