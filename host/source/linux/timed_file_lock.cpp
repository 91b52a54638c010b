#include <host/timed_file_lock.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace host {
namespace {

constexpr mode_t kLockFileMode = 0666;

/// The errors of a file system without locks. It lets every owner in.
bool HasNoLocks(int error) { return error == ENOSYS || error == EOPNOTSUPP || error == EINVAL || error == ENOLCK; }

bool IsStillAt(const std::filesystem::path& path, int descriptor) {
    struct stat opened {};
    struct stat found {};
    return fstat(descriptor, &opened) == 0 && stat(path.c_str(), &found) == 0 && opened.st_dev == found.st_dev &&
           opened.st_ino == found.st_ino;
}

}   // namespace

/// The former owner may remove the file between the open and the lock: then the lock is one of a file without a name,
/// and a third process may already hold that of the next file.
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
        if (IsStillAt(path, descriptor)) {
            handle = descriptor;
            return true;
        }
        close(descriptor);
    }
}

TimedFileLock::~TimedFileLock() {
    if (!IsHeld()) return;
    unlink(path.c_str());   // while the lock is held, so that the file isn't that of the next owner
    close(static_cast<int>(handle));
}

}   // namespace host
