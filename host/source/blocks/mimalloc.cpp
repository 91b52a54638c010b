// Blocks from mimalloc, for the benchmarks, whose programs all use this allocator. It stores a block's size itself, so
// that the memory that they report is the module's own.

#include "blocks.h"

#include <algorithm>

#include <mimalloc.h>

namespace host {

void* AllocateZeroed(std::uint32_t sizeBytes) noexcept {
    constexpr std::size_t kMinBytes = 16;   // mimalloc aligns blocks of up to 8 bytes to 8
    return mi_zalloc(std::max<std::size_t>(sizeBytes, kMinBytes));
}

/// `mi_zalloc` zeroes a block up to this size.
std::size_t BlockBytes(const void* block) noexcept { return mi_usable_size(block); }

void FreeBlock(void* block) noexcept { mi_free(block); }

}   // namespace host
