/// How every read answers into a caller's buffer, written once: tell the need, refuse, then write.
#pragma once

#include "tree/contract.h"

#include <cstring>
#include <limits>

namespace arbor::module {

/// Answers a read that needs `needed` bytes; `write(char*)` fills a buffer that has room for them.
template <class Write>
ResultCode Deliver(std::uint64_t needed, void* dst, std::uint32_t cap, std::uint32_t* size, Write write) {
    constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max();
    if (size != nullptr) *size = needed <= kMost ? static_cast<std::uint32_t>(needed) : kMost;
    if (needed > kMost) return kOutOfMemory;
    if (dst == nullptr) return cap == 0 ? kDone : kInvalidArgument;
    if (cap < needed) return kBufferTooSmall;
    write(static_cast<char*>(dst));
    return kDone;
}

inline ResultCode DeliverBytes(const void* bytes, std::uint64_t needed, void* dst, std::uint32_t cap,
                               std::uint32_t* size) {
    return Deliver(needed, dst, cap, size, [&](char* target) {
        if (needed != 0) std::memcpy(target, bytes, static_cast<std::size_t>(needed));
    });
}

/// A text with its terminator; a null text needs nothing.
inline ResultCode DeliverText(const char* text, void* dst, std::uint32_t cap, std::uint32_t* size) {
    return DeliverBytes(text, text != nullptr ? std::uint64_t{std::strlen(text)} + 1 : 0, dst, cap, size);
}

/// What a type that needs no bytes answers, whatever the buffer.
inline ResultCode DeliverNothing(std::uint32_t* size) {
    if (size != nullptr) *size = 0;
    return kDone;
}

}   // namespace arbor::module
