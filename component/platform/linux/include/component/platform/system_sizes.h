/// Sizes of this system's records; the sources assert that they fit.
#pragma once

#include <cstddef>

namespace platform {

inline constexpr std::size_t kCriticalSectionBytes = 40;

}   // namespace platform
