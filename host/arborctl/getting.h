/// The parameters of the command `get`.
#pragma once

#include "path.h"

#include <component/kernel/value_types.h>

#include <optional>
#include <string>
#include <vector>

namespace arborctl {

struct GetRequest {
    std::vector<ValuePath> values{};
    kernel::TypeCode as = 0;                 // 0: the own type of each value
    std::optional<std::string> fallback{};   // printed for a missing value
    bool raw = false;                        // print the bytes alone, without a line end
};

}   // namespace arborctl
