/// The scripts of structured values: what a `TypeLayout` can't say in its flags. A script runs over the value from its
/// first byte to its last. It is read from the layout's `members` first and goes on at `script`, and is a series of
/// entries, each an opcode of one byte and what belongs to it:
///
///     0  the end, which must come exactly behind the value's last byte
///     1  plain bytes: their number
///     2  narrow text, 3 wide text, 4 text of 32-bit characters: one `basic_string_t`
///     5  a `PropertyValue`
///
/// The opcodes 6 to 11 are for others to give a meaning to; here they are refused. A number has 7 bits in each byte,
/// the lowest first; the top bit says that another byte follows. More than five bytes read as 0. A script is constant
/// data of a module and is trusted to have its end; its offsets aren't trusted.
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

/// Copies the value at `source` into the raw memory at `target`. A copy that fails half-way leaves nothing behind: what
/// a member threw passes through. `std::invalid_argument` for a script that isn't understood: neither value is touched
/// then.
void CopyByScript(const TypeLayout& layout, void* target, const void* source);

/// Destroys the value's members. A script that isn't understood destroys nothing.
void DestroyByScript(const TypeLayout& layout, void* value) noexcept;

}   // namespace ilk
