// The last error is the system's own. The error constants of `errors.h` equal the system's numbers.

#include <component/platform/errors.h>

#include <windows.h>

namespace platform {

static_assert(kErrorSuccess == ERROR_SUCCESS);
static_assert(kErrorFileNotFound == ERROR_FILE_NOT_FOUND && kErrorPathNotFound == ERROR_PATH_NOT_FOUND);
static_assert(kErrorTooManyOpenFiles == ERROR_TOO_MANY_OPEN_FILES && kErrorAccessDenied == ERROR_ACCESS_DENIED);
static_assert(kErrorInvalidHandle == ERROR_INVALID_HANDLE && kErrorNotEnoughMemory == ERROR_NOT_ENOUGH_MEMORY);
static_assert(kErrorOutOfMemory == ERROR_OUTOFMEMORY && kErrorNotSameDevice == ERROR_NOT_SAME_DEVICE);
static_assert(kErrorWriteProtect == ERROR_WRITE_PROTECT && kErrorGenFailure == ERROR_GEN_FAILURE);
static_assert(kErrorSharingViolation == ERROR_SHARING_VIOLATION && kErrorNotSupported == ERROR_NOT_SUPPORTED);
static_assert(kErrorBadNetPath == ERROR_BAD_NETPATH && kErrorFileExists == ERROR_FILE_EXISTS);
static_assert(kErrorInvalidParameter == ERROR_INVALID_PARAMETER && kErrorDiskFull == ERROR_DISK_FULL);
static_assert(kErrorInsufficientBuffer == ERROR_INSUFFICIENT_BUFFER && kErrorInvalidName == ERROR_INVALID_NAME);
static_assert(kErrorModuleNotFound == ERROR_MOD_NOT_FOUND);
static_assert(kErrorDirNotEmpty == ERROR_DIR_NOT_EMPTY && kErrorAlreadyExists == ERROR_ALREADY_EXISTS);
static_assert(kErrorFilenameTooLong == ERROR_FILENAME_EXCED_RANGE);
static_assert(kErrorTooManyPosts == ERROR_TOO_MANY_POSTS && kErrorIoDevice == ERROR_IO_DEVICE);
static_assert(kErrorNoSystemResources == ERROR_NO_SYSTEM_RESOURCES);
static_assert(kErrorCantResolveFilename == ERROR_CANT_RESOLVE_FILENAME);

std::uint32_t GetLastError() { return ::GetLastError(); }

void SetLastError(std::uint32_t error) { ::SetLastError(error); }

}   // namespace platform
