#include "open_file.h"

#include "sharing.h"
#include "sync.h"
#include "system_error.h"

#include <component/platform/files.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace platform {
namespace {

constexpr std::uint32_t kAllShares = kShareRead | kShareWrite | kShareDelete;

bool Empties(const OpenRequest& request) {
    return request.creation == kCreateAlways || request.creation == kTruncateExisting;
}

/// The rights that the open takes, though they may be more than the opener keeps: what empties a file writes it.
std::uint32_t RightsToOpen(const OpenRequest& request) {
    return Empties(request) ? request.uses | kShareWrite : request.uses;
}

/// Gives the descriptor, or -1 with `errno`. Writers read as well, since only a readable descriptor can carry the
/// marks. A FIFO is opened without a wait for its other end.
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
    return stat(path.Text(), &found) == 0 && found.st_dev == opened.st_dev && found.st_ino == opened.st_ino;
}

}   // namespace

void Descriptor::Close() {
    if (descriptor >= 0) close(descriptor);
    descriptor = -1;
}

Descriptor OpenFile(const NativePath& path, const OpenRequest& request) {
    const std::uint32_t rights = RightsToOpen(request);
    for (int attempt = 0; attempt < kOpenAttempts; ++attempt) {
        bool created = false;
        Descriptor file(OpenOrCreate(path, request, created));
        struct stat opened {};
        if (!file.IsOpen() || fstat(file.Number(), &opened) != 0) {
            FailAt(path, errno);
            return Descriptor();
        }
        const bool isRefused = (S_ISDIR(opened.st_mode) && !request.takesFolders) || S_ISFIFO(opened.st_mode);
        const bool writesProtected = !created && (rights & kShareWrite) != 0 && IsReadOnly(opened.st_mode);
        if (isRefused || writesProtected) {
            FailWith(kErrorAccessDenied);
            return Descriptor();
        }
        if (!S_ISREG(opened.st_mode)) return file;   // folders and devices are everybody's
        if (!ClaimFile(file.Number(), rights, kAllShares & ~request.shares)) break;
        if (!IsStillAt(path, opened)) continue;
        if (Empties(request) && ftruncate(file.Number(), 0) != 0) {
            FailWithErrno(errno);
            return Descriptor();
        }
        if (created || Empties(request)) ForgetLostBytes(opened);
        DropUse(file.Number(), rights & ~request.uses);
        return file;
    }
    FailWith(kErrorSharingViolation);
    return Descriptor();
}

bool IsReadOnly(mode_t mode) { return S_ISREG(mode) && (mode & kWriteBits) == 0; }

}   // namespace platform
