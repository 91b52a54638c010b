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

/// A file that lost bytes, and the error that told so; no error is a free place.
struct Loss {
    dev_t device = 0;
    ino_t inode = 0;
    std::int64_t birth = 0;
    int error = 0;

    [[nodiscard]] bool IsOf(const struct stat& file) const {
        return error != 0 && device == file.st_dev && inode == file.st_ino;
    }
};

/// Far more than a process saves at a time, on disks that all fail. Beyond that the oldest loss is forgotten.
constexpr std::size_t kMostLosses = 64;

std::mutex lossesMutex;
std::array<Loss, kMostLosses> losses;
std::size_t nextLoss = 0;

Loss* FindLoss(const struct stat& file) {
    const auto found = std::find_if(losses.begin(), losses.end(), [&](const Loss& loss) { return loss.IsOf(file); });
    return found != losses.end() ? &*found : nullptr;
}

/// When the file was made, which tells it from an earlier one in the same place; 0 where the file system doesn't know.
std::int64_t BirthOf(int descriptor) {
    struct statx file {};
    const bool isKnown =
        statx(descriptor, "", AT_EMPTY_PATH, STATX_BTIME, &file) == 0 && (file.stx_mask & STATX_BTIME) != 0;
    return isKnown ? file.stx_btime.tv_sec * 1'000'000'000 + file.stx_btime.tv_nsec : 0;
}

void Remember(const struct stat& file, std::int64_t birth, int error) {
    losses[nextLoss] = {file.st_dev, file.st_ino, birth, error};
    nextLoss = (nextLoss + 1) % kMostLosses;
}

/// What can't be brought to a disk at all has lost nothing.
bool HasNothingToSync(int error) { return error == EINVAL || error == EROFS; }

}   // namespace

bool SyncFile(int descriptor) {
    struct stat file {};
    if (fstat(descriptor, &file) != 0) return false;
    int error = 0;
    do {
        error = fsync(descriptor) == 0 ? 0 : errno;
    } while (error == EINTR);

    const std::int64_t birth = BirthOf(descriptor);
    const std::lock_guard guard(lossesMutex);
    const Loss* const earlier = FindLoss(file);
    if (earlier != nullptr && earlier->birth == birth) {
        error = earlier->error;
    } else if (error != 0 && !HasNothingToSync(error)) {
        Remember(file, birth, error);
    }
    errno = error;
    return error == 0;
}

void ForgetLostBytes(const struct stat& file) {
    const std::lock_guard guard(lossesMutex);
    if (Loss* loss = FindLoss(file)) *loss = Loss();
}

}   // namespace platform
