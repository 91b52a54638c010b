// Syncs files with `fsync` and records which failed, so that a later sync of the same file fails too.

#include "sync.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <mutex>

namespace platform {
namespace {

/// A file whose sync failed, with the error. An error of 0 marks a free slot.
struct SyncFailure {
    dev_t device = 0;
    ino_t inode = 0;
    std::int64_t created = 0;
    int error = 0;

    [[nodiscard]] bool IsOf(const struct stat& file) const {
        return error != 0 && device == file.st_dev && inode == file.st_ino;
    }
};

/// Far more than a process saves at a time. The oldest failure is replaced.
constexpr std::size_t kMaxFailures = 64;

std::mutex failuresMutex;
std::array<SyncFailure, kMaxFailures> failures;
std::size_t nextSlot = 0;

SyncFailure* FindFailure(const struct stat& file) {
    auto* const found = std::find_if(failures.begin(), failures.end(), [&](const auto& one) { return one.IsOf(file); });
    return found != failures.end() ? found : nullptr;
}

/// The file's creation time in nanoseconds, which differs from that of an earlier file with the same inode number; 0 if
/// the file system doesn't store it.
std::int64_t CreationTimeOf(int descriptor) {
    struct statx file {};
    const bool isKnown =
        statx(descriptor, "", AT_EMPTY_PATH, STATX_BTIME, &file) == 0 && (file.stx_mask & STATX_BTIME) != 0;
    return isKnown ? file.stx_btime.tv_sec * 1'000'000'000 + file.stx_btime.tv_nsec : 0;
}

void Remember(const struct stat& file, std::int64_t created, int error) {
    failures[nextSlot] = {file.st_dev, file.st_ino, created, error};
    nextSlot = (nextSlot + 1) % kMaxFailures;
}

/// The errors of files that can't be synchronised at all.
bool HasNothingToSync(int error) { return error == EINVAL || error == EROFS; }

}   // namespace

bool SyncFile(int descriptor) {
    struct stat file {};
    if (fstat(descriptor, &file) != 0) return false;
    int error = 0;
    do {
        error = fsync(descriptor) == 0 ? 0 : errno;
    } while (error == EINTR);

    const std::int64_t created = CreationTimeOf(descriptor);
    const std::lock_guard guard(failuresMutex);
    const SyncFailure* const earlier = FindFailure(file);
    if (earlier != nullptr && earlier->created == created) {
        error = earlier->error;
    } else if (error != 0 && !HasNothingToSync(error)) {
        Remember(file, created, error);
    }
    errno = error;
    return error == 0;
}

void ForgetSyncFailure(const struct stat& file) {
    const std::lock_guard guard(failuresMutex);
    if (SyncFailure* failure = FindFailure(file)) *failure = SyncFailure();
}

}   // namespace platform
