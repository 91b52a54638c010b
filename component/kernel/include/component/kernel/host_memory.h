/// Owning pointers to host memory: every block from `HostAlloc` goes into one of these at once. Each holds the object
/// through whose system calls it frees its block; that object must outlive it.
#pragma once

#include <component/kernel/host_object.h>

#include <memory>
#include <new>
#include <utility>

namespace kernel {

struct HostBlockDelete {
    const HostObject* host;
    void operator()(void* block) const { HostFree(host, block); }
};

/// Owner of a block of plain bytes or characters.
template <class T>
using HostBlock = std::unique_ptr<T[], HostBlockDelete>;

/// Allocates `bytes` + `extra` zeroed bytes into `block`. Returns the host's code, or `kOutOfMemory` for a sum above
/// 32 bits. On failure `block` keeps what it had.
template <class T>
[[nodiscard]] ResultCode AllocateBlock(const HostObject* host, std::uint32_t bytes, std::uint32_t extra,
                                       HostBlock<T>& block) {
    if (bytes > ~std::uint32_t{0} - extra) return kOutOfMemory;
    void* memory = nullptr;
    const ResultCode code = HostAlloc(host, &memory, bytes + extra);
    if (IsSuccess(code)) block = HostBlock<T>(static_cast<T*>(memory), HostBlockDelete{host});
    return code;
}

template <class T>
struct HostDelete {
    const HostObject* host;
    void operator()(T* object) const {
        object->~T();
        HostFree(host, object);
    }
};

/// Owner of an object that was constructed in a host block: destroys the object and frees the block.
template <class T>
using HostPtr = std::unique_ptr<T, HostDelete<T>>;

/// Constructs a `T` in a host block of its own. Null if the host has no memory. If the constructor throws, the block is
/// freed and the exception passes on.
template <class T, class... Arguments>
[[nodiscard]] HostPtr<T> MakeInHost(const HostObject* host, Arguments&&... arguments) {
    void* memory = nullptr;
    if (IsFailure(HostAlloc(host, &memory, sizeof(T)))) return HostPtr<T>(nullptr, HostDelete<T>{host});
    std::unique_ptr<void, HostBlockDelete> block(memory, HostBlockDelete{host});
    T* object = ::new (memory) T(std::forward<Arguments>(arguments)...);
    static_cast<void>(block.release());   // the returned owner frees it
    return HostPtr<T>(object, HostDelete<T>{host});
}

}   // namespace kernel
