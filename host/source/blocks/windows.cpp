// Blocks from the C++ heap. The size is stored in a header before the block: the system's aligned blocks don't report
// it, and its other blocks are aligned to 8 only.

#include "blocks.h"

#include <cstring>
#include <limits>
#include <new>

namespace host {
namespace {

constexpr std::align_val_t kAlignment{16};

struct alignas(16) Header {
    std::uint32_t sizeBytes;
};

}   // namespace

void* AllocateZeroed(std::uint32_t sizeBytes) noexcept {
    if (std::size_t{sizeBytes} > std::numeric_limits<std::size_t>::max() - sizeof(Header)) return nullptr;
    void* memory = ::operator new(sizeof(Header) + sizeBytes, kAlignment, std::nothrow);
    if (memory == nullptr) return nullptr;
    return std::memset(::new (memory) Header{sizeBytes} + 1, 0, sizeBytes);
}

std::size_t BlockBytes(const void* block) noexcept { return (static_cast<const Header*>(block) - 1)->sizeBytes; }

void FreeBlock(void* block) noexcept { ::operator delete(static_cast<Header*>(block) - 1, kAlignment); }

}   // namespace host
