// The ordinary heap, where sanitizers watch every block. A header tells a live block from anything else.

#include "blocks.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace host {
namespace {

constexpr std::align_val_t kAlignment{16};
constexpr std::uint32_t kLive = 0x4C495645;
constexpr std::uint32_t kGone = 0x474F4E45;

/// Stands in front of each block.
struct alignas(16) Header {
    std::uint32_t sizeBytes;
    std::uint32_t mark;
};

}   // namespace

void* TakeZeroed(std::uint32_t sizeBytes) noexcept {
    if (std::size_t{sizeBytes} > std::numeric_limits<std::size_t>::max() - sizeof(Header)) return nullptr;
    void* memory = ::operator new(sizeof(Header) + sizeBytes, kAlignment, std::nothrow);
    if (memory == nullptr) return nullptr;
    return std::memset(::new (memory) Header{sizeBytes, kLive} + 1, 0, sizeBytes);
}

std::size_t BlockBytes(const void* block) noexcept { return (static_cast<const Header*>(block) - 1)->sizeBytes; }

void FreeBlock(void* block) noexcept {
    Header* header = static_cast<Header*>(block) - 1;
    if (header->mark != kLive) {
        std::fprintf(stderr, "host: %p isn't a live block of host memory\n", block);
        std::abort();
    }
    header->mark = kGone;
    ::operator delete(header, kAlignment);
}

}   // namespace host
