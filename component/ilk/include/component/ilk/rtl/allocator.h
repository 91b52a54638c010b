/// Where the containers take their blocks from: an `Allocator` held by reference, or the process heap where there is
/// none. Nobody asks for an alignment: every block is aligned to two pointers, which does for any scalar. Allocating
/// never throws; what a null block means is the caller's decision.
#pragma once

#include <component/platform/memory.h>

#include <utility>

namespace ilk {

/// The order of the operations is fixed: allocators come from other modules.
class Allocator {
public:
    virtual void AddReference() = 0;
    virtual void ReleaseReference() = 0;
    virtual void Reserved2() = 0;
    [[nodiscard]] virtual void* Alloc(std::size_t sizeBytes) = 0;
    virtual void Reserved4() = 0;
    virtual void Free(void* block) = 0;

protected:
    ~Allocator() = default;   // not virtual: it would take a slot; the last reference is the end of it
};

/// One counted reference to an `Allocator`; a null one stands for the process heap.
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

/// Owner of one block: of the one that a growing container has left, until what is copied from it has been copied, or
/// of the new one, until its contents stand.
class BlockHolder {
public:
    BlockHolder() = default;
    BlockHolder(const BlockHolder&) = delete;
    BlockHolder& operator=(const BlockHolder&) = delete;
    ~BlockHolder() {
        if (block != nullptr) allocator.Free(block);
    }

    /// Takes over one block; called once at most.
    void Hold(const AllocatorRef& from, void* held) noexcept {
        allocator = from;
        block = held;
    }

    /// Leaves the block to whoever has taken it over.
    void Drop() noexcept { block = nullptr; }

private:
    AllocatorRef allocator;
    void* block = nullptr;
};

}   // namespace ilk
