/// The types that a value can have, by name, and the text form of their bytes on the command line.
#pragma once

#include <component/kernel/value_types.h>

#include <string>
#include <string_view>

namespace arborctl {

struct ValueTypeRow {
    std::string_view name;
    kernel::TypeCode type;
    std::uint32_t width;   // bytes of the binary form; 0 where they vary, or there are none
};

/// Null for a name or number that no value has.
[[nodiscard]] const ValueTypeRow* FindType(std::string_view name);
[[nodiscard]] const ValueTypeRow* FindType(kernel::TypeCode type);

/// All names in one line, for people.
[[nodiscard]] std::string TypeNames();

}   // namespace arborctl
