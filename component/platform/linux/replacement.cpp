// Creates the temporary file of a save: removes an old file of that name, then creates, claims and reserves the new
// one.

#include "replacement.h"

#include "permissions.h"
#include "renames.h"
#include "sharing.h"
#include "system_error.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

namespace platform {
namespace {

/// Reads the permissions for the new file, from `original` or else from `backup`, if one of them exists. Returns false
/// with the last error if `original` must not be replaced.
bool ReadPermissions(const NativePath& original, const NativePath& backup, std::optional<Permissions>& inherited) {
    Permissions permissions;
    if (permissions.Read(original)) {
        if (!S_ISREG(permissions.Mode())) return FailWith(ErrorForType(permissions.Mode()));
        inherited = std::move(permissions);
        return true;
    }
    if (errno != ENOENT) return FailForPath(original, errno);
    if (permissions.Read(backup) && S_ISREG(permissions.Mode())) inherited = std::move(permissions);
    return true;
}

/// Removes the entry at `path`, which an earlier save left or an attacker created. `stale` holds the claim, so that no
/// other process removes the entry at the same time. Fails if another process has reserved the file or holds it open.
bool RemoveStale(const NativePath& path, ClaimedEntry& stale) {
    const std::uint32_t error = ClaimForRename(path, stale);
    if (error == kErrorFileNotFound) return true;
    if (error != kErrorSuccess) return FailWith(error);
    if (stale.file.IsOpen() && IsReserved(stale.file.Number())) return FailWith(kErrorSharingViolation);
    return unlink(path.Text()) == 0 || errno == ENOENT || FailForPath(path, errno);
}

}   // namespace

Descriptor OpenReplacement(const NativePath& path, const NativePath& original, const NativePath& backup,
                           Descriptor& reservation) {
    std::optional<Permissions> permissions;
    if (!ReadPermissions(original, backup, permissions)) return Descriptor();
    for (int attempt = 0; attempt < kMaxOpenAttempts; ++attempt) {
        ClaimedEntry stale;
        if (!RemoveStale(path, stale)) return Descriptor();
        Descriptor file = CreateNewFile(path, permissions ? &*permissions : nullptr);
        if (!file.IsOpen() && GetLastError() == kErrorFileExists) continue;
        if (!file.IsOpen()) return file;
        // The check of the name comes last: another process that removes this file does so before the check, or finds
        // the claim and the reservation and fails.
        std::uint32_t error = ClaimFile(file.Number(), kShareWrite, kAllShares);
        if (error == kErrorSuccess) error = ReserveFile(file.Number());
        if (error != kErrorSuccess) return FailedOpen(error);
        if (!IsEntryAt(path, file)) continue;
        reservation = Descriptor(fcntl(file.Number(), F_DUPFD_CLOEXEC, 0));
        return reservation.IsOpen() ? std::move(file) : FailedOpen(ErrorFromErrno(errno));
    }
    return FailedOpen(kErrorSharingViolation);
}

}   // namespace platform
