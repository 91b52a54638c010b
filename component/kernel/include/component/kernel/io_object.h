/// A host object that holds a document where no file does.
#pragma once

#include <component/kernel/host_object.h>

namespace kernel {

/// Slots of its method table.
inline constexpr std::size_t kIoReadSlot = 0;
inline constexpr std::size_t kIoWriteSlot = 1;
inline constexpr std::size_t kIoSizeSlot = 2;
inline constexpr std::size_t kIoCompleteSlot = 4;

using IoReadCall = ResultCode (*)(HostObject* io, std::uint32_t* count, HostWord, HostWord, void* buffer,
                                  std::uint32_t size);
using IoWriteCall = ResultCode (*)(HostObject* io, HostWord, HostWord, HostWord, const void* data, std::uint32_t size);
using IoSizeCall = ResultCode (*)(HostObject* io, std::uint64_t* size, HostWord);
using IoCompleteCall = ResultCode (*)(HostObject* io);

/// Reads from offset 0; `count` gets the bytes read.
[[nodiscard]] inline ResultCode IoRead(HostObject* io, std::uint32_t* count, void* buffer, std::uint32_t size) {
    return SlotOf<IoReadCall>(io->MethodFace, kIoReadSlot)(io, count, 0, 0, buffer, size);
}

/// Writes at offset 0; what lay behind the written bytes is the object's care.
[[nodiscard]] inline ResultCode IoWrite(HostObject* io, const void* data, std::uint32_t size) {
    return SlotOf<IoWriteCall>(io->MethodFace, kIoWriteSlot)(io, 0, 0, 0, data, size);
}

[[nodiscard]] inline ResultCode IoSize(HostObject* io, std::uint64_t* sizeBytes) {
    return SlotOf<IoSizeCall>(io->MethodFace, kIoSizeSlot)(io, sizeBytes, 0);
}

/// Ends the writing. The object reports failures of its own elsewhere.
inline void IoComplete(HostObject* io) {
    static_cast<void>(SlotOf<IoCompleteCall>(io->MethodFace, kIoCompleteSlot)(io));
}

}   // namespace kernel
