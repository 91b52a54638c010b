/// From the numbers of this system to those of the layer.
#pragma once

#include <component/platform/errors.h>

namespace platform {

/// The layer's number for a value of `errno`; `kErrorGenFailure` for one that no row names.
[[nodiscard]] std::uint32_t ErrorFromErrno(int error);

/// Make a number the thread's last error and give false, so that a caller can return with them.
bool FailWith(std::uint32_t error);
bool FailWithErrno(int error);

}   // namespace platform
