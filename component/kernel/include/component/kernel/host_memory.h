/// Owners of host memory: what `HostAlloc` gives goes into one of these at once. Each remembers the object whose system
/// calls serve it, which must outlive it.
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

/// A block of plain bytes or characters.
template <class T>
using HostBlock = std::unique_ptr<T[], HostBlockDelete>;

/// Takes `bytes` + `extra` zeroed bytes into `block`. Returns the host's code; a sum that 32 bits can't say is out of
/// memory.
template <class T>
[[nodiscard]] ResultCode TakeBlock(const HostObject* host, std::uint32_t bytes, std::uint32_t extra,
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

/// An object built in place in a host block: destroys it and frees the block.
template <class T>
using HostPtr = std::unique_ptr<T, HostDelete<T>>;

/// Builds a `T` in a block of its own; null if the host has no memory. A constructor that throws frees the block.
template <class T, class... Arguments>
[[nodiscard]] HostPtr<T> MakeInHost(const HostObject* host, Arguments&&... arguments) {
    void* memory = nullptr;
    if (IsFailure(HostAlloc(host, &memory, sizeof(T)))) return HostPtr<T>(nullptr, HostDelete<T>{host});
    std::unique_ptr<void, HostBlockDelete> block(memory, HostBlockDelete{host});
    T* object = ::new (memory) T(std::forward<Arguments>(arguments)...);
    static_cast<void>(block.release());   // the object's owner frees it from here on
    return HostPtr<T>(object, HostDelete<T>{host});
}

}   // namespace kernel
