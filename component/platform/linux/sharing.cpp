// Claims on open files, kept as byte locks of the open file description (F_OFD_SETLK).

#include "sharing.h"

#include "system_error.h"

#include <component/platform/files.h>
#include <component/platform/threads.h>

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

namespace platform {
namespace {

struct Right {
    std::uint32_t bit;
    off_t useMark;
    off_t denyMark;
};

constexpr off_t kFirstMark = 0x7FFFFFFFFFFFFF00;
constexpr Right kRights[] = {
    {kShareRead, kFirstMark + 0, kFirstMark + 4},
    {kShareWrite, kFirstMark + 1, kFirstMark + 5},
    {kShareDelete, kFirstMark + 2, kFirstMark + 6},
    {kChangeName, kFirstMark + 3, kFirstMark + 7},
};
constexpr off_t kMarkCount = 8;
constexpr off_t kReservation = kFirstMark + kMarkCount;   // the one exclusive lock

struct flock ByteLock(int type, off_t mark) {
    struct flock lock {};
    lock.l_type = static_cast<short>(type);
    lock.l_whence = SEEK_SET;
    lock.l_start = mark;
    lock.l_len = 1;
    return lock;
}

/// False on a file system without such locks; a network file system without its lock service reports ENOLCK.
bool HasLocks(int descriptor) {
    struct flock lock = ByteLock(F_WRLCK, kReservation);
    if (fcntl(descriptor, F_OFD_GETLK, &lock) == 0) return true;
    return errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP && errno != ENOLCK;
}

/// Sets or removes one mark. Returns false with `errno`. A descriptor that isn't readable can't hold marks; for it the
/// call does nothing and returns true.
bool SetMark(int descriptor, int type, off_t mark) {
    struct flock lock = ByteLock(type, mark);
    return fcntl(descriptor, F_OFD_SETLK, &lock) == 0 || errno == EBADF;
}

/// Sets or removes the marks of an opener. Stops at the first that is refused and returns false with `errno`.
bool SetMarks(int descriptor, int type, std::uint32_t uses, std::uint32_t denies) {
    for (const Right& right : kRights) {
        if ((uses & right.bit) != 0 && !SetMark(descriptor, type, right.useMark)) return false;
        if ((denies & right.bit) != 0 && !SetMark(descriptor, type, right.denyMark)) return false;
    }
    return true;
}

bool IsMarkedByOthers(int descriptor, off_t mark) {
    struct flock lock = ByteLock(F_WRLCK, mark);
    return fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

bool IsExcludedByOthers(int descriptor, std::uint32_t uses, std::uint32_t denies) {
    for (const Right& right : kRights) {
        if ((uses & right.bit) != 0 && IsMarkedByOthers(descriptor, right.denyMark)) return true;
        if ((denies & right.bit) != 0 && IsMarkedByOthers(descriptor, right.useMark)) return true;
    }
    return false;
}

/// A lock for setting marks and checking. Without it two openers that exclude each other might both fail. If the lock
/// isn't available in time, the opener goes on: the marks alone keep two from succeeding.
class BestEffortFileLock {
public:
    explicit BestEffortFileLock(int file) : descriptor(file) {
        for (int wait = 0; wait < kMaxWaitMilliseconds; ++wait) {
            isLocked = flock(descriptor, LOCK_EX | LOCK_NB) == 0;
            if (isLocked || (errno != EWOULDBLOCK && errno != EINTR)) return;
            Sleep(1);
        }
    }
    ~BestEffortFileLock() {
        if (isLocked) flock(descriptor, LOCK_UN);
    }
    BestEffortFileLock(const BestEffortFileLock&) = delete;
    BestEffortFileLock& operator=(const BestEffortFileLock&) = delete;

private:
    static constexpr int kMaxWaitMilliseconds = 50;
    const int descriptor;
    bool isLocked = false;
};

}   // namespace

std::uint32_t ClaimFile(int descriptor, std::uint32_t uses, std::uint32_t denies) {
    if (uses == 0 || !HasLocks(descriptor)) return kErrorSuccess;
    const BestEffortFileLock lock(descriptor);
    std::uint32_t error = kErrorSuccess;
    if (!SetMarks(descriptor, F_RDLCK, uses, denies)) {
        error = ErrorFromErrno(errno);
    } else if (IsExcludedByOthers(descriptor, uses, denies)) {
        error = kErrorSharingViolation;
    }
    if (error != kErrorSuccess) ReleaseClaims(descriptor);
    return error;
}

void ReleaseRights(int descriptor, std::uint32_t uses) {
    static_cast<void>(SetMarks(descriptor, F_UNLCK, uses, 0));   // a remaining mark only excludes others
}

void ReleaseClaims(int descriptor) {
    struct flock all = ByteLock(F_UNLCK, kFirstMark);
    all.l_len = kMarkCount;
    static_cast<void>(fcntl(descriptor, F_OFD_SETLK, &all));   // closing the descriptor removes them at the latest
}

std::uint32_t ReserveFile(int descriptor) {
    if (!HasLocks(descriptor)) return kErrorSuccess;
    struct flock lock = ByteLock(F_WRLCK, kReservation);
    if (fcntl(descriptor, F_OFD_SETLK, &lock) == 0) return kErrorSuccess;
    return errno == EACCES ? kErrorSharingViolation : ErrorFromErrno(errno);
}

bool IsReserved(int descriptor) { return IsMarkedByOthers(descriptor, kReservation); }

}   // namespace platform
