/// Converts `errno` to the error numbers of this layer, which are those of Windows.
#pragma once

#include <component/platform/errors.h>

namespace platform {

/// Returns the layer's number for a value of `errno`; `kErrorGenFailure` for a value without one.
[[nodiscard]] std::uint32_t ErrorFromErrno(int error);

/// Set the thread's last error and return false, so that a caller can return their result.
bool FailWith(std::uint32_t error);
bool FailWithErrno(int error);

}   // namespace platform
