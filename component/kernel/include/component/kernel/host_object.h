/// The layout of the host's objects and the calls that they offer: host memory through any object, registration and
/// imports through the root object.
///
/// The address of an object's field `SystemFace` is the first argument of every system call; every object offers the
/// same calls. None of them throws. Host memory is one heap for all threads.
#pragma once

#include <component/kernel/result_codes.h>
#include <component/kernel/types.h>

namespace kernel {

using MethodTable = void* const*;

/// The first two words of every object of the host.
struct HostObject {
    MethodTable MethodFace;
    MethodTable SystemFace;
};

/// One row of the property table that an interface registers. `properties.h` describes the bits of `id`.
struct PropertyRow {
    HostWord id;
    HostWord value;   // a literal, the address of a constant text, or an offset into the object's data area
    HostWord size;    // bytes of the literal or of the field in the data area; 0 with handlers
    HostWord flags;
    HostWord readHandler;   // 0 or the address of a `PropertyHandler`
    HostWord writeHandler;
};

/// Reads or writes a property. A read sets `count` to the bytes that the property needs, even if the buffer is too
/// short; a write sets it to 0.
using PropertyHandler = ResultCode (*)(HostObject* object, std::uint32_t* count, std::uint32_t id, void* buffer,
                                       std::uint32_t size);

/// Slots of the root object's `MethodFace`.
inline constexpr std::size_t kRegisterInterfaceSlot = 0;
inline constexpr std::size_t kBindImportSlot = 14;

using RegisterInterfaceCall = ResultCode (*)(HostObject* root, HostWord interfaceNumber, HostWord moduleNumber,
                                             HostWord, HostWord, HostWord, void* const* internal,
                                             HostWord internalCount, void* const* methods, HostWord methodCount,
                                             const PropertyRow* properties, HostWord propertyCount,
                                             HostWord dataAreaBytes, HostWord);
using BindImportCall = ResultCode (*)(HostObject* root, void** function, std::uint32_t kind, std::uint32_t number,
                                      std::uint32_t mode);

/// Slots of the table at any object's `SystemFace`, and their number.
inline constexpr std::size_t kSystemSlots = 82;
inline constexpr std::size_t kHostAllocSlot = 52;
inline constexpr std::size_t kHostReallocSlot = 53;
inline constexpr std::size_t kHostFreeSlot = 54;

using HostAllocCall = ResultCode (*)(const MethodTable* face, void** block, std::uint32_t bytes);
using HostReallocCall = ResultCode (*)(const MethodTable* face, void** block, void* old, std::uint32_t bytes);
using HostFreeCall = void (*)(const MethodTable* face, void* block);

/// The host's root object: null until a host starts the module, then unchanged until the module is unloaded.
inline HostObject* HostRoot = nullptr;

/// Returns the function at `slot` of `table` as a `Function`, which must be its true type.
template <class Function>
[[nodiscard]] Function SlotOf(MethodTable table, std::size_t slot) {
    return reinterpret_cast<Function>(table[slot]);
}

/// Stores a zero-filled block of `bytes` bytes, aligned to 16, in `*block`; the caller owns it. On failure `*block` is
/// null. Returns the host's code.
[[nodiscard]] inline ResultCode HostAlloc(const HostObject* object, void** block, std::uint32_t bytes) {
    *block = nullptr;
    return SlotOf<HostAllocCall>(object->SystemFace, kHostAllocSlot)(&object->SystemFace, block, bytes);
}

/// Resizes `old` to `bytes` bytes and stores the block, which may have moved, in `*block`; its contents are kept. On
/// failure `old` stays valid and `*block` is null. Returns the host's code.
[[nodiscard]] inline ResultCode HostRealloc(const HostObject* object, void** block, void* old, std::uint32_t bytes) {
    *block = nullptr;
    return SlotOf<HostReallocCall>(object->SystemFace, kHostReallocSlot)(&object->SystemFace, block, old, bytes);
}

/// Frees a block; null is allowed.
inline void HostFree(const HostObject* object, void* block) {
    SlotOf<HostFreeCall>(object->SystemFace, kHostFreeSlot)(&object->SystemFace, block);
}

/// Returns the function that the host registered under `kind`, `number` and `mode`, or null if there is none.
template <class Function>
[[nodiscard]] Function BindImport(HostObject* root, std::uint32_t kind, std::uint32_t number, std::uint32_t mode) {
    void* function = nullptr;
    // The code is dropped: the host stores the pointer exactly when it succeeds.
    static_cast<void>(SlotOf<BindImportCall>(root->MethodFace, kBindImportSlot)(root, &function, kind, number, mode));
    return reinterpret_cast<Function>(function);
}

}   // namespace kernel
