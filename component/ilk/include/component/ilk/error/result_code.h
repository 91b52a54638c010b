/// The result codes of this library and their texts, and their translation from system error numbers and from and to
/// the host's codes. Nothing here throws, allocates or locks.
#pragma once

#include <component/kernel/result_codes.h>
#include <component/platform/errors.h>

#include <string_view>

namespace ilk {

/// A failure is negative. Bits 16 to 30 are the domain, bits 0 to 15 the number of the code in its domain.
using kernel::IsFailure;
using kernel::IsSuccess;
using kernel::MakeResult;
using kernel::ResultCode;

/// Domain 0: codes of this library.
inline constexpr ResultCode ResultOk = kernel::kDone;
inline constexpr ResultCode ResultFalse = 1;
inline constexpr ResultCode ResultOutOfMemory = kernel::kOutOfMemory;
inline constexpr ResultCode ResultNotSupported = MakeResult(0x80000042);
inline constexpr ResultCode ResultBufferTooSmall = kernel::kBufferTooSmall;
inline constexpr ResultCode ResultAccessDenied = kernel::kAccessDenied;
inline constexpr ResultCode ResultInvalidArgument = kernel::kInvalidArgument;
inline constexpr ResultCode ResultBadCast = MakeResult(0x80000047);
inline constexpr ResultCode ResultUnspecifiedError = kernel::kUnspecified;
inline constexpr ResultCode ResultNotFound = MakeResult(0x8000004C);
inline constexpr ResultCode ResultLocked = MakeResult(0x8000004F);
inline constexpr ResultCode ResultOperationCancelled = MakeResult(0x80000051);
inline constexpr ResultCode ResultInvalidSignature = MakeResult(0x8000005A);
inline constexpr ResultCode ResultInvalidSize = MakeResult(0x8000005C);
inline constexpr ResultCode ResultInvalidType = MakeResult(0x8000005D);
inline constexpr ResultCode ResultOutOfRange = MakeResult(0x8000005E);
inline constexpr ResultCode ResultOutOfSpace = MakeResult(0x80000062);
inline constexpr ResultCode ResultNotReady = MakeResult(0x80000063);
inline constexpr ResultCode ResultAlreadyDone = MakeResult(0x80000067);
inline constexpr ResultCode ResultNotInitialized = MakeResult(0x8000006B);
inline constexpr ResultCode ResultInsufficientResources = MakeResult(0x8000006C);
inline constexpr ResultCode ResultUnknownException = MakeResult(0x80000072);
inline constexpr ResultCode ResultNoCurrentException = MakeResult(0x80000150);
inline constexpr ResultCode ResultExceptionHasNoResultCode = MakeResult(0x80000151);
inline constexpr ResultCode ResultExceptionWithSuccessfulResultCode = MakeResult(0x80000152);
inline constexpr ResultCode ResultOperationTimeout = MakeResult(0x80000221);

/// Domain 1: system errors that callers distinguish.
inline constexpr ResultCode ResultUnspecifiedPlatformError = MakeResult(0x80010100);
inline constexpr ResultCode ResultInvalidHandle = MakeResult(0x80010101);
inline constexpr ResultCode ResultFileNotFound = MakeResult(0x80010102);
inline constexpr ResultCode ResultPathNotFound = MakeResult(0x80010103);
inline constexpr ResultCode ResultSharingViolation = MakeResult(0x80010104);
inline constexpr ResultCode ResultAlreadyExists = MakeResult(0x80010105);
inline constexpr ResultCode ResultSymbolNotFound = MakeResult(0x80010107);
inline constexpr ResultCode ResultSxsIsIncorrect = MakeResult(0x80010108);
inline constexpr ResultCode ResultInvalidPathName = MakeResult(0x80010109);
inline constexpr ResultCode ResultCannotOpenAnAnonymousLevelSecurityToken = MakeResult(0x80010110);
inline constexpr ResultCode ResultModuleNotFound = MakeResult(0x80010112);
inline constexpr ResultCode ResultSystemImageBadSignature = MakeResult(0x80010113);
inline constexpr ResultCode ResultCloudFileRequestAborted = MakeResult(0x80010114);
inline constexpr ResultCode ResultSystemImageBadFormat = MakeResult(0x80010117);

[[nodiscard]] constexpr std::int32_t ResultDomain(ResultCode code) { return (code & 0x7FFF0000) >> 16; }

/// Returns the ASCII text of `code`, a constant; "Unknown result code" for a code without one.
[[nodiscard]] std::string_view ResultText(ResultCode code);

/// Returns the code for a system error number, or for a status above 0xFFFF that may contain one.
[[nodiscard]] ResultCode ResultFromPlatformError(std::uint32_t error);

/// Returns the code for the calling thread's last system error.
[[nodiscard]] inline ResultCode ResultFromLastError() { return ResultFromPlatformError(platform::GetLastError()); }

/// Returns `ResultOk` if the thread's last system call succeeded, otherwise the code for its error.
[[nodiscard]] inline ResultCode ResultOfCall(bool succeeded) { return succeeded ? ResultOk : ResultFromLastError(); }

/// An untranslated system error number: several numbers share a code.
struct PlatformError {
    std::uint32_t number;

    [[nodiscard]] static PlatformError Last() { return {platform::GetLastError()}; }
    [[nodiscard]] ResultCode ToResult() const { return ResultFromPlatformError(number); }
};

/// Returns the host's code for `code`; `code` itself if the host has no code of its own for it.
[[nodiscard]] ResultCode ToHostResult(ResultCode code);

/// Returns the library's code for the host's `code`; `code` itself if the library has none for it.
[[nodiscard]] ResultCode FromHostResult(ResultCode code);

}   // namespace ilk
