/// The rules by which every read copies its result into a caller's buffer: report the bytes needed, check the buffer,
/// then write.
#pragma once

#include "tree/contract.h"

#include <cstring>
#include <limits>

namespace arbor::module {

/// Sets `*size`, which may be null, to `needed` bytes; then `write(char*)` fills `dst`, which has at least that many.
/// Returns 0, `kBufferTooSmall`, `kInvalidArgument` or `kOutOfMemory`, as `Value` (value.h) states for its reads.
template <class Write>
ResultCode CopyOut(std::uint64_t needed, void* dst, std::uint32_t cap, std::uint32_t* size, Write write) {
    constexpr std::uint32_t kMaxBytes = std::numeric_limits<std::uint32_t>::max();
    if (size != nullptr) *size = needed <= kMaxBytes ? static_cast<std::uint32_t>(needed) : kMaxBytes;
    if (needed > kMaxBytes) return kOutOfMemory;
    if (dst == nullptr) return cap == 0 ? kDone : kInvalidArgument;
    if (cap < needed) return kBufferTooSmall;
    write(static_cast<char*>(dst));
    return kDone;
}

inline ResultCode CopyBytesOut(const void* bytes, std::uint64_t needed, void* dst, std::uint32_t cap,
                               std::uint32_t* size) {
    return CopyOut(needed, dst, cap, size, [&](char* target) {
        if (needed != 0) std::memcpy(target, bytes, static_cast<std::size_t>(needed));
    });
}

/// Copies a text with its terminator; a null text needs 0 bytes.
inline ResultCode CopyTextOut(const char* text, void* dst, std::uint32_t cap, std::uint32_t* size) {
    return CopyBytesOut(text, text != nullptr ? std::uint64_t{std::strlen(text)} + 1 : 0, dst, cap, size);
}

/// For a result of 0 bytes: succeeds with any buffer.
inline ResultCode ReportNoBytes(std::uint32_t* size) {
    if (size != nullptr) *size = 0;
    return kDone;
}

}   // namespace arbor::module
