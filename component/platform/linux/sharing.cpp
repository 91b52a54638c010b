#include "sharing.h"

#include <component/platform/files.h>
#include <component/platform/threads.h>

#include <fcntl.h>
#include <sys/file.h>

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

void SetMarks(int descriptor, int type, std::uint32_t uses, std::uint32_t denies) {
    for (const Right& right : kRights) {
        struct flock use = ByteLock(type, right.useMark);
        struct flock deny = ByteLock(type, right.denyMark);
        // Both fail only where there are no such locks.
        if ((uses & right.bit) != 0) static_cast<void>(fcntl(descriptor, F_OFD_SETLK, &use));
        if ((denies & right.bit) != 0) static_cast<void>(fcntl(descriptor, F_OFD_SETLK, &deny));
    }
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
            if (taken) return;
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
    SetMarks(descriptor, F_RDLCK, uses, denies);
    for (const Right& right : kRights) {
        const bool isDenied = (uses & right.bit) != 0 && IsMarkedByOthers(descriptor, right.denyMark);
        const bool isInUse = (denies & right.bit) != 0 && IsMarkedByOthers(descriptor, right.useMark);
        if (!isDenied && !isInUse) continue;
        SetMarks(descriptor, F_UNLCK, uses, denies);
        return false;
    }
    return true;
}

void DropUse(int descriptor, std::uint32_t uses) { SetMarks(descriptor, F_UNLCK, uses, 0); }

}   // namespace platform
