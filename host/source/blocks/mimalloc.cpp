#include "blocks.h"

#include <cstring>

#include <mimalloc.h>

namespace host {
namespace {

/// The smallest size for which the allocator aligns to 16, and the step of its sizes up to the largest of the few.
constexpr std::size_t kStepBytes = 16;

/// Up to here a block is zeroed by a few stores in place, which cost less than the calls that a larger one takes.
constexpr std::size_t kFewBytes = 128;

/// Zeroes `count` bytes, `Width` to twice that, from both ends.
template <std::size_t Width>
void* ZeroEnds(void* block, std::size_t count) {
    std::memset(block, 0, Width);
    std::memset(static_cast<char*>(block) + count - Width, 0, Width);
    return block;
}

}   // namespace

void* TakeZeroed(std::uint32_t sizeBytes) noexcept {
    if (sizeBytes > kFewBytes) return mi_zalloc(sizeBytes);
    // As large as the allocator's block: what lies behind the bytes asked for is zero too.
    const std::size_t whole = sizeBytes == 0 ? kStepBytes : (sizeBytes + kStepBytes - 1) / kStepBytes * kStepBytes;
    void* block = mi_malloc_small(whole);
    if (block == nullptr) return nullptr;
    if (whole <= 32) return ZeroEnds<16>(block, whole);
    if (whole <= 64) return ZeroEnds<32>(block, whole);
    return ZeroEnds<64>(block, whole);
}

std::size_t BlockBytes(const void* block) noexcept { return mi_usable_size(block); }

void FreeBlock(void* block) noexcept { mi_free(block); }

}   // namespace host
