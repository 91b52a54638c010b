// The last error of each thread, and the table of error numbers.

#include "system_error.h"

#include <cerrno>

namespace platform {
namespace {

thread_local std::uint32_t lastError = kErrorSuccess;

struct ErrorRow {
    int native;
    std::uint32_t error;
};

constexpr ErrorRow kErrors[] = {
    {ENOENT, kErrorFileNotFound},
    {ENOTDIR, kErrorPathNotFound},
    {EMFILE, kErrorTooManyOpenFiles},
    {ENFILE, kErrorTooManyOpenFiles},
    {EACCES, kErrorAccessDenied},
    {EPERM, kErrorAccessDenied},
    {EISDIR, kErrorAccessDenied},
    {EBADF, kErrorInvalidHandle},
    {ENOMEM, kErrorNotEnoughMemory},
    {EXDEV, kErrorNotSameDevice},
    {EROFS, kErrorWriteProtect},
    {ETXTBSY, kErrorSharingViolation},
    {EBUSY, kErrorNotSupported},        // the name is a mount point, which can't be renamed or replaced
    {EAGAIN, kErrorSharingViolation},   // another process holds a lock or a lease on the file
    {ENOLCK, kErrorNoSystemResources},
    {ENXIO, kErrorNotSupported},   // the open of a socket, or of a device without a driver
    {ENOSYS, kErrorNotSupported},
    {EOPNOTSUPP, kErrorNotSupported},
    {EEXIST, kErrorFileExists},
    {EINVAL, kErrorInvalidParameter},
    {ENOSPC, kErrorDiskFull},
    {EDQUOT, kErrorDiskFull},
    {EFBIG, kErrorDiskFull},
    {ENAMETOOLONG, kErrorInvalidName},
    {ENOTEMPTY, kErrorDirNotEmpty},
    {EIO, kErrorIoDevice},
    {ELOOP, kErrorCantResolveFilename},
};

}   // namespace

std::uint32_t GetLastError() { return lastError; }

void SetLastError(std::uint32_t error) { lastError = error; }

std::uint32_t ErrorFromErrno(int error) {
    for (const ErrorRow& row : kErrors) {
        if (row.native == error) return row.error;
    }
    return kErrorGenFailure;
}

bool FailWith(std::uint32_t error) {
    SetLastError(error);
    return false;
}

bool FailWithErrno(int error) { return FailWith(ErrorFromErrno(error)); }

}   // namespace platform
