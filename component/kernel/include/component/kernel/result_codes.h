/// Named result codes: those that only the host and the interface define, and the library codes that callers see most
/// often. Calls of the interface return other library codes too.
#pragma once

#include <component/kernel/types.h>

namespace kernel {

constexpr ResultCode MakeResult(std::uint32_t bits) { return static_cast<ResultCode>(bits); }

inline constexpr ResultCode kDone = 0;
inline constexpr ResultCode kFalse = 3;                             // a success: the condition doesn't hold
inline constexpr ResultCode kKeyCreated = MakeResult(0x0000D001);   // a success
inline constexpr ResultCode kUnexpected = MakeResult(0x80000040);
inline constexpr ResultCode kOutOfMemory = MakeResult(0x80000041);
inline constexpr ResultCode kBufferTooSmall = MakeResult(0x80000044);
inline constexpr ResultCode kAccessDenied = MakeResult(0x80000045);
inline constexpr ResultCode kInvalidArgument = MakeResult(0x80000046);
inline constexpr ResultCode kNotMatched = MakeResult(0x8000004A);
inline constexpr ResultCode kUnspecified = MakeResult(0x8000004B);
inline constexpr ResultCode kMediaError = MakeResult(0x80000059);
inline constexpr ResultCode kBadDocument = MakeResult(0x800000C0);
inline constexpr ResultCode kReadOnlyObject = MakeResult(0x800000C1);
inline constexpr ResultCode kNotInitialised = MakeResult(0x800000C2);
inline constexpr ResultCode kNoDocument = MakeResult(0x800000C5);
inline constexpr ResultCode kAlreadyExists = MakeResult(0x800000D1);
inline constexpr ResultCode kNoSuchEntry = MakeResult(0x8000D002);
inline constexpr ResultCode kNoKeyThere = MakeResult(0x8000D004);
inline constexpr ResultCode kFileInUse = MakeResult(0x80010104);

}   // namespace kernel
