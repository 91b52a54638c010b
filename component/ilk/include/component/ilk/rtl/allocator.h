/// Allocation for the containers of this library: from an `Allocator` that they hold by counted reference, or from the
/// process heap if they have none. Every block is aligned to the size of two pointers. A failed allocation is a null
/// block; nothing here throws.
#pragma once

#include <component/platform/memory.h>

#include <utility>

namespace ilk {

/// The interface of an allocator. Other modules implement it, so the order of its functions is fixed. The reserved ones
/// are never called here.
class Allocator {
public:
    virtual void AddReference() = 0;
    virtual void ReleaseReference() = 0;
    virtual void Reserved2() = 0;
    [[nodiscard]] virtual void* Alloc(std::size_t sizeBytes) = 0;
    virtual void Reserved4() = 0;
    virtual void Free(void* block) = 0;

protected:
    ~Allocator() = default;   // not virtual: that would add a slot. The last `ReleaseReference` destroys the object.
};

/// A counted reference to an `Allocator`; null means the process heap.
class AllocatorRef {
public:
    AllocatorRef() = default;
    AllocatorRef(Allocator* target) noexcept : allocator(target) {
        if (allocator != nullptr) allocator->AddReference();
    }
    AllocatorRef(const AllocatorRef& other) noexcept : AllocatorRef(other.allocator) {}
    AllocatorRef(AllocatorRef&& other) noexcept : allocator(std::exchange(other.allocator, nullptr)) {}
    AllocatorRef& operator=(AllocatorRef other) noexcept {
        std::swap(allocator, other.allocator);
        return *this;
    }
    ~AllocatorRef() {
        if (allocator != nullptr) allocator->ReleaseReference();
    }

    [[nodiscard]] void* Alloc(std::size_t sizeBytes) const noexcept {
        if (allocator != nullptr) return allocator->Alloc(sizeBytes);
        return platform::HeapAlloc(platform::GetProcessHeap(), 0, sizeBytes);
    }
    void Free(void* block) const noexcept {
        if (allocator != nullptr) return allocator->Free(block);
        platform::HeapFree(platform::GetProcessHeap(), 0, block);
    }

private:
    Allocator* allocator = nullptr;
};

/// Owner of one block while a container grows: of the old block, because the text to append may lie in it, or of the
/// new block until its contents are complete.
class BlockHolder {
public:
    BlockHolder() = default;
    BlockHolder(const BlockHolder&) = delete;
    BlockHolder& operator=(const BlockHolder&) = delete;
    ~BlockHolder() {
        if (block != nullptr) allocator.Free(block);
    }

    /// Takes ownership of `held`, which came from `from`. At most one call.
    void Hold(const AllocatorRef& from, void* held) noexcept {
        allocator = from;
        block = held;
    }

    /// Gives up ownership without freeing the block.
    void Detach() noexcept { block = nullptr; }

private:
    AllocatorRef allocator;
    void* block = nullptr;
};

}   // namespace ilk
