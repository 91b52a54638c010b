/// The parameters of the commands that change one value: `set` and `retype`.
#pragma once

#include "exactness.h"

#include <filesystem>
#include <optional>

namespace arborctl {

struct SetRequest {
    ValuePath path{};
    kernel::TypeCode type = 0;   // of a new value, or 0 for a tSTRING; an existing value keeps its type
    std::string text{};
    std::optional<std::filesystem::path> file{};   // has the text, or a blob's bytes; "-" is standard input
    Exactness exactness = Exactness::Exact;
};

struct RetypeRequest {
    ValuePath path{};
    kernel::TypeCode type = 0;
    bool force = false;   // converts even if that loses something
};

}   // namespace arborctl
