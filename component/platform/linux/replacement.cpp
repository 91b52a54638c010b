#include "replacement.h"

#include "permissions.h"
#include "renames.h"
#include "sharing.h"
#include "system_error.h"

#include <component/platform/files.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

namespace platform {
namespace {

constexpr std::uint32_t kAllShares = kShareRead | kShareWrite | kShareDelete;

/// Finds the file whose permissions the new one gets, if there is one. False with the last error if `original` is
/// something that must not be replaced.
bool FindModel(const NativePath& original, const NativePath& backup, std::optional<Permissions>& model) {
    Permissions permissions;
    if (permissions.Read(original)) {
        if (!S_ISREG(permissions.Mode())) return FailWith(RefusalOf(permissions.Mode()));
        model = std::move(permissions);
        return true;
    }
    if (errno != ENOENT) return FailAt(original, errno);
    if (permissions.Read(backup) && S_ISREG(permissions.Mode())) model = std::move(permissions);
    return true;
}

/// Removes what an earlier save left, or somebody planted, at `path`. `stale` keeps the claim, so that no other process
/// does the same at this moment. Only a file that another process has reserved or holds open is refused.
bool RemoveStale(const NativePath& path, ClaimedEntry& stale) {
    const std::uint32_t error = ClaimForRename(path, stale);
    if (error == kErrorFileNotFound) return true;
    if (error != kErrorSuccess) return FailWith(error);
    if (stale.file.IsOpen() && IsReserved(stale.file.Number())) return FailWith(kErrorSharingViolation);
    return unlink(path.Text()) == 0 || errno == ENOENT || FailAt(path, errno);
}

}   // namespace

Descriptor OpenReplacement(const NativePath& path, const NativePath& original, const NativePath& backup,
                           Descriptor& reservation) {
    std::optional<Permissions> model;
    if (!FindModel(original, backup, model)) return Descriptor();
    for (int attempt = 0; attempt < kOpenAttempts; ++attempt) {
        ClaimedEntry stale;
        if (!RemoveStale(path, stale)) return Descriptor();
        Descriptor file = CreateNewFile(path, model ? &*model : nullptr);
        if (!file.IsOpen() && GetLastError() == kErrorFileExists) continue;
        if (!file.IsOpen()) return file;
        // Claim and reservation come before the check of the name: another process that finds this file unreserved and
        // removes it either sees them or is seen here.
        std::uint32_t error = ClaimFile(file.Number(), kShareWrite, kAllShares);
        if (error == kErrorSuccess) error = ReserveFile(file.Number());
        if (error != kErrorSuccess) {
            FailWith(error);
            return Descriptor();
        }
        if (!IsEntryAt(path, file)) continue;
        reservation = Descriptor(fcntl(file.Number(), F_DUPFD_CLOEXEC, 0));
        if (reservation.IsOpen()) return file;
        FailWithErrno(errno);
        return Descriptor();
    }
    FailWith(kErrorSharingViolation);
    return Descriptor();
}

}   // namespace platform
