/// Types of the calls of this layer. On every system they have the widths of the Windows types.
#pragma once

#include <cstddef>
#include <cstdint>

namespace platform {

/// A file, a semaphore, a heap or a loaded image.
using Handle = void*;

/// All ones: the result of a failed `CreateFileW`, and the value of an owner that owns nothing.
inline const Handle kInvalidHandle = reinterpret_cast<Handle>(~std::uintptr_t{0});

}   // namespace platform
