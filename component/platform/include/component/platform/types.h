/// The words that the calls of this layer speak in. They have the widths of the Windows calls on every system.
#pragma once

#include <cstddef>
#include <cstdint>

namespace platform {

/// A file, a semaphore or a heap of the system. Which of them it is, is the holder's knowledge.
using Handle = void*;

/// All ones: what a failed `CreateFileW` gives, and what owners keep while they own nothing.
inline const Handle kInvalidHandle = reinterpret_cast<Handle>(~std::uintptr_t{0});

}   // namespace platform
