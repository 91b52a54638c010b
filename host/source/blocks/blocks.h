/// The allocator under `Memory`. CMake compiles one of the sources: that of the system, or
/// `mimalloc.cpp` if ARBOR_MIMALLOC is on. Callable from any thread; nothing throws.
#pragma once

#include <cstddef>
#include <cstdint>

namespace host {

/// Allocates `sizeBytes` zero bytes, aligned to 16. A size of 0 gives a block too. Returns null if memory is exhausted.
[[nodiscard]] void* AllocateZeroed(std::uint32_t sizeBytes) noexcept;

/// The readable bytes of a block: those requested, and perhaps more, which are zero.
[[nodiscard]] std::size_t BlockBytes(const void* block) noexcept;

void FreeBlock(void* block) noexcept;

}   // namespace host
