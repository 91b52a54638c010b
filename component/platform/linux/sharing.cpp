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

/// A right, and the offsets of the bytes that an opener locks while it uses or denies the right.
struct Right {
    std::uint32_t bit;
    off_t useOffset;
    off_t denyOffset;
};

constexpr off_t kFirstOffset = 0x7FFFFFFFFFFFFF00;
constexpr Right kRights[] = {
    {kShareRead, kFirstOffset + 0, kFirstOffset + 4},
    {kShareWrite, kFirstOffset + 1, kFirstOffset + 5},
    {kShareDelete, kFirstOffset + 2, kFirstOffset + 6},
    {kChangeName, kFirstOffset + 3, kFirstOffset + 7},
};
constexpr off_t kClaimBytes = 8;
constexpr off_t kReservation = kFirstOffset + kClaimBytes;   // the one exclusive lock

struct flock ByteLock(int type, off_t offset) {
    struct flock lock {};
    lock.l_type = static_cast<short>(type);
    lock.l_whence = SEEK_SET;
    lock.l_start = offset;
    lock.l_len = 1;
    return lock;
}

/// False on a file system without such locks; a network file system without its lock service reports ENOLCK.
bool HasLocks(int descriptor) {
    struct flock lock = ByteLock(F_WRLCK, kReservation);
    if (fcntl(descriptor, F_OFD_GETLK, &lock) == 0) return true;
    return errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP && errno != ENOLCK;
}

/// Locks or unlocks one byte, by `type`. Returns false with `errno`. A descriptor that isn't readable can't hold locks;
/// for it the call does nothing and returns true.
bool SetByteLock(int descriptor, int type, off_t offset) {
    struct flock lock = ByteLock(type, offset);
    return fcntl(descriptor, F_OFD_SETLK, &lock) == 0 || errno == EBADF;
}

/// Locks or unlocks the bytes of the rights. Stops at the first that is refused and returns false with `errno`.
bool SetClaim(int descriptor, int type, std::uint32_t uses, std::uint32_t denies) {
    for (const Right& right : kRights) {
        if ((uses & right.bit) != 0 && !SetByteLock(descriptor, type, right.useOffset)) return false;
        if ((denies & right.bit) != 0 && !SetByteLock(descriptor, type, right.denyOffset)) return false;
    }
    return true;
}

bool IsLockedByOthers(int descriptor, off_t offset) {
    struct flock lock = ByteLock(F_WRLCK, offset);
    return fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

bool IsExcludedByOthers(int descriptor, std::uint32_t uses, std::uint32_t denies) {
    for (const Right& right : kRights) {
        if ((uses & right.bit) != 0 && IsLockedByOthers(descriptor, right.denyOffset)) return true;
        if ((denies & right.bit) != 0 && IsLockedByOthers(descriptor, right.useOffset)) return true;
    }
    return false;
}

/// Serialises the claims on a file. Without it two openers that exclude each other might both fail. If the lock isn't
/// available in time, the opener goes on: the claims alone keep two from succeeding.
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
    if (!SetClaim(descriptor, F_RDLCK, uses, denies)) {
        error = ErrorFromErrno(errno);
    } else if (IsExcludedByOthers(descriptor, uses, denies)) {
        error = kErrorSharingViolation;
    }
    if (error != kErrorSuccess) ReleaseClaim(descriptor);
    return error;
}

void ReleaseRights(int descriptor, std::uint32_t uses) {
    static_cast<void>(SetClaim(descriptor, F_UNLCK, uses, 0));   // a remaining lock only excludes others
}

void ReleaseClaim(int descriptor) {
    struct flock all = ByteLock(F_UNLCK, kFirstOffset);
    all.l_len = kClaimBytes;
    static_cast<void>(fcntl(descriptor, F_OFD_SETLK, &all));   // if it fails, closing the descriptor unlocks
}

std::uint32_t ReserveFile(int descriptor) {
    if (!HasLocks(descriptor)) return kErrorSuccess;
    struct flock lock = ByteLock(F_WRLCK, kReservation);
    if (fcntl(descriptor, F_OFD_SETLK, &lock) == 0) return kErrorSuccess;
    return errno == EACCES ? kErrorSharingViolation : ErrorFromErrno(errno);
}

bool IsReserved(int descriptor) { return IsLockedByOthers(descriptor, kReservation); }

}   // namespace platform
