#include "blocks.h"

#include <algorithm>

#include <mimalloc.h>

namespace host {
namespace {

/// The smallest size for which the allocator aligns to 16.
constexpr std::size_t kSmallestAligned = 16;

}   // namespace

void* TakeZeroed(std::uint32_t sizeBytes) noexcept {
    return mi_zalloc(std::max<std::size_t>(sizeBytes, kSmallestAligned));
}

std::size_t BlockBytes(const void* block) noexcept { return mi_usable_size(block); }

void FreeBlock(void* block) noexcept { mi_free(block); }

}   // namespace host
