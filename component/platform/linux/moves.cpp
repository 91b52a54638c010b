#include <component/platform/files.h>

#include "native_path.h"
#include "open_file.h"
#include "sharing.h"
#include "sync.h"
#include "system_error.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>

namespace platform {
namespace {

constexpr std::uint32_t kAllShares = kShareRead | kShareWrite | kShareDelete;
constexpr std::uint32_t kMoveFlags = kMoveReplaceExisting | kMoveCopyAllowed | kMoveWriteThrough;

bool IsSameFile(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/// The errors of opening what is there and yet held by nobody: a link, a socket, a folder, what mustn't be read.
bool IsNeverHeld(int error) {
    return error == ELOOP || error == ENXIO || error == EISDIR || error == EACCES || error == EPERM;
}

/// Opens an entry whose name is about to change, as somebody who deletes: whoever doesn't share that stands against it.
/// What is held by nobody leaves `file` closed. Gives an error.
std::uint32_t HoldName(const NativePath& path, Descriptor& file) {
    constexpr int kFlags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    for (int attempt = 0; attempt < kOpenAttempts; ++attempt) {
        file = Descriptor(open(path.Text(), O_RDONLY | kFlags));
        if (!file.IsOpen() && errno == EACCES) file = Descriptor(open(path.Text(), O_WRONLY | kFlags));
        if (!file.IsOpen()) return IsNeverHeld(errno) ? kErrorSuccess : ErrorAt(path, errno);
        struct stat opened {};
        if (fstat(file.Number(), &opened) != 0 || !S_ISREG(opened.st_mode)) return kErrorSuccess;
        if (!ClaimFile(file.Number(), kShareDelete | kChangeName, kChangeName)) break;
        struct stat found {};
        if (lstat(path.Text(), &found) == 0 && IsSameFile(opened, found)) return kErrorSuccess;
    }
    return kErrorSharingViolation;
}

bool IsFolderOrLinkToOne(const NativePath& path) {
    struct stat status {};
    return stat(path.Text(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool WriteWhole(int target, const char* bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t moved = write(target, bytes, size);
        if (moved < 0 && errno != EINTR) return false;
        if (moved <= 0) continue;
        bytes += moved;
        size -= static_cast<std::size_t>(moved);
    }
    return true;
}

/// A file system without permissions of its own isn't asked for them.
bool CopyPermissions(const Descriptor& source, const Descriptor& target) {
    struct stat status {};
    if (fstat(source.Number(), &status) != 0) return false;
    if (fchmod(target.Number(), status.st_mode & 0777) == 0) return true;
    return errno == EPERM || errno == ENOTSUP || errno == ENOSYS;
}

/// Copies from one position to the other up to the end, with the permissions, and onto the disk; `errno` tells of a
/// failure.
bool CopyContents(const Descriptor& source, const Descriptor& target) {
    std::array<char, 65536> block;
    for (;;) {
        const ssize_t taken = read(source.Number(), block.data(), block.size());
        if (taken < 0 && errno == EINTR) continue;
        if (taken < 0) return false;
        if (taken == 0) break;
        if (!WriteWhole(target.Number(), block.data(), static_cast<std::size_t>(taken))) return false;
    }
    return CopyPermissions(source, target) && SyncFile(target.Number());
}

/// A name that nobody has, for the time of a copy in the folder of `path`.
bool MakeScratchName(NativePath& path) {
    std::uint64_t number = 0;
    if (getrandom(&number, sizeof(number), 0) != sizeof(number)) return FailWithErrno(errno);
    char name[32];
    const int lengthBytes = std::snprintf(name, sizeof(name), ".move-%016llx", static_cast<unsigned long long>(number));
    return path.ReplaceName({name, static_cast<std::size_t>(lengthBytes)});
}

/// The folder of an entry, open to be brought to the disk after a name in it has changed. One that may be changed and
/// not read can't be brought there on its own; its names go with the system's next sync.
class FolderOf {
public:
    [[nodiscard]] bool Open(const NativePath& entry) {
        folder = Descriptor(open(entry.Parent().Text(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        return folder.IsOpen() || errno == EACCES || FailAt(entry, errno);
    }
    /// A file system that has nothing to do for it answers EINVAL.
    [[nodiscard]] bool Sync() const {
        return !folder.IsOpen() || fsync(folder.Number()) == 0 || errno == EINVAL || FailWithErrno(errno);
    }

private:
    Descriptor folder;
};

/// One move, step by step. What the steps look at is found out in the first of them.
class Move {
public:
    Move(const NativePath& from, const NativePath& to, std::uint32_t moveFlags)
        : source(from), target(to), flags(moveFlags) {}

    bool Run() {
        if (!LookAtSource() || !LookAtTarget()) return false;
        if (Has(kMoveWriteThrough) && !PrepareSync()) return false;
        if (Rename(source)) return TidyUp() && (!Has(kMoveWriteThrough) || Sync());
        if (errno != EXDEV) return FailAtTarget(errno);
        if (!Has(kMoveCopyAllowed) || !S_ISREG(sourceStatus.st_mode)) return FailWith(kErrorNotSameDevice);
        return CopyAcross();
    }

private:
    [[nodiscard]] bool Has(std::uint32_t flag) const { return (flags & flag) != 0; }

    bool LookAtSource() {
        const std::uint32_t error = HoldName(source, heldSource);
        if (error != kErrorSuccess) return FailWith(error);
        return lstat(source.Text(), &sourceStatus) == 0 || FailAt(source, errno);
    }

    bool LookAtTarget() {
        replaces = lstat(target.Text(), &targetStatus) == 0;
        if (!replaces) return errno == ENOENT || FailAt(target, errno);
        if (IsSameFile(sourceStatus, targetStatus) && IsSameEntry()) return true;
        if (!Has(kMoveReplaceExisting)) return FailWith(kErrorAlreadyExists);
        const bool isFolder = S_ISDIR(sourceStatus.st_mode) || IsFolderOrLinkToOne(target);
        if (isFolder || IsReadOnly(targetStatus.st_mode)) return FailWith(kErrorAccessDenied);
        if (IsSameFile(sourceStatus, targetStatus)) return true;   // another name of what is held already
        const std::uint32_t error = HoldName(target, heldTarget);
        if (error == kErrorSharingViolation) return FailWith(kErrorAccessDenied);
        replaces = error == kErrorSuccess;
        const bool hasJustGone = error == kErrorFileNotFound;
        return replaces || hasJustGone || FailWith(error);
    }

    /// One folder is brought to the disk once.
    bool OpenFolders() {
        const bool isOne = std::string_view(source.Parent().Text()) == target.Parent().Text();
        return targetFolder.Open(target) && (isOne || sourceFolder.Open(source));
    }

    /// The bytes go to the disk before their new name does, so that the name never stands for less than all of them.
    bool PrepareSync() {
        if (!OpenFolders()) return false;
        if (!S_ISREG(sourceStatus.st_mode)) return true;
        if (!heldSource.IsOpen()) return FailWith(kErrorAccessDenied);
        return SyncFile(heldSource.Number()) || FailWithErrno(errno);
    }

    bool Sync() {
        heldSource.Close();   // the moved file is free again while the disk works
        return targetFolder.Sync() && sourceFolder.Sync();
    }

    /// Leaves `errno` on a failure.
    [[nodiscard]] bool Rename(const NativePath& from) const {
        if (replaces) return rename(from.Text(), target.Text()) == 0;
        if (renameat2(AT_FDCWD, from.Text(), AT_FDCWD, target.Text(), RENAME_NOREPLACE) == 0) return true;
        if (errno != EINVAL && errno != ENOSYS) return false;
        return rename(from.Text(), target.Text()) == 0;   // no such call here: the look at the target has to do
    }

    /// A rename from one hard link to another one of the same file does nothing; the move still takes the old name
    /// away.
    bool TidyUp() {
        if (!replaces) return true;
        if (!IsSameFile(sourceStatus, targetStatus)) {
            if (targetStatus.st_nlink == 1) ForgetLostBytes(targetStatus);
            return true;
        }
        return IsSameEntry() || unlink(source.Text()) == 0 || FailWithErrno(errno);
    }

    [[nodiscard]] bool IsSameEntry() const {
        struct stat from {};
        struct stat to {};
        if (stat(source.Parent().Text(), &from) != 0 || stat(target.Parent().Text(), &to) != 0) return true;
        return IsSameFile(from, to) && source.Name() == target.Name();
    }

    /// To another volume: the whole copy is on its disk under a name of its own before it takes the target's name.
    bool CopyAcross() {
        NativePath scratch = target;
        if (!MakeScratchName(scratch) || !OpenFolders()) return false;
        Descriptor copy(open(scratch.Text(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        struct stat made {};
        if (!copy.IsOpen() || fstat(copy.Number(), &made) != 0) return FailAt(scratch, errno);
        ForgetLostBytes(made);
        const bool isWhole = CopyContents(heldSource, copy) && Rename(scratch);
        if (!isWhole) {
            const int error = errno;
            unlink(scratch.Text());
            return FailAtTarget(error);
        }
        if (!targetFolder.Sync()) return false;
        unlink(source.Text());
        return !Has(kMoveWriteThrough) || sourceFolder.Sync();
    }

    /// A target that was free a moment ago has an owner now, who may well be at work on it.
    bool FailAtTarget(int error) const {
        if (error != EEXIST) return FailAt(target, error);
        return FailWith(Has(kMoveReplaceExisting) ? kErrorAccessDenied : kErrorAlreadyExists);
    }

    const NativePath& source;
    const NativePath& target;
    const std::uint32_t flags;
    struct stat sourceStatus {};
    struct stat targetStatus {};
    bool replaces = false;
    Descriptor heldSource;
    Descriptor heldTarget;
    FolderOf sourceFolder;
    FolderOf targetFolder;
};

}   // namespace

bool CopyFileW(const char16_t* source, const char16_t* target, bool failIfExists) {
    NativePath from;
    NativePath to;
    if (!from.Assign(source) || !to.Assign(target)) return false;
    const Descriptor original = OpenFile(from, {kShareRead, kAllShares, kOpenExisting, false, 0});
    if (!original.IsOpen()) return false;
    const std::uint32_t creation = failIfExists ? kCreateNew : kCreateAlways;
    FolderOf folder;
    if (!folder.Open(to)) return false;
    const Descriptor copy = OpenFile(to, {kShareWrite, 0, creation, false, kNewFileMode});
    if (!copy.IsOpen()) return false;
    if ((CopyContents(original, copy) || FailWithErrno(errno)) && folder.Sync()) return true;
    unlink(to.Text());   // still held: it is this very file
    return false;
}

bool MoveFileExW(const char16_t* source, const char16_t* target, std::uint32_t flags) {
    NativePath from;
    NativePath to;
    if ((flags & ~kMoveFlags) != 0) return FailWith(kErrorInvalidParameter);
    return from.Assign(source) && to.Assign(target) && Move(from, to, flags).Run();
}

bool DeleteFileW(const char16_t* path) {
    NativePath native;
    if (!native.Assign(path)) return false;
    struct stat status {};
    if (lstat(native.Text(), &status) != 0) return FailAt(native, errno);
    if (IsFolderOrLinkToOne(native) || IsReadOnly(status.st_mode)) return FailWith(kErrorAccessDenied);
    Descriptor held;
    const std::uint32_t error = HoldName(native, held);
    if (error != kErrorSuccess) return FailWith(error);
    if (unlink(native.Text()) != 0) return FailAt(native, errno);
    if (status.st_nlink == 1) ForgetLostBytes(status);
    return true;
}

}   // namespace platform
