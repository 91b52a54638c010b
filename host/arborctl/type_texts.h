/// Describes the texts of each value type, and parses type names of the command line.
#pragma once

#include <component/kernel/type_table.h>

#include <string>
#include <string_view>

namespace arborctl {

struct TypeTextRow {
    kernel::TypeCode type;
    std::string_view text;      // the texts that are values of the type
    std::string_view example;   // a text that a save keeps; for `tWCHAR` there is none
};

/// `type` is storable.
[[nodiscard]] const TypeTextRow& TextsOf(kernel::TypeCode type);

/// Returns a storable type by its name, in any case. Throws `std::invalid_argument` if there is none.
[[nodiscard]] kernel::TypeCode ParseType(std::string_view name);

/// Prints the storable types, or one of them if `name` isn't empty, as a table or as a JSON array. Throws as
/// `ParseType`. Returns the exit code.
int PrintTypes(std::string_view name, bool asJson);

}   // namespace arborctl
