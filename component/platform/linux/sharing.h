/// The sharing of open files among all openers of this layer, in this process and in others.
///
/// An opener sets marks on the open file: one for each right that it uses and one for each that it denies to others.
/// The marks are shared locks of single bytes far beyond the end of any content. The system ties them to the open file
/// description: two openers of one process have their own, and they end with the last descriptor, however the process
/// ends. An opener first sets its marks and then checks for marks of others that exclude it. So two openers that
/// exclude each other never both succeed. On a file system without such locks every opener succeeds.
#pragma once

#include <cstdint>

namespace platform {

/// A right in addition to `kShareRead`, `kShareWrite` and `kShareDelete`. An opener uses and denies it while it renames
/// or removes the file, so that no other opener renames or removes the file at the same time.
inline constexpr std::uint32_t kChangeName = 8;

/// Marks `descriptor` for an opener that uses and denies the given rights (`kShareRead` and its neighbours, as bits)
/// and checks for others. Returns 0 or an error: `kErrorSharingViolation` if another opener excludes this one, another
/// number if the file system refuses a lock. After an error no marks are left. An opener that uses no right gets no
/// marks and isn't checked.
[[nodiscard]] std::uint32_t ClaimFile(int descriptor, std::uint32_t uses, std::uint32_t denies);

/// Removes the marks for the rights in `uses`. The opener keeps the file open, but no longer uses these rights.
void DropUse(int descriptor, std::uint32_t uses);

/// Removes all marks of `descriptor`, which its duplicates share. Keeps a reservation.
void ReleaseClaims(int descriptor);

/// Reserves the file for one opener until the last duplicate of `descriptor`, which must be writable, is closed. It
/// excludes other reservations and nothing else. Returns 0 or an error: `kErrorSharingViolation` if the file is
/// reserved.
[[nodiscard]] std::uint32_t ReserveFile(int descriptor);

/// True if another opener has reserved the file.
[[nodiscard]] bool IsReserved(int descriptor);

}   // namespace platform
