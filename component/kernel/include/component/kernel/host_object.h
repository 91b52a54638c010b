/// Objects of the host, and the calls that any of them offers: host memory, and the two of the root.
///
/// The address of an object's `SystemFace` word is the first argument of every system call; any object's serves. None
/// of these calls throws. Host memory is one heap for all threads.
#pragma once

#include <component/kernel/result_codes.h>
#include <component/kernel/types.h>

namespace kernel {

using MethodTable = void* const*;

/// What every object of the host starts with.
struct HostObject {
    MethodTable MethodFace;
    MethodTable SystemFace;
};

/// One row of the properties that an interface registers: see `properties.h` for the meaning of an id's bits.
struct PropertyRow {
    HostWord id;
    HostWord value;   // a literal, the address of a constant text, or an offset in the object's data area
    HostWord size;    // bytes of the literal or field; 0 with handlers
    HostWord flags;
    HostWord readHandler;   // 0 or the address of a `PropertyHandler`
    HostWord writeHandler;
};

/// `count` gets the bytes that the property needs, also where the buffer is too short; after a write it is 0.
using PropertyHandler = ResultCode (*)(HostObject* object, std::uint32_t* count, std::uint32_t id, void* buffer,
                                       std::uint32_t size);

/// Slots of the root's method table.
inline constexpr std::size_t kRegisterInterfaceSlot = 0;
inline constexpr std::size_t kBindImportSlot = 14;

using RegisterInterfaceCall = ResultCode (*)(HostObject* root, HostWord interfaceNumber, HostWord moduleNumber,
                                             HostWord, HostWord, HostWord, void* const* internal,
                                             HostWord internalCount, void* const* methods, HostWord methodCount,
                                             const PropertyRow* properties, HostWord propertyCount,
                                             HostWord dataAreaBytes, HostWord);
using BindImportCall = ResultCode (*)(HostObject* root, void** function, std::uint32_t kind, std::uint32_t number,
                                      std::uint32_t mode);

/// Slots of the table at any object's `SystemFace`.
inline constexpr std::size_t kSystemSlots = 82;
inline constexpr std::size_t kHostAllocSlot = 52;
inline constexpr std::size_t kHostReallocSlot = 53;
inline constexpr std::size_t kHostFreeSlot = 54;

using HostAllocCall = ResultCode (*)(const MethodTable* face, void** block, std::uint32_t bytes);
using HostReallocCall = ResultCode (*)(const MethodTable* face, void** block, void* old, std::uint32_t bytes);
using HostFreeCall = void (*)(const MethodTable* face, void* block);

/// The host's root object, from the module's start to its unloading; null while no host has started the module.
inline HostObject* HostRoot = nullptr;

/// The function at `slot` of `table`, in its own type.
template <class Function>
[[nodiscard]] Function SlotOf(MethodTable table, std::size_t slot) {
    return reinterpret_cast<Function>(table[slot]);
}

/// A zero-filled block of `bytes`, aligned to 16, owned by the caller. `*block` is null on a failure.
[[nodiscard]] inline ResultCode HostAlloc(const HostObject* object, void** block, std::uint32_t bytes) {
    *block = nullptr;
    return SlotOf<HostAllocCall>(object->SystemFace, kHostAllocSlot)(&object->SystemFace, block, bytes);
}

/// The block with its contents kept, moved where it must. On a failure `old` stays and `*block` is null.
[[nodiscard]] inline ResultCode HostRealloc(const HostObject* object, void** block, void* old, std::uint32_t bytes) {
    *block = nullptr;
    return SlotOf<HostReallocCall>(object->SystemFace, kHostReallocSlot)(&object->SystemFace, block, old, bytes);
}

/// Gives a block back; null is allowed.
inline void HostFree(const HostObject* object, void* block) {
    SlotOf<HostFreeCall>(object->SystemFace, kHostFreeSlot)(&object->SystemFace, block);
}

/// Asks the root for a function of the host; null if it has none.
template <class Function>
[[nodiscard]] Function BindImport(HostObject* root, std::uint32_t kind, std::uint32_t number, std::uint32_t mode) {
    void* function = nullptr;
    // The pointer is the answer: the host's code says nothing more.
    static_cast<void>(SlotOf<BindImportCall>(root->MethodFace, kBindImportSlot)(root, &function, kind, number, mode));
    return reinterpret_cast<Function>(function);
}

}   // namespace kernel
