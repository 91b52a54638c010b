/// What every change of a name in a directory needs: the claim on the entry, the rename itself, the directory on the
/// disk.
#pragma once

#include "native_path.h"
#include "open_file.h"

#include <sys/stat.h>

namespace platform {

[[nodiscard]] inline bool IsSameFile(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/// True if `path` itself, and not the target of a symbolic link, is the open file.
[[nodiscard]] bool IsEntryAt(const NativePath& path, const Descriptor& file);

/// An entry whose name is about to change. `file` is open where the entry is a regular file that may be opened; its
/// claim denies every other change of a name, and lasts as long as it is open.
struct ClaimedEntry {
    struct stat status {};
    Descriptor file;
};

/// Opens and claims the entry at `path` itself, without following a symbolic link. Returns 0 or an error:
/// `kErrorSharingViolation` if an opener of the file doesn't share deletion, or changes the name itself.
[[nodiscard]] std::uint32_t ClaimForRename(const NativePath& path, ClaimedEntry& entry);

/// Renames `from` to `to` on the same volume. Without `replaces` an existing `to` is EEXIST. Returns false with
/// `errno`.
[[nodiscard]] bool RenameEntry(const NativePath& from, const NativePath& to, bool replaces);

/// The directory of an entry, to bring a changed name to the disk. One that this process may write but not read can't
/// be synchronised on its own; its names reach the disk in the system's own time.
class ParentDirectory {
public:
    /// On a failure returns false with the last error.
    [[nodiscard]] bool Open(const NativePath& entry);
    [[nodiscard]] bool Sync() const;

private:
    Descriptor directory;
};

}   // namespace platform
