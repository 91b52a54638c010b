// The tables of result codes: texts, system error numbers and the host's codes.

#include <component/ilk/error/result_code.h>

#include <component/kernel/result_text.h>

#include <algorithm>
#include <functional>
#include <span>

namespace ilk {
namespace {

/// True if the key of each row is greater than that of the row before it.
template <class Table, class KeyOf>
constexpr bool AscendsStrictly(const Table& table, KeyOf key) {
    return std::ranges::adjacent_find(table, std::ranges::greater_equal{}, key) == std::ranges::end(table);
}

/// Returns the row with `key` in a table sorted by it, or null.
template <class Table, class Key, class KeyOf>
constexpr const auto* FindRow(const Table& table, Key key, KeyOf keyOf) {
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
/// The sort key of `kTexts`: ascending bits put the successes first.
constexpr std::uint32_t CodeBits(const TextRow& row) { return static_cast<std::uint32_t>(row.code); }

/// Every code that has a text. The codes written as numbers are used only here.
constexpr TextRow kTexts[] = {
    {ResultOk, "No error"},
    {ResultFalse, "False"},
    {MakeResult(0x80000001), "Interface not supported"},
    {kernel::kUnexpected, "Unexpected"},
    {ResultOutOfMemory, "Out of memory"},
    {ResultNotSupported, "Not supported"},
    {MakeResult(0x80000043), "Not implemented"},
    {ResultBufferTooSmall, "Buffer too small"},
    {ResultAccessDenied, "Access denied"},
    {ResultInvalidArgument, "Invalid argument"},
    {ResultBadCast, "Bad cast"},
    {kernel::kNotMatched, "Not matched"},
    {ResultUnspecifiedError, "Unspecified error"},
    {ResultNotFound, "Not found"},
    {MakeResult(0x8000004D), "Found"},
    {ResultLocked, "Locked"},
    {MakeResult(0x80000050), "Not locked"},
    {ResultOperationCancelled, "Operation cancelled"},
    {MakeResult(0x80000057), "Method not found"},
    {MakeResult(0x80000058), "Stack is empty"},
    {kernel::kMediaError, "Media error"},
    {ResultInvalidSignature, "Invalid signature"},
    {MakeResult(0x8000005B), "Invalid version"},
    {ResultInvalidSize, "Invalid size"},
    {ResultInvalidType, "Invalid type"},
    {ResultOutOfRange, "Out of range"},
    {ResultOutOfSpace, "Out of space"},
    {ResultNotReady, "Not ready"},
    {MakeResult(0x80000064), "Less than"},
    {MakeResult(0x80000065), "More than"},
    {MakeResult(0x80000066), "Prohibited"},
    {ResultAlreadyDone, "Already done"},
    {MakeResult(0x80000068), "Need reboot"},
    {MakeResult(0x80000069), "Bases corrupted"},
    {MakeResult(0x8000006A), "Invalid state"},
    {ResultNotInitialized, "Not initialized"},
    {ResultInsufficientResources, "Insufficient resources"},
    {MakeResult(0x8000006E), "Reparse Points Prohibited"},
    {MakeResult(0x80000071), "Invalid result"},
    {ResultUnknownException, "Unknown exception"},
    {MakeResult(0x80000076), "Meta information not found"},
    {MakeResult(0x80000077), "Numerical type overflow"},
    {MakeResult(0x80000078), "File is too big"},
    {MakeResult(0x80000079), "Trace level ok"},
    {MakeResult(0x8000007A), "Trace level prohibited"},
    {MakeResult(0x80000100), "Class not found"},
    {MakeResult(0x80000101), "Settings are required"},
    {MakeResult(0x80000102), "Unexpected settings"},
    {MakeResult(0x80000103), "Wrong settings type"},
    {MakeResult(0x80000104), "Wrong settings revision"},
    {MakeResult(0x80000105), "Settings not found"},
    {MakeResult(0x80000106), "Object is untrusted"},
    {ResultNoCurrentException, "No current exception"},
    {ResultExceptionHasNoResultCode, "Exception has no result code"},
    {ResultExceptionWithSuccessfulResultCode, "Exception with successful result code"},
    {MakeResult(0x80000180), "Property not found"},
    {ResultOperationTimeout, "Operation timeout"},
    {MakeResult(0x80000300), "Invalid symbol"},
    {MakeResult(0x80000301), "Non dec symbol"},
    {MakeResult(0x80000302), "Non hex symbol"},
    {MakeResult(0x80000303), "Non base64 symbol"},
    {MakeResult(0x80000310), "Syntax error"},
    {MakeResult(0x80000311), "GUID syntax error"},
    {MakeResult(0x80000312), "OID syntax error"},
    {MakeResult(0x80000313), "DateTime syntax error"},
    {ResultUnspecifiedPlatformError, "Unspecified platform error"},
    {ResultInvalidHandle, "Invalid handle"},
    {ResultFileNotFound, "File not found"},
    {ResultPathNotFound, "Path not found"},
    {ResultSharingViolation, "Sharing violation"},
    {ResultAlreadyExists, "Already exists"},
    {MakeResult(0x80010106), "Wait abandoned"},
    {ResultSymbolNotFound, "Symbol not found"},
    {ResultSxsIsIncorrect, "Sxs is incorrect"},
    {ResultInvalidPathName, "Invalid path name"},
    {ResultCannotOpenAnAnonymousLevelSecurityToken, "Cannot open an anonymous level security token"},
    {MakeResult(0x80010111), "Password is invalid"},
    {ResultModuleNotFound, "Module not found"},
    {ResultSystemImageBadSignature, "System image bad signature"},
    {ResultCloudFileRequestAborted, "Cloud file request aborted"},
    {MakeResult(0x80010115), "Memory mapping failed"},
    {MakeResult(0x80010116), "Network error"},
    {ResultSystemImageBadFormat, "System image bad format"},
    {MakeResult(0x80010118), "System shutdown in progress"},
};
static_assert(AscendsStrictly(kTexts, CodeBits), "FindRow searches by bisection");

constexpr const TextRow* FindTextRow(ResultCode code) {
    return FindRow(kTexts, static_cast<std::uint32_t>(code), CodeBits);
}

/// The codes that only the host and the interface define.
constexpr ResultCode kHostCodes[] = {kernel::kFalse,          kernel::kKeyCreated,     kernel::kBadDocument,
                                     kernel::kReadOnlyObject, kernel::kNotInitialised, kernel::kNoDocument,
                                     kernel::kAlreadyExists,  kernel::kNoSuchEntry,    kernel::kNoKeyThere};

constexpr bool IsHostCode(ResultCode code) { return std::ranges::find(kHostCodes, code) != std::end(kHostCodes); }

static_assert(std::ranges::all_of(kernel::kResultTexts,
                                  [](const kernel::ResultTextRow& row) {
                                      return IsHostCode(row.code) != (FindTextRow(row.code) != nullptr);
                                  }),
              "a code with a text for users is either the host's or the library's");

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

static_assert(AscendsStrictly(kSystemErrors, &ErrorRow::error), "FindRow searches by bisection");

constexpr Translation kToHost[] = {
    {ResultFileNotFound, kernel::kNoDocument},       {ResultPathNotFound, kernel::kNoDocument},
    {ResultNotFound, kernel::kNoDocument},           {ResultAlreadyExists, kernel::kAlreadyExists},
    {ResultNotInitialized, kernel::kNotInitialised}, {ResultFalse, kernel::kFalse},
};

constexpr Translation kFromHost[] = {
    {1, ResultOk},
    {2, ResultOk},
    {kernel::kFalse, ResultFalse},
    {kernel::kNoDocument, ResultNotFound},
    {kernel::kNoSuchEntry, ResultNotFound},
    {kernel::kNotInitialised, ResultNotInitialized},
    {kernel::kAlreadyExists, ResultAlreadyExists},
};

/// A number above this is a Windows status (HRESULT or NTSTATUS): bit 31 marks a failure, bits 16 to 27 are the
/// facility, and with the facility of system errors bits 0 to 15 are the error number.
constexpr std::uint32_t kMaxErrorNumber = 0xFFFF;
constexpr std::uint32_t kSystemErrorFacility = 7;

}   // namespace

std::string_view ResultText(ResultCode code) {
    const TextRow* row = FindTextRow(code);
    return row != nullptr ? row->text : "Unknown result code";
}

ResultCode ResultFromPlatformError(std::uint32_t error) {
    if (const ErrorRow* row = FindRow(kSystemErrors, error, &ErrorRow::error)) return row->code;
    if (error <= kMaxErrorNumber) return MakeResult(0x80000000 | kSystemErrorFacility << 16 | error);
    if (IsSuccess(MakeResult(error))) return ResultOk;
    if (((error >> 16) & 0xFFF) != kSystemErrorFacility) return ResultUnspecifiedPlatformError;
    return ResultFromPlatformError(error & kMaxErrorNumber);
}

ResultCode ToHostResult(ResultCode code) { return Translate(kToHost, code); }

ResultCode FromHostResult(ResultCode code) { return Translate(kFromHost, code); }

}   // namespace ilk
