/// Where the heap's blocks come from: a source of its own for each kind, of which the build picks one. Any thread may
/// call; nothing throws.
#pragma once

#include <cstddef>
#include <cstdint>

namespace host {

/// `sizeBytes` zeroes, aligned to 16, also for a size of 0; null without memory.
[[nodiscard]] void* TakeZeroed(std::uint32_t sizeBytes) noexcept;

/// The bytes that may be read of a block: those that were asked for, and perhaps zeroes behind.
[[nodiscard]] std::size_t BlockBytes(const void* block) noexcept;

void FreeBlock(void* block) noexcept;

}   // namespace host
