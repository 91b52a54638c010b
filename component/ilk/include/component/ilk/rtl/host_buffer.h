/// A resizable block of bytes in host memory. Nothing here throws. Not thread-safe.
#pragma once

#include <component/kernel/host_object.h>

namespace ilk {

class HostBuffer {
public:
    /// As the argument `sizeBytes`: keeps the current size.
    static constexpr std::uint32_t kSameSize = ~std::uint32_t{0};

    /// Allocates through the host object whose field `SystemFace` is at `systemFace`; the object must outlive the
    /// buffer. Null means `HostRoot`, which must not be null then.
    explicit HostBuffer(const kernel::MethodTable* systemFace = nullptr);
    HostBuffer(const HostBuffer&) = delete;
    HostBuffer& operator=(const HostBuffer&) = delete;

    virtual ~HostBuffer();

    /// Sets the size to `sizeBytes` and grows the block if necessary. A block that grows keeps its contents if `keep`
    /// is set and is zero-filled otherwise; one that is large enough stays. With `kSameSize` nothing changes. Returns
    /// the block, or null if the host has no memory; the buffer is empty then.
    virtual void* Acquire(std::uint32_t sizeBytes, bool keep);

    /// As `Acquire`, but a block larger than `sizeBytes` is replaced by one of exactly that size. If `sizeBytes` equals
    /// the capacity, nothing changes, not even the size. `kSameSize` and `kSameSize - 1` mean the current size; 0
    /// releases the block.
    virtual void* Fit(std::uint32_t sizeBytes, bool keep);

    /// Frees the block and empties the buffer.
    virtual void Release();

    [[nodiscard]] void* data() const { return data_; }
    [[nodiscard]] std::uint32_t size() const { return size_; }
    [[nodiscard]] std::uint32_t capacity() const { return capacity_; }

private:
    void Reallocate(std::uint32_t sizeBytes, bool keep);

    void* data_ = nullptr;
    std::uint32_t size_ = 0;
    std::uint32_t capacity_ = 0;
    const kernel::MethodTable* face_;
};

}   // namespace ilk
