/// Copying and destroying of values that have members with constructors. A `TypeLayout` describes such a value by a
/// script: entries for all of its bytes, from the first to the last. The script starts in `members` and continues at
/// `script`. An entry is an opcode of one byte and its operands:
///
///     0  end; valid only after the value's last byte
///     1  plain bytes; operand: how many
///     2  `basic_string_t` of narrow characters, 3 of wide, 4 of 32-bit ones
///     5  `PropertyValue`
///
/// An operand is a variable-length number: 7 bits a byte, lowest first, top bit set if another byte follows; one of
/// more than five bytes counts as 0. A script with any other opcode, or with a member that is misaligned, empty or not
/// wholly in the value, is invalid. Scripts are constants of a module: they are trusted to end, but not to fit the
/// value.
#pragma once

#include <component/ilk/error/property_value.h>

namespace ilk {

enum class ScriptOpcode : std::uint8_t {
    End = 0,
    Bytes = 1,
    NarrowText = 2,
    WideText = 3,
    Text32 = 4,
    Value = 5,
};

/// Copies the value at `source` into the raw memory at `target`. If the copy of a member throws, the members copied
/// before are destroyed and the exception passes on. Throws `std::invalid_argument` for an invalid script, before it
/// reads or writes a value.
void CopyByScript(const TypeLayout& layout, void* target, const void* source);

/// Destroys the members of `value`; none if the script is invalid.
void DestroyByScript(const TypeLayout& layout, void* value) noexcept;

}   // namespace ilk
