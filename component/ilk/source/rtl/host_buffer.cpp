// The resizable block of host memory.

#include <component/ilk/rtl/host_buffer.h>

#include <utility>

namespace ilk {

HostBuffer::HostBuffer(const kernel::MethodTable* systemFace)
    : face_(systemFace != nullptr ? systemFace : &kernel::HostRoot->SystemFace) {}

HostBuffer::~HostBuffer() { HostBuffer::Release(); }

void* HostBuffer::Acquire(std::uint32_t sizeBytes, bool keep) {
    if (sizeBytes == kSameSize) return data_;
    if (sizeBytes > capacity_) {
        Reallocate(sizeBytes, keep);
    } else {
        size_ = sizeBytes;
    }
    return data_;
}

void* HostBuffer::Fit(std::uint32_t sizeBytes, bool keep) {
    const std::uint32_t needed = sizeBytes >= kSameSize - 1 ? size_ : sizeBytes;
    if (needed == 0) {
        Release();
    } else if (needed > capacity_) {
        Acquire(needed, keep);
    } else if (needed < capacity_) {
        Reallocate(needed, keep);
    }
    return data_;
}

void HostBuffer::Release() {
    if (data_ != nullptr) kernel::SlotOf<kernel::HostFreeCall>(*face_, kernel::kHostFreeSlot)(face_, data_);
    data_ = nullptr;
    size_ = 0;
    capacity_ = 0;
}

/// Replaces the block by one of `sizeBytes`, with the contents kept if `keep` is set. The host's codes are dropped: a
/// failed call leaves `block` null.
void HostBuffer::Reallocate(std::uint32_t sizeBytes, bool keep) {
    void* block = nullptr;
    if (keep && data_ != nullptr) {
        const auto realloc = kernel::SlotOf<kernel::HostReallocCall>(*face_, kernel::kHostReallocSlot);
        static_cast<void>(realloc(face_, &block, data_, sizeBytes));
        if (block != nullptr) data_ = nullptr;   // the host freed or reused it
        Release();
    } else {
        Release();
        const auto alloc = kernel::SlotOf<kernel::HostAllocCall>(*face_, kernel::kHostAllocSlot);
        static_cast<void>(alloc(face_, &block, sizeBytes));
    }
    if (block == nullptr) return;
    data_ = block;
    size_ = sizeBytes;
    capacity_ = sizeBytes;
}

}   // namespace ilk
