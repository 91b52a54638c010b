/// The codes that operations report, with their texts, and the translations from system errors and to and from the
/// host. Nothing here throws, allocates or takes a lock.
#pragma once

#include <component/kernel/result_codes.h>
#include <component/platform/errors.h>

#include <string_view>

namespace ilk {

/// Negative is a failure; bits 16 to 30 are the domain, bits 0 to 15 number the code inside it.
using kernel::IsFailure;
using kernel::IsSuccess;
using kernel::MakeResult;
using kernel::ResultCode;

/// Domain 0: the library's own.
inline constexpr ResultCode ResultOk = 0;
inline constexpr ResultCode ResultFalse = 1;
inline constexpr ResultCode ResultInterfaceNotSupported = MakeResult(0x80000001);
inline constexpr ResultCode ResultUnexpected = MakeResult(0x80000040);
inline constexpr ResultCode ResultOutOfMemory = MakeResult(0x80000041);
inline constexpr ResultCode ResultNotSupported = MakeResult(0x80000042);
inline constexpr ResultCode ResultNotImplemented = MakeResult(0x80000043);
inline constexpr ResultCode ResultBufferTooSmall = MakeResult(0x80000044);
inline constexpr ResultCode ResultAccessDenied = MakeResult(0x80000045);
inline constexpr ResultCode ResultInvalidArgument = MakeResult(0x80000046);
inline constexpr ResultCode ResultBadCast = MakeResult(0x80000047);
inline constexpr ResultCode ResultNotMatched = MakeResult(0x8000004A);
inline constexpr ResultCode ResultUnspecifiedError = MakeResult(0x8000004B);
inline constexpr ResultCode ResultNotFound = MakeResult(0x8000004C);
inline constexpr ResultCode ResultFound = MakeResult(0x8000004D);
inline constexpr ResultCode ResultLocked = MakeResult(0x8000004F);
inline constexpr ResultCode ResultNotLocked = MakeResult(0x80000050);
inline constexpr ResultCode ResultOperationCancelled = MakeResult(0x80000051);
inline constexpr ResultCode ResultMethodNotFound = MakeResult(0x80000057);
inline constexpr ResultCode ResultStackIsEmpty = MakeResult(0x80000058);
inline constexpr ResultCode ResultMediaError = MakeResult(0x80000059);
inline constexpr ResultCode ResultInvalidSignature = MakeResult(0x8000005A);
inline constexpr ResultCode ResultInvalidVersion = MakeResult(0x8000005B);
inline constexpr ResultCode ResultInvalidSize = MakeResult(0x8000005C);
inline constexpr ResultCode ResultInvalidType = MakeResult(0x8000005D);
inline constexpr ResultCode ResultOutOfRange = MakeResult(0x8000005E);
inline constexpr ResultCode ResultOutOfSpace = MakeResult(0x80000062);
inline constexpr ResultCode ResultNotReady = MakeResult(0x80000063);
inline constexpr ResultCode ResultLessThan = MakeResult(0x80000064);
inline constexpr ResultCode ResultMoreThan = MakeResult(0x80000065);
inline constexpr ResultCode ResultProhibited = MakeResult(0x80000066);
inline constexpr ResultCode ResultAlreadyDone = MakeResult(0x80000067);
inline constexpr ResultCode ResultNeedReboot = MakeResult(0x80000068);
inline constexpr ResultCode ResultBasesCorrupted = MakeResult(0x80000069);
inline constexpr ResultCode ResultInvalidState = MakeResult(0x8000006A);
inline constexpr ResultCode ResultNotInitialized = MakeResult(0x8000006B);
inline constexpr ResultCode ResultInsufficientResources = MakeResult(0x8000006C);
inline constexpr ResultCode ResultReparsePointsProhibited = MakeResult(0x8000006E);
inline constexpr ResultCode ResultInvalidResult = MakeResult(0x80000071);
inline constexpr ResultCode ResultUnknownException = MakeResult(0x80000072);
inline constexpr ResultCode ResultMetaInformationNotFound = MakeResult(0x80000076);
inline constexpr ResultCode ResultNumericalTypeOverflow = MakeResult(0x80000077);
inline constexpr ResultCode ResultFileIsTooBig = MakeResult(0x80000078);
inline constexpr ResultCode ResultTraceLevelOk = MakeResult(0x80000079);
inline constexpr ResultCode ResultTraceLevelProhibited = MakeResult(0x8000007A);
inline constexpr ResultCode ResultClassNotFound = MakeResult(0x80000100);
inline constexpr ResultCode ResultSettingsAreRequired = MakeResult(0x80000101);
inline constexpr ResultCode ResultUnexpectedSettings = MakeResult(0x80000102);
inline constexpr ResultCode ResultWrongSettingsType = MakeResult(0x80000103);
inline constexpr ResultCode ResultWrongSettingsRevision = MakeResult(0x80000104);
inline constexpr ResultCode ResultSettingsNotFound = MakeResult(0x80000105);
inline constexpr ResultCode ResultObjectIsUntrusted = MakeResult(0x80000106);
inline constexpr ResultCode ResultNoCurrentException = MakeResult(0x80000150);
inline constexpr ResultCode ResultExceptionHasNoResultCode = MakeResult(0x80000151);
inline constexpr ResultCode ResultExceptionWithSuccessfulResultCode = MakeResult(0x80000152);
inline constexpr ResultCode ResultPropertyNotFound = MakeResult(0x80000180);
inline constexpr ResultCode ResultOperationTimeout = MakeResult(0x80000221);
inline constexpr ResultCode ResultInvalidSymbol = MakeResult(0x80000300);
inline constexpr ResultCode ResultNonDecSymbol = MakeResult(0x80000301);
inline constexpr ResultCode ResultNonHexSymbol = MakeResult(0x80000302);
inline constexpr ResultCode ResultNonBase64Symbol = MakeResult(0x80000303);
inline constexpr ResultCode ResultSyntaxError = MakeResult(0x80000310);
inline constexpr ResultCode ResultGUIDSyntaxError = MakeResult(0x80000311);
inline constexpr ResultCode ResultOIDSyntaxError = MakeResult(0x80000312);
inline constexpr ResultCode ResultDateTimeSyntaxError = MakeResult(0x80000313);

/// Domain 1: what the system reports and callers tell apart.
inline constexpr ResultCode ResultUnspecifiedPlatformError = MakeResult(0x80010100);
inline constexpr ResultCode ResultInvalidHandle = MakeResult(0x80010101);
inline constexpr ResultCode ResultFileNotFound = MakeResult(0x80010102);
inline constexpr ResultCode ResultPathNotFound = MakeResult(0x80010103);
inline constexpr ResultCode ResultSharingViolation = MakeResult(0x80010104);
inline constexpr ResultCode ResultAlreadyExists = MakeResult(0x80010105);
inline constexpr ResultCode ResultWaitAbandoned = MakeResult(0x80010106);
inline constexpr ResultCode ResultSymbolNotFound = MakeResult(0x80010107);
inline constexpr ResultCode ResultSxsIsIncorrect = MakeResult(0x80010108);
inline constexpr ResultCode ResultInvalidPathName = MakeResult(0x80010109);
inline constexpr ResultCode ResultCannotOpenAnAnonymousLevelSecurityToken = MakeResult(0x80010110);
inline constexpr ResultCode ResultPasswordIsInvalid = MakeResult(0x80010111);
inline constexpr ResultCode ResultModuleNotFound = MakeResult(0x80010112);
inline constexpr ResultCode ResultSystemImageBadSignature = MakeResult(0x80010113);
inline constexpr ResultCode ResultCloudFileRequestAborted = MakeResult(0x80010114);
inline constexpr ResultCode ResultMemoryMappingFailed = MakeResult(0x80010115);
inline constexpr ResultCode ResultNetworkError = MakeResult(0x80010116);
inline constexpr ResultCode ResultSystemImageBadFormat = MakeResult(0x80010117);
inline constexpr ResultCode ResultSystemShutdownInProgress = MakeResult(0x80010118);

[[nodiscard]] constexpr std::int32_t ResultDomain(ResultCode code) { return (code & 0x7FFF0000) >> 16; }

/// The constant ASCII text of `code`; "Unknown result code" for a number without one.
[[nodiscard]] std::string_view ResultText(ResultCode code);

/// The code of a system error number, or of a composite status that carries one.
[[nodiscard]] ResultCode ResultFromPlatformError(std::uint32_t error);

/// The code of the calling thread's last system error.
[[nodiscard]] inline ResultCode ResultFromLastError() { return ResultFromPlatformError(platform::GetLastError()); }

/// A system error number as it came, for those who want to keep it beside the code.
struct PlatformError {
    std::uint32_t number;

    [[nodiscard]] static PlatformError Last() { return {platform::GetLastError()}; }
    [[nodiscard]] ResultCode ToResult() const { return ResultFromPlatformError(number); }
};

/// The number that the host expects in place of `code`.
[[nodiscard]] ResultCode ToHostResult(ResultCode code);

/// The code that stands here for a number of the host.
[[nodiscard]] ResultCode FromHostResult(ResultCode number);

}   // namespace ilk
