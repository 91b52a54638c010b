/// The process heap.
#pragma once

#include <component/platform/types.h>

namespace platform {

[[nodiscard]] Handle GetProcessHeap();

/// A block of `size` bytes, aligned for any scalar, or null. `flags` is 0.
[[nodiscard]] void* HeapAlloc(Handle heap, std::uint32_t flags, std::size_t size);

/// Gives a block back; null is a success.
bool HeapFree(Handle heap, std::uint32_t flags, void* block);

}   // namespace platform
