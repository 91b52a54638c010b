/// File sharing as on Windows: an open fails if another opener of the file denies a right that it uses, or uses a right
/// that it denies. It covers all openers that use this layer, in this process and in others.
///
/// A claim is a set of shared locks on single bytes far beyond the end of any content: one for each right used and one
/// for each right denied. The locks belong to the open file description (F_OFD_SETLK), so two openers of one process
/// have separate claims, and a claim ends with the last descriptor, however the process ends. An opener first acquires
/// its locks and then checks for conflicting locks of others: two openers that exclude each other never both succeed.
/// On a file system without such locks every opener succeeds.
#pragma once

#include <cstdint>

namespace platform {

/// A right in addition to `kShareRead`, `kShareWrite` and `kShareDelete`. An opener uses and denies it while it renames
/// or removes the file, so that no other opener renames or removes the file at the same time.
inline constexpr std::uint32_t kChangeName = 8;

/// Claims the file of `descriptor` for an opener that uses and denies the given rights, bits such as `kShareRead`.
/// Returns 0 or an error: `kErrorSharingViolation` if another opener excludes this one, another number if the file
/// system refuses a lock. After an error there is no claim. An opener that uses no right makes no claim and succeeds.
[[nodiscard]] std::uint32_t ClaimFile(int descriptor, std::uint32_t uses, std::uint32_t denies);

/// Ends the use of the rights in `uses`; the rest of the claim stays.
void ReleaseRights(int descriptor, std::uint32_t uses);

/// Ends the claim of `descriptor`, which its duplicates share. Keeps a reservation.
void ReleaseClaim(int descriptor);

/// Reserves the file for one opener until the last duplicate of `descriptor`, which must be writable, is closed. It
/// excludes other reservations and nothing else. Returns 0 or an error: `kErrorSharingViolation` if the file is
/// reserved.
[[nodiscard]] std::uint32_t ReserveFile(int descriptor);

/// True if another opener has reserved the file.
[[nodiscard]] bool IsReserved(int descriptor);

}   // namespace platform
