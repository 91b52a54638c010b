/// A block of bytes in host memory that grows and shrinks on request. Nothing here throws. Not for two threads at once.
#pragma once

#include <component/kernel/host_object.h>

namespace ilk {

class HostBuffer {
public:
    /// In the place of a size: leave it, or take the present one.
    static constexpr std::uint32_t kSameSize = ~std::uint32_t{0};

    /// `systemFace` is the address of an object's `SystemFace` word, which must outlive the buffer; null stands for
    /// that of `HostRoot`, which must be there then.
    explicit HostBuffer(const kernel::MethodTable* systemFace = nullptr);
    HostBuffer(const HostBuffer&) = delete;
    HostBuffer& operator=(const HostBuffer&) = delete;

    virtual ~HostBuffer();

    /// Makes room for `sizeBytes` and sets the size to it. A block that grows keeps its contents only with `keep`, and
    /// is zero-filled otherwise. Returns the block; null if the host has no memory, and then the buffer is empty.
    virtual void* Acquire(std::uint32_t sizeBytes, bool keep);

    /// As `Acquire`, but a block that is too large is exchanged for one of exactly `sizeBytes`. For the
    /// present capacity nothing changes, the size included. `kSameSize` and the number below it stand for the present
    /// size; 0 is `Release`.
    virtual void* Fit(std::uint32_t sizeBytes, bool keep);

    /// Gives the block back.
    virtual void Release();

    [[nodiscard]] void* data() const { return data_; }
    [[nodiscard]] std::uint32_t size() const { return size_; }
    [[nodiscard]] std::uint32_t capacity() const { return capacity_; }

private:
    void Exchange(std::uint32_t sizeBytes, bool keep);

    void* data_ = nullptr;
    std::uint32_t size_ = 0;
    std::uint32_t capacity_ = 0;
    const kernel::MethodTable* face_;
};

}   // namespace ilk
