/// The parameters of the commands `find` and `tree`.
#pragma once

#include "pattern.h"

#include <component/kernel/value_types.h>

#include <limits>
#include <optional>

namespace arborctl {

/// All conditions that are given must hold. A key has a name only, so a condition on the type or the text excludes it.
struct FindRequest {
    std::optional<Pattern> anywhere{};   // in the name, or in a value's text
    std::optional<Pattern> name{};
    std::optional<Pattern> text{};
    kernel::TypeCode type = 0;   // 0: any
};

struct TreeRequest {
    std::size_t depth = std::numeric_limits<std::size_t>::max();   // the levels of keys and values that are shown
    kernel::TypeCode type = 0;                                     // of the values that are shown; 0: any
    kernel::TypeCode as = 0;                                       // to which they are converted; 0: their own
};

}   // namespace arborctl
