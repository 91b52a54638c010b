// Claims and renames directory entries, and syncs the parent directory after a rename.

#include "renames.h"

#include "sharing.h"
#include "system_error.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace platform {
namespace {

Descriptor OpenEntry(const NativePath& path) {
    constexpr int kFlags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    Descriptor file(open(path.Text(), O_RDONLY | kFlags));
    if (!file.IsOpen() && errno == EACCES) file = Descriptor(open(path.Text(), O_WRONLY | kFlags));
    return file;
}

}   // namespace

bool IsEntryAt(const NativePath& path, const Descriptor& file) {
    struct stat opened {};
    struct stat found {};
    return fstat(file.Number(), &opened) == 0 && lstat(path.Text(), &found) == 0 && IsSameFile(opened, found);
}

std::uint32_t ClaimForRename(const NativePath& path, ClaimedEntry& entry) {
    for (int attempt = 0; attempt < kMaxOpenAttempts; ++attempt) {
        if (lstat(path.Text(), &entry.status) != 0) return ErrorForPath(path, errno);
        if (!S_ISREG(entry.status.st_mode)) return kErrorSuccess;   // only regular files can be claimed
        entry.file = OpenEntry(path);
        if (!entry.file.IsOpen()) return errno == EACCES || errno == EPERM ? kErrorSuccess : ErrorForPath(path, errno);
        const std::uint32_t error = ClaimFile(entry.file.Number(), kShareDelete | kChangeName, kChangeName);
        if (error != kErrorSuccess) return error;
        if (IsEntryAt(path, entry.file)) return kErrorSuccess;
    }
    return kErrorSharingViolation;
}

bool RenameEntry(const NativePath& from, const NativePath& to, bool replaces) {
    if (replaces) return rename(from.Text(), to.Text()) == 0;
    if (renameat2(AT_FDCWD, from.Text(), AT_FDCWD, to.Text(), RENAME_NOREPLACE) == 0) return true;
    if (errno != EINVAL && errno != ENOSYS) return false;
    // The file system doesn't support the flag. A hard link doesn't replace a file either.
    if (link(from.Text(), to.Text()) == 0) return unlink(from.Text()) == 0;
    if (errno == EEXIST) return false;
    return rename(from.Text(), to.Text()) == 0;   // no hard links either: rely on the caller's check
}

bool ParentDirectory::Open(const NativePath& entry) {
    directory = Descriptor(open(entry.Parent().Text(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return directory.IsOpen() || errno == EACCES || FailForPath(entry, errno);
}

bool ParentDirectory::Sync() const {
    // EINVAL: the file system has nothing to do for a directory.
    return !directory.IsOpen() || fsync(directory.Number()) == 0 || errno == EINVAL || FailWithErrno(errno);
}

}   // namespace platform
