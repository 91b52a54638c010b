// Opens files under the sharing rules of `sharing.h`; reads and writes until all bytes are transferred.

#include "open_file.h"

#include "sharing.h"
#include "sync.h"
#include "system_error.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace platform {
namespace {

bool Truncates(const OpenRequest& request) {
    return request.creation == kCreateAlways || request.creation == kTruncateExisting;
}

/// The rights to claim for the open. Truncating needs the right to write; an opener that didn't request it releases it
/// after the open.
std::uint32_t RightsToOpen(const OpenRequest& request) {
    return Truncates(request) ? request.uses | kShareWrite : request.uses;
}

/// Returns the descriptor, or -1 with `errno`. Writers open for reading too, since only a readable descriptor can hold
/// the locks of `sharing.h`. With O_NONBLOCK the open of a FIFO doesn't wait.
int OpenOrCreate(const NativePath& path, const OpenRequest& request, bool& created) {
    const bool writes = (RightsToOpen(request) & kShareWrite) != 0;
    const int flags = (writes ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    created = request.creation == kCreateNew;
    if (created) return open(path.Text(), flags | O_CREAT | O_EXCL, request.newMode);
    const int existing = open(path.Text(), flags);
    created = existing < 0 && errno == ENOENT && (request.creation == kCreateAlways || request.creation == kOpenAlways);
    return created ? open(path.Text(), flags | O_CREAT, request.newMode) : existing;
}

bool IsStillAt(const NativePath& path, const struct stat& opened) {
    struct stat found {};
    return stat(path.Text(), &found) == 0 && IsSameFile(found, opened);
}

}   // namespace

void Descriptor::Close() {
    if (descriptor >= 0) close(descriptor);
    descriptor = -1;
}

Descriptor FailedOpen(std::uint32_t error) {
    SetLastError(error);
    return Descriptor();
}

Descriptor OpenFile(const NativePath& path, const OpenRequest& request) {
    const std::uint32_t rights = RightsToOpen(request);
    for (int attempt = 0; attempt < kMaxOpenAttempts; ++attempt) {
        bool created = false;
        Descriptor file(OpenOrCreate(path, request, created));
        struct stat opened {};
        if (!file.IsOpen() || fstat(file.Number(), &opened) != 0) return FailedOpen(ErrorForPath(path, errno));
        if (S_ISDIR(opened.st_mode) && request.allowsDirectories) return file;   // a directory is always shared
        if (!S_ISREG(opened.st_mode)) return FailedOpen(ErrorForType(opened.st_mode));
        const bool writes = (rights & kShareWrite) != 0;
        if (!created && writes && IsReadOnly(opened.st_mode)) return FailedOpen(kErrorAccessDenied);
        const std::uint32_t error = ClaimFile(file.Number(), rights, kAllShares & ~request.shares);
        if (error != kErrorSuccess) return FailedOpen(error);
        if (!IsStillAt(path, opened)) continue;
        if (Truncates(request) && ftruncate(file.Number(), 0) != 0) return FailedOpen(ErrorFromErrno(errno));
        if (created || Truncates(request)) ForgetSyncFailure(opened);
        ReleaseRights(file.Number(), rights & ~request.uses);
        return file;
    }
    return FailedOpen(kErrorSharingViolation);
}

Descriptor CreateNewFile(const NativePath& path, const Permissions* permissions) {
    constexpr int kFlags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    Descriptor file(open(path.Text(), kFlags, permissions != nullptr ? kPrivateMode : kNewFileMode));
    struct stat created {};
    if (!file.IsOpen() || fstat(file.Number(), &created) != 0) return FailedOpen(ErrorForPath(path, errno));
    ForgetSyncFailure(created);
    if (permissions == nullptr || permissions->ApplyTo(file.Number())) return file;
    const std::uint32_t error = ErrorFromErrno(errno);
    unlink(path.Text());
    return FailedOpen(error);
}

bool ReadAll(int file, void* buffer, std::uint32_t size, std::uint32_t* done) {
    *done = 0;
    while (*done < size) {
        const ssize_t count = read(file, static_cast<char*>(buffer) + *done, size - *done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        if (count == 0) break;
        *done += static_cast<std::uint32_t>(count);
    }
    return true;
}

bool WriteAll(int file, const void* buffer, std::uint32_t size, std::uint32_t* done) {
    *done = 0;
    while (*done < size) {
        const ssize_t count = write(file, static_cast<const char*>(buffer) + *done, size - *done);
        if (count < 0 && errno == EINTR) continue;
        if (count == 0) errno = ENOSPC;
        if (count <= 0) return false;
        *done += static_cast<std::uint32_t>(count);
    }
    return true;
}

std::uint32_t ErrorForType(mode_t mode) { return S_ISDIR(mode) ? kErrorAccessDenied : kErrorNotSupported; }

bool IsReadOnly(mode_t mode) { return S_ISREG(mode) && (mode & kWriteBits) == 0; }

}   // namespace platform
