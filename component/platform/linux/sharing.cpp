#include "sharing.h"

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

struct flock ByteLock(int type, off_t mark) {
    struct flock lock {};
    lock.l_type = static_cast<short>(type);
    lock.l_whence = SEEK_SET;
    lock.l_start = mark;
    lock.l_len = 1;
    return lock;
}

/// The errors of a file system without such locks, and of a descriptor that can't carry them since it mustn't be read.
bool HasNoLocks(int error) { return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP || error == EBADF; }

bool SetMark(int descriptor, int type, off_t mark) {
    struct flock lock = ByteLock(type, mark);
    return fcntl(descriptor, F_OFD_SETLK, &lock) == 0 || HasNoLocks(errno);
}

/// False where a lock that could be had is refused: then nobody would know of this opener.
bool SetMarks(int descriptor, int type, std::uint32_t uses, std::uint32_t denies) {
    bool areSet = true;
    for (const Right& right : kRights) {
        if ((uses & right.bit) != 0) areSet = SetMark(descriptor, type, right.useMark) && areSet;
        if ((denies & right.bit) != 0) areSet = SetMark(descriptor, type, right.denyMark) && areSet;
    }
    return areSet;
}

bool IsMarkedByOthers(int descriptor, off_t mark) {
    struct flock lock = ByteLock(F_WRLCK, mark);
    return fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

/// Lets one opener at a time mark and look, so that of two that come together one goes on; without it both might turn
/// back. It is a courtesy and no more: where it isn't to be had in time the marks alone decide.
class Turn {
public:
    explicit Turn(int file) : descriptor(file) {
        for (int wait = 0; wait < kPatienceMilliseconds; ++wait) {
            taken = flock(descriptor, LOCK_EX | LOCK_NB) == 0;
            if (taken || (errno != EWOULDBLOCK && errno != EINTR)) return;
            Sleep(1);
        }
    }
    ~Turn() {
        if (taken) flock(descriptor, LOCK_UN);
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

private:
    static constexpr int kPatienceMilliseconds = 50;
    const int descriptor;
    bool taken = false;
};

}   // namespace

bool ClaimFile(int descriptor, std::uint32_t uses, std::uint32_t denies) {
    if (uses == 0) return true;
    const Turn turn(descriptor);
    bool isClaimed = SetMarks(descriptor, F_RDLCK, uses, denies);
    for (const Right& right : kRights) {
        const bool isDenied = (uses & right.bit) != 0 && IsMarkedByOthers(descriptor, right.denyMark);
        const bool isInUse = (denies & right.bit) != 0 && IsMarkedByOthers(descriptor, right.useMark);
        isClaimed = isClaimed && !isDenied && !isInUse;
    }
    if (!isClaimed) static_cast<void>(SetMarks(descriptor, F_UNLCK, uses, denies));   // at the latest they go with it
    return isClaimed;
}

void DropUse(int descriptor, std::uint32_t uses) {
    static_cast<void>(SetMarks(descriptor, F_UNLCK, uses, 0));   // a right too many keeps others out and lets none in
}

}   // namespace platform
