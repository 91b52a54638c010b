/// Where a document goes wrong, for people.
#pragma once

#include <host/kernel.h>

#include <optional>
#include <string_view>

namespace arborctl {

/// Both count from 1; a column is a character of UTF-8.
struct FaultPlace {
    std::size_t line;
    std::size_t column;
};

/// The first element, or end of one, that keeps the store from loading `document`; its end where something is missing
/// there. Nothing for a document that loads.
[[nodiscard]] std::optional<FaultPlace> FindFault(host::Kernel& kernel, std::string_view document);

}   // namespace arborctl
