/// The process heap.
#pragma once

#include <component/platform/types.h>

namespace platform {

[[nodiscard]] Handle GetProcessHeap();

/// Returns a block of `size` bytes, aligned for any scalar, or null. `flags` is 0. The caller frees it by `HeapFree`.
[[nodiscard]] void* HeapAlloc(Handle heap, std::uint32_t flags, std::size_t size);

/// Frees a block; null is a success.
bool HeapFree(Handle heap, std::uint32_t flags, void* block);

}   // namespace platform
