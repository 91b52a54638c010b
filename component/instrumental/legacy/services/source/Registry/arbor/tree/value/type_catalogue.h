/// The names of the value types, which documents use as element names, and the lookup in both directions.
///
/// The catalogue also names types that can't be stored; `CreateValue` refuses those. Constant data, safe for any
/// thread.
#pragma once

#include "tree/contract.h"

#include <string_view>

namespace arbor::module {

/// Returns the code of the type with exactly that name, including case, or 0. The name needs no terminator.
[[nodiscard]] TypeCode TypeCodeFromName(std::string_view name);

/// Returns the name of a type, with a terminator after it, or a null view for a code without a name. `code` must be
/// below 64; the type of every value is.
[[nodiscard]] std::string_view TypeNameFromCode(TypeCode code);

}   // namespace arbor::module
