/// Changes of names in a directory: the claim on an entry, the rename, and the sync of the directory.
#pragma once

#include "native_path.h"
#include "open_file.h"

namespace platform {

/// True if `path` itself, not the target of a symbolic link, is the open file.
[[nodiscard]] bool IsEntryAt(const NativePath& path, const Descriptor& file);

/// A directory entry that is about to be renamed or removed. `file` is open if the entry is a regular file that this
/// process may open. While it is open, its claim excludes every other rename or removal.
struct ClaimedEntry {
    struct stat status {};
    Descriptor file;
};

/// Opens and claims the entry at `path` itself, without following a symbolic link. Returns 0 or an error:
/// `kErrorSharingViolation` if another opener of the file denies deletion, or is renaming or removing the file.
[[nodiscard]] std::uint32_t ClaimForRename(const NativePath& path, ClaimedEntry& entry);

/// Renames `from` to `to` on the same volume. Without `replaces` an existing `to` is EEXIST. Returns false with
/// `errno`.
[[nodiscard]] bool RenameEntry(const NativePath& from, const NativePath& to, bool replaces);

/// The directory of an entry, to synchronise it after a rename. A directory that this process may write but not read
/// can't be synchronised; the system writes it later.
class ParentDirectory {
public:
    /// On a failure returns false with the last error.
    [[nodiscard]] bool Open(const NativePath& entry);
    [[nodiscard]] bool Sync() const;

private:
    Descriptor directory;
};

}   // namespace platform
