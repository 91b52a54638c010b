/// Calls of a host object that stores a document in place of a file.
#pragma once

#include <component/kernel/host_object.h>

namespace kernel {

/// Slots of the object's `MethodFace`.
inline constexpr std::size_t kIoReadSlot = 0;
inline constexpr std::size_t kIoWriteSlot = 1;
inline constexpr std::size_t kIoSizeSlot = 2;
inline constexpr std::size_t kIoCompleteSlot = 4;

using IoReadCall = ResultCode (*)(HostObject* io, std::uint32_t* count, HostWord, HostWord, void* buffer,
                                  std::uint32_t size);
using IoWriteCall = ResultCode (*)(HostObject* io, HostWord, HostWord, HostWord, const void* data, std::uint32_t size);
using IoSizeCall = ResultCode (*)(HostObject* io, std::uint64_t* size, HostWord);
using IoCompleteCall = ResultCode (*)(HostObject* io);

/// Reads up to `size` bytes from offset 0 and stores their number in `count`. Returns the host's code, as the calls
/// below.
[[nodiscard]] inline ResultCode IoRead(HostObject* io, std::uint32_t* count, void* buffer, std::uint32_t size) {
    return SlotOf<IoReadCall>(io->MethodFace, kIoReadSlot)(io, count, 0, 0, buffer, size);
}

/// Writes at offset 0. The object decides what happens to older bytes after the written ones.
[[nodiscard]] inline ResultCode IoWrite(HostObject* io, const void* data, std::uint32_t size) {
    return SlotOf<IoWriteCall>(io->MethodFace, kIoWriteSlot)(io, 0, 0, 0, data, size);
}

[[nodiscard]] inline ResultCode IoSize(HostObject* io, std::uint64_t* sizeBytes) {
    return SlotOf<IoSizeCall>(io->MethodFace, kIoSizeSlot)(io, sizeBytes, 0);
}

/// Completes the writing. The result is dropped: the contract gives it no meaning.
inline void IoComplete(HostObject* io) {
    static_cast<void>(SlotOf<IoCompleteCall>(io->MethodFace, kIoCompleteSlot)(io));
}

}   // namespace kernel
