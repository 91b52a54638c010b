/// The names of value types as documents write them, and the search by name.
///
/// The catalogue has more names than the store has types: `CreateValue` refuses those that can't be stored. Constant
/// data, safe for any thread.
#pragma once

#include "tree/contract.h"

#include <string_view>

namespace arbor::module {

/// Returns the type of exactly that name, case included, or 0. The name needs no terminator.
[[nodiscard]] TypeCode TypeCodeFromName(std::string_view name);

/// Returns the name of a type; a terminator follows it. A code without a name gives a null view. `code` must be below
/// 64, as every type that a value reports is.
[[nodiscard]] std::string_view TypeNameFromCode(TypeCode code);

}   // namespace arbor::module
