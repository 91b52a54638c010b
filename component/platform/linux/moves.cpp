// Moves and deletes files. A move to another volume copies the file. A move with write-through syncs to the disk.

#include <component/platform/files.h>

#include "copies.h"
#include "native_path.h"
#include "open_file.h"
#include "renames.h"
#include "sync.h"
#include "system_error.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace platform {
namespace {

constexpr std::uint32_t kMoveFlags = kMoveReplaceExisting | kMoveCopyAllowed | kMoveWriteThrough;

/// Devices, FIFOs and sockets aren't moved.
bool IsMovable(mode_t mode) { return S_ISREG(mode) || S_ISDIR(mode) || S_ISLNK(mode); }

/// One move. `ClaimSource` and `ClaimTarget` set `moved`, `replaced` and `replaces` for the later steps.
class Move {
public:
    Move(const NativePath& from, const NativePath& to, std::uint32_t moveFlags)
        : source(from), target(to), flags(moveFlags) {}

    bool Run() {
        if (!ClaimSource() || !ClaimTarget()) return false;
        if (HasFlag(kMoveWriteThrough) && !PrepareSync()) return false;
        if (RenameEntry(source, target, replaces))
            return FinishReplacement() && (!HasFlag(kMoveWriteThrough) || Sync());
        if (errno != EXDEV) return FailAtTarget(errno);
        if (!HasFlag(kMoveCopyAllowed) || !S_ISREG(moved.status.st_mode)) return FailWith(kErrorNotSameDevice);
        return CopyAcross();
    }

private:
    [[nodiscard]] bool HasFlag(std::uint32_t flag) const { return (flags & flag) != 0; }

    bool ClaimSource() {
        const std::uint32_t error = ClaimForRename(source, moved);
        if (error != kErrorSuccess) return FailWith(error);
        return IsMovable(moved.status.st_mode) || FailWith(kErrorNotSupported);
    }

    bool ClaimTarget() {
        replaces = lstat(target.Text(), &replaced.status) == 0;
        if (!replaces) return errno == ENOENT || FailForPath(target, errno);
        if (IsSameFile(moved.status, replaced.status) && IsSameEntry()) return true;
        if (!HasFlag(kMoveReplaceExisting)) return FailWith(kErrorAlreadyExists);
        if (!IsMovable(replaced.status.st_mode)) return FailWith(kErrorNotSupported);
        const bool isDirectory = S_ISDIR(moved.status.st_mode) || IsDirectory(target);
        if (isDirectory || IsReadOnly(replaced.status.st_mode)) return FailWith(kErrorAccessDenied);
        if (IsSameFile(moved.status, replaced.status)) return true;   // a hard link to the source, claimed already
        const std::uint32_t error = ClaimForRename(target, replaced);
        if (error == kErrorSharingViolation) return FailWith(kErrorAccessDenied);
        replaces = error == kErrorSuccess;
        return replaces || error == kErrorFileNotFound || FailWith(error);
    }

    /// Opens the parent directories for the sync; only one of them if both paths have the same parent.
    bool OpenDirectories() {
        const bool sameParent = std::string_view(source.Parent().Text()) == target.Parent().Text();
        return targetDirectory.Open(target) && (sameParent || sourceDirectory.Open(source));
    }

    /// Writes the contents to the disk before the rename, so that after a power cut the new name never refers to
    /// incomplete contents.
    bool PrepareSync() {
        if (!OpenDirectories()) return false;
        if (!S_ISREG(moved.status.st_mode)) return true;
        if (!moved.file.IsOpen()) return FailWith(kErrorAccessDenied);
        return SyncFile(moved.file.Number()) || FailWithErrno(errno);
    }

    bool Sync() {
        moved.file.Close();   // others may open the moved file while the disk works
        return targetDirectory.Sync() && sourceDirectory.Sync();
    }

    /// After the rename: a rename between two hard links of one file does nothing, so the source is removed here.
    bool FinishReplacement() {
        if (!replaces) return true;
        if (!IsSameFile(moved.status, replaced.status)) {
            if (replaced.status.st_nlink == 1) ForgetSyncFailure(replaced.status);
            return true;
        }
        return IsSameEntry() || unlink(source.Text()) == 0 || FailWithErrno(errno);
    }

    /// True if both paths name the same directory entry, and also if the check fails.
    [[nodiscard]] bool IsSameEntry() const {
        struct stat from {};
        struct stat to {};
        if (stat(source.Parent().Text(), &from) != 0 || stat(target.Parent().Text(), &to) != 0) return true;
        return IsSameFile(from, to) && source.Name() == target.Name();
    }

    /// Moves to another volume. A source that can't be removed stays.
    bool CopyAcross() {
        if (!OpenDirectories()) return false;
        if (!CopyToName(source, moved.file, target, replaces)) {
            if (GetLastError() == kErrorFileExists) FailAtTarget(EEXIST);   // changes the last error only
            return false;
        }
        if (!targetDirectory.Sync()) return false;
        unlink(source.Text());
        return !HasFlag(kMoveWriteThrough) || sourceDirectory.Sync();
    }

    /// EEXIST: another process created the target since `ClaimTarget`; it is reported as in use.
    bool FailAtTarget(int error) const {
        if (error != EEXIST) return FailForPath(target, error);
        return FailWith(HasFlag(kMoveReplaceExisting) ? kErrorAccessDenied : kErrorAlreadyExists);
    }

    const NativePath& source;
    const NativePath& target;
    const std::uint32_t flags;
    bool replaces = false;
    ClaimedEntry moved;
    ClaimedEntry replaced;
    ParentDirectory sourceDirectory;
    ParentDirectory targetDirectory;
};

}   // namespace

bool MoveFileExW(const char16_t* source, const char16_t* target, std::uint32_t flags) {
    NativePath from;
    NativePath to;
    if ((flags & ~kMoveFlags) != 0) return FailWith(kErrorInvalidParameter);
    return from.Assign(source) && to.Assign(target) && Move(from, to, flags).Run();
}

bool DeleteFileW(const char16_t* path) {
    NativePath native;
    if (!native.Assign(path)) return false;
    ClaimedEntry entry;
    const std::uint32_t error = ClaimForRename(native, entry);
    if (error != kErrorSuccess) return FailWith(error);
    if (IsDirectory(native) || IsReadOnly(entry.status.st_mode)) return FailWith(kErrorAccessDenied);
    if (unlink(native.Text()) != 0) return FailForPath(native, errno);
    if (entry.status.st_nlink == 1) ForgetSyncFailure(entry.status);
    return true;
}

}   // namespace platform
