#include <component/ilk/error/result_code.h>

#include <algorithm>
#include <functional>
#include <span>

namespace ilk {
namespace {

/// The host's "false": its 1 and 2 are plain successes.
constexpr ResultCode kHostFalse = 3;

/// True if no two rows have the same key and each is above the one before it.
template <class Table, class KeyOf>
constexpr bool AscendsStrictly(const Table& table, KeyOf key) {
    return std::ranges::adjacent_find(table, std::ranges::greater_equal{}, key) == std::ranges::end(table);
}

/// The row of `key` in a table sorted by it, or null.
template <class Table, class Key, class KeyOf>
const auto* FindRow(const Table& table, Key key, KeyOf keyOf) {
    const auto* row = std::ranges::lower_bound(table, key, {}, keyOf);
    return row != std::ranges::end(table) && std::invoke(keyOf, *row) == key ? row : nullptr;
}

struct Translation {
    ResultCode from;
    ResultCode to;
};

ResultCode Translate(std::span<const Translation> table, ResultCode code) {
    const auto row = std::ranges::find(table, code, &Translation::from);
    return row != table.end() ? row->to : code;
}

struct TextRow {
    ResultCode code;
    std::string_view text;
};
constexpr std::uint32_t CodeOrder(const TextRow& row) { return static_cast<std::uint32_t>(row.code); }

constexpr TextRow kTexts[] = {
    {ResultOk, "No error"},
    {ResultFalse, "False"},
    {ResultInterfaceNotSupported, "Interface not supported"},
    {ResultUnexpected, "Unexpected"},
    {ResultOutOfMemory, "Out of memory"},
    {ResultNotSupported, "Not supported"},
    {ResultNotImplemented, "Not implemented"},
    {ResultBufferTooSmall, "Buffer too small"},
    {ResultAccessDenied, "Access denied"},
    {ResultInvalidArgument, "Invalid argument"},
    {ResultBadCast, "Bad cast"},
    {ResultNotMatched, "Not matched"},
    {ResultUnspecifiedError, "Unspecified error"},
    {ResultNotFound, "Not found"},
    {ResultFound, "Found"},
    {ResultLocked, "Locked"},
    {ResultNotLocked, "Not locked"},
    {ResultOperationCancelled, "Operation cancelled"},
    {ResultMethodNotFound, "Method not found"},
    {ResultStackIsEmpty, "Stack is empty"},
    {ResultMediaError, "Media error"},
    {ResultInvalidSignature, "Invalid signature"},
    {ResultInvalidVersion, "Invalid version"},
    {ResultInvalidSize, "Invalid size"},
    {ResultInvalidType, "Invalid type"},
    {ResultOutOfRange, "Out of range"},
    {ResultOutOfSpace, "Out of space"},
    {ResultNotReady, "Not ready"},
    {ResultLessThan, "Less than"},
    {ResultMoreThan, "More than"},
    {ResultProhibited, "Prohibited"},
    {ResultAlreadyDone, "Already done"},
    {ResultNeedReboot, "Need reboot"},
    {ResultBasesCorrupted, "Bases corrupted"},
    {ResultInvalidState, "Invalid state"},
    {ResultNotInitialized, "Not initialized"},
    {ResultInsufficientResources, "Insufficient resources"},
    {ResultReparsePointsProhibited, "Reparse Points Prohibited"},
    {ResultInvalidResult, "Invalid result"},
    {ResultUnknownException, "Unknown exception"},
    {ResultMetaInformationNotFound, "Meta information not found"},
    {ResultNumericalTypeOverflow, "Numerical type overflow"},
    {ResultFileIsTooBig, "File is too big"},
    {ResultTraceLevelOk, "Trace level ok"},
    {ResultTraceLevelProhibited, "Trace level prohibited"},
    {ResultClassNotFound, "Class not found"},
    {ResultSettingsAreRequired, "Settings are required"},
    {ResultUnexpectedSettings, "Unexpected settings"},
    {ResultWrongSettingsType, "Wrong settings type"},
    {ResultWrongSettingsRevision, "Wrong settings revision"},
    {ResultSettingsNotFound, "Settings not found"},
    {ResultObjectIsUntrusted, "Object is untrusted"},
    {ResultNoCurrentException, "No current exception"},
    {ResultExceptionHasNoResultCode, "Exception has no result code"},
    {ResultExceptionWithSuccessfulResultCode, "Exception with successful result code"},
    {ResultPropertyNotFound, "Property not found"},
    {ResultOperationTimeout, "Operation timeout"},
    {ResultInvalidSymbol, "Invalid symbol"},
    {ResultNonDecSymbol, "Non dec symbol"},
    {ResultNonHexSymbol, "Non hex symbol"},
    {ResultNonBase64Symbol, "Non base64 symbol"},
    {ResultSyntaxError, "Syntax error"},
    {ResultGUIDSyntaxError, "GUID syntax error"},
    {ResultOIDSyntaxError, "OID syntax error"},
    {ResultDateTimeSyntaxError, "DateTime syntax error"},
    {ResultUnspecifiedPlatformError, "Unspecified platform error"},
    {ResultInvalidHandle, "Invalid handle"},
    {ResultFileNotFound, "File not found"},
    {ResultPathNotFound, "Path not found"},
    {ResultSharingViolation, "Sharing violation"},
    {ResultAlreadyExists, "Already exists"},
    {ResultWaitAbandoned, "Wait abandoned"},
    {ResultSymbolNotFound, "Symbol not found"},
    {ResultSxsIsIncorrect, "Sxs is incorrect"},
    {ResultInvalidPathName, "Invalid path name"},
    {ResultCannotOpenAnAnonymousLevelSecurityToken, "Cannot open an anonymous level security token"},
    {ResultPasswordIsInvalid, "Password is invalid"},
    {ResultModuleNotFound, "Module not found"},
    {ResultSystemImageBadSignature, "System image bad signature"},
    {ResultCloudFileRequestAborted, "Cloud file request aborted"},
    {ResultMemoryMappingFailed, "Memory mapping failed"},
    {ResultNetworkError, "Network error"},
    {ResultSystemImageBadFormat, "System image bad format"},
    {ResultSystemShutdownInProgress, "System shutdown in progress"},
};
static_assert(AscendsStrictly(kTexts, CodeOrder), "searched by halves");

struct ErrorRow {
    std::uint32_t error;
    ResultCode code;
};

constexpr ErrorRow kSystemErrors[] = {
    {0, ResultOk},
    {1, ResultNotSupported},
    {2, ResultFileNotFound},
    {3, ResultPathNotFound},
    {5, ResultAccessDenied},
    {6, ResultInvalidHandle},
    {8, ResultOutOfMemory},
    {21, ResultNotReady},
    {24, ResultInvalidSize},
    {31, ResultUnspecifiedError},
    {32, ResultSharingViolation},
    {33, ResultSharingViolation},
    {50, ResultNotSupported},
    {53, ResultPathNotFound},
    {80, ResultAlreadyExists},
    {87, ResultInvalidArgument},
    {111, ResultBufferTooSmall},
    {112, ResultOutOfSpace},
    {122, ResultBufferTooSmall},
    {123, ResultInvalidPathName},
    {126, ResultModuleNotFound},
    {127, ResultSymbolNotFound},
    {160, ResultInvalidArgument},
    {183, ResultAlreadyExists},
    {193, ResultSystemImageBadFormat},
    {234, ResultBufferTooSmall},
    {267, ResultPathNotFound},
    {393, ResultCloudFileRequestAborted},
    {637, ResultSystemImageBadSignature},
    {995, ResultOperationCancelled},
    {1168, ResultNotFound},
    {1247, ResultAlreadyDone},
    {1347, ResultCannotOpenAnAnonymousLevelSecurityToken},
    {1413, ResultOutOfRange},
    {1450, ResultInsufficientResources},
    {1460, ResultOperationTimeout},
    {1630, ResultInvalidType},
    {14001, ResultSxsIsIncorrect},
};

static_assert(AscendsStrictly(kSystemErrors, &ErrorRow::error), "searched by halves");

constexpr Translation kToHost[] = {
    {ResultFileNotFound, kernel::kNoDocument},       {ResultPathNotFound, kernel::kNoDocument},
    {ResultNotFound, kernel::kNoDocument},           {ResultAlreadyExists, kernel::kAlreadyExists},
    {ResultNotInitialized, kernel::kNotInitialised}, {ResultFalse, kHostFalse},
};

constexpr Translation kFromHost[] = {
    {1, ResultOk},
    {2, ResultOk},
    {kHostFalse, ResultFalse},
    {kernel::kNoDocument, ResultNotFound},
    {kernel::kNoSuchEntry, ResultNotFound},
    {kernel::kNotInitialised, ResultNotInitialized},
    {kernel::kAlreadyExists, ResultAlreadyExists},
};

/// Above this a number is a composite status: a sign, a domain of 12 bits and an error number.
constexpr std::uint32_t kLargestErrorNumber = 0xFFFF;
constexpr std::uint32_t kSystemErrorDomain = 7;
constexpr std::uint32_t kSystemErrorBits = 0x80070000;

}   // namespace

std::string_view ResultText(ResultCode code) {
    const TextRow* row = FindRow(kTexts, static_cast<std::uint32_t>(code), CodeOrder);
    return row != nullptr ? row->text : "Unknown result code";
}

ResultCode ResultFromPlatformError(std::uint32_t error) {
    if (const ErrorRow* row = FindRow(kSystemErrors, error, &ErrorRow::error)) return row->code;
    if (error <= kLargestErrorNumber) return MakeResult(error | kSystemErrorBits);
    if (IsSuccess(MakeResult(error))) return ResultOk;
    if (((error >> 16) & 0xFFF) != kSystemErrorDomain) return ResultUnspecifiedPlatformError;
    return ResultFromPlatformError(error & kLargestErrorNumber);
}

ResultCode ToHostResult(ResultCode code) { return Translate(kToHost, code); }

ResultCode FromHostResult(ResultCode number) { return Translate(kFromHost, number); }

}   // namespace ilk
