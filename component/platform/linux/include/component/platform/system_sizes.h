/// Room for the records of this system; the sources assert that they fit.
#pragma once

#include <cstddef>

namespace platform {

inline constexpr std::size_t kCriticalSectionBytes = 40;

}   // namespace platform
