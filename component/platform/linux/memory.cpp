// The process heap is that of the C library.

#include <component/platform/memory.h>

#include <cstdlib>

namespace platform {
namespace {

char processHeap;   // its address is the handle of the only heap

}   // namespace

Handle GetProcessHeap() { return &processHeap; }

void* HeapAlloc(Handle /*heap*/, std::uint32_t /*flags*/, std::size_t size) {
    return std::malloc(size == 0 ? 1 : size);   // an empty block has its own address
}

bool HeapFree(Handle /*heap*/, std::uint32_t /*flags*/, void* block) {
    std::free(block);
    return true;
}

}   // namespace platform
