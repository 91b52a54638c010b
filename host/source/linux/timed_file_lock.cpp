// Acquires and releases the lock by `flock` on the lock file.

#include <host/timed_file_lock.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace host {
namespace {

constexpr mode_t kLockFileMode = 0666;

/// Whether a file system refused `flock` because it has no locks. The lock counts as acquired then.
bool HasNoLocks(int error) { return error == ENOSYS || error == EOPNOTSUPP || error == EINVAL || error == ENOLCK; }

bool NamesOpenFile(const std::filesystem::path& path, int descriptor) {
    struct stat opened {};
    struct stat found {};
    return fstat(descriptor, &opened) == 0 && stat(path.c_str(), &found) == 0 && opened.st_dev == found.st_dev &&
           opened.st_ino == found.st_ino;
}

}   // namespace

/// The previous owner may remove the file between `open` and `flock`. The lock acquired then belongs to a removed file,
/// and another process may already hold the lock of the file's successor: so it tries again.
bool TimedFileLock::TryAcquire() {
    for (;;) {
        const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kLockFileMode);
        if (descriptor < 0) {
            const std::error_code error(errno, std::generic_category());
            throw std::filesystem::filesystem_error("can't lock", path, error);
        }
        if (flock(descriptor, LOCK_EX | LOCK_NB) != 0 && !HasNoLocks(errno)) {
            close(descriptor);
            return false;
        }
        if (NamesOpenFile(path, descriptor)) {
            handle = descriptor;
            return true;
        }
        close(descriptor);
    }
}

TimedFileLock::~TimedFileLock() {
    if (!IsHeld()) return;
    unlink(path.c_str());   // before the release: later the file could be the next owner's
    close(static_cast<int>(handle));
}

}   // namespace host
