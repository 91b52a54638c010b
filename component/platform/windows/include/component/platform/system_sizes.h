/// Sizes of system structures that public headers reserve storage for. The sources assert that they suffice.
#pragma once

#include <cstddef>

namespace platform {

inline constexpr std::size_t kCriticalSectionBytes = sizeof(void*) == 4 ? 24 : 40;

}   // namespace platform
