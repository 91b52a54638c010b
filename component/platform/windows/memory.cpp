// The process heap of Windows.

#include <component/platform/memory.h>

#include <windows.h>

namespace platform {

Handle GetProcessHeap() { return ::GetProcessHeap(); }

void* HeapAlloc(Handle heap, std::uint32_t flags, std::size_t size) { return ::HeapAlloc(heap, flags, size); }

bool HeapFree(Handle heap, std::uint32_t flags, void* block) {
    return block == nullptr || ::HeapFree(heap, flags, block) != 0;
}

}   // namespace platform
