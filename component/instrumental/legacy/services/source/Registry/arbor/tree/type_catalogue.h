/// The catalogue of value types: each type's number and the keyword that stands for it in a document.
///
/// It knows more names than a store can hold: whether a type has values is the factory's knowledge (`CreateValue`).
/// Constant data, open to any thread.
#pragma once

#include "tree/contract.h"

#include <string_view>

namespace arbor {

/// The type of exactly that name, letter case included; 0 if there is none. The name needs no terminator.
[[nodiscard]] TypeCode TypeCodeFromName(std::string_view name);

/// The name of a type, with a terminator behind it, or a view of nothing for a number below 64 that has none. `code`
/// must be below 64: it is what a value reported.
[[nodiscard]] std::string_view TypeNameFromCode(TypeCode code);

}   // namespace arbor
