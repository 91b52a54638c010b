#include <component/platform/memory.h>

#include <cstdlib>

namespace platform {
namespace {

char processHeap;   // its address is the handle: there is one heap, that of the C library

}   // namespace

Handle GetProcessHeap() { return &processHeap; }

void* HeapAlloc(Handle /*heap*/, std::uint32_t /*flags*/, std::size_t size) {
    return std::malloc(size == 0 ? 1 : size);   // an empty block has an address of its own
}

bool HeapFree(Handle /*heap*/, std::uint32_t /*flags*/, void* block) {
    std::free(block);
    return true;
}

}   // namespace platform
