/// File functions with the names and results of those of Windows. A failed call sets the thread's last error
/// (`errors.h`).
///
/// Paths are terminated UTF-16. On Linux the file system is the drive `Z:`, whose root is `/`. The calls accept both
/// separators, the prefix `\\?\`, paths that begin with a separator, and relative paths. An empty path and another
/// drive are error 3, a path on a server (two leading backslashes) is error 53. An unpaired surrogate and a name that
/// is too long are error 123, a path that is too long is error 206. If several openers open a file at once, a call
/// may wait some milliseconds for the others; it never waits until a file is closed. All calls may come from any
/// thread.
#pragma once

#include <component/platform/types.h>

namespace platform {

inline constexpr std::uint32_t kGenericRead = 0x80000000;
inline constexpr std::uint32_t kGenericWrite = 0x40000000;
inline constexpr std::uint32_t kGenericExecute = 0x20000000;
inline constexpr std::uint32_t kAccessDelete = 0x00010000;
inline constexpr std::uint32_t kShareRead = 1;
inline constexpr std::uint32_t kShareWrite = 2;
inline constexpr std::uint32_t kShareDelete = 4;
inline constexpr std::uint32_t kCreateNew = 1;
inline constexpr std::uint32_t kCreateAlways = 2;
inline constexpr std::uint32_t kOpenExisting = 3;
inline constexpr std::uint32_t kOpenAlways = 4;
inline constexpr std::uint32_t kTruncateExisting = 5;
inline constexpr std::uint32_t kAttributeReadOnly = 0x1;
inline constexpr std::uint32_t kAttributeHidden = 0x2;
inline constexpr std::uint32_t kAttributeSystem = 0x4;
inline constexpr std::uint32_t kAttributeDirectory = 0x10;
inline constexpr std::uint32_t kAttributeArchive = 0x20;
inline constexpr std::uint32_t kAttributeNormal = 0x80;
inline constexpr std::uint32_t kAttributeReparsePoint = 0x400;
inline constexpr std::uint32_t kInvalidAttributes = 0xFFFFFFFF;
inline constexpr std::uint32_t kFlagBackupSemantics = 0x02000000;
inline constexpr std::uint32_t kFlagSequentialScan = 0x08000000;
inline constexpr std::uint32_t kFlagRandomAccess = 0x10000000;
inline constexpr std::uint32_t kFlagNoBuffering = 0x20000000;
inline constexpr std::uint32_t kMoveReplaceExisting = 1;
inline constexpr std::uint32_t kMoveCopyAllowed = 2;
inline constexpr std::uint32_t kMoveWriteThrough = 8;

/// The defaults for a new handle: no security descriptor, no inheritance. `length` is the size of this record.
struct SecurityAttributes {
    std::uint32_t length = sizeof(SecurityAttributes);
    void* descriptor = nullptr;
    std::int32_t inherit = 0;
};

/// Opens or creates a file and returns a handle, which the caller closes; `kInvalidHandle` on a failure.
/// Sharing applies to all openers of this layer in all processes: an opener that requests a right that an earlier one
/// doesn't share, or doesn't share a right that an earlier one has, gets error 32. On Linux sharing uses advisory locks
/// of the open file, which end with the process; on a file system without locks every opener succeeds. A failed call
/// doesn't change the file. Writing to a read-only file is error 5, and so is a directory without
/// `kFlagBackupSemantics`. On Linux a device, FIFO or socket is error 50, without a wait. With `kAttributeReadOnly` a
/// new file is read-only for later openers. The other flags have no effect on Linux.
[[nodiscard]] Handle CreateFileW(const char16_t* path, std::uint32_t access, std::uint32_t share,
                                 const SecurityAttributes* security, std::uint32_t creation, std::uint32_t flags,
                                 Handle templateFile);

/// Creates an empty file at `path` for writing, not shared: the temporary file that a move puts in the place of
/// `original` later. `backup` is the path that `original` may have been moved to before. Returns `kInvalidHandle` on a
/// failure. `original` never changes.
///
/// On Windows it is `CreateFileW` with `kCreateAlways`. The file inherits the permissions of its directory, and
/// `reservation` gets `kInvalidHandle`.
///
/// On Linux an existing entry at `path` is removed, never written or followed; a directory is error 5. Before its first
/// byte the new file gets mode, owner, group and access control list of `original`, else of `backup`, as far as the
/// process may set them; if both are missing, those of any new file. `original` must be missing or a regular file, also
/// through symbolic links, else the error is that of `CreateFileW`. Until the caller closes both handles, other calls
/// with the same `path` get error 32 in every process. Two callers can choose the same `path`: the name contains a
/// thread number, and threads in two containers can have the same number.
[[nodiscard]] Handle CreateReplacementFile(const char16_t* path, const char16_t* original, const char16_t* backup,
                                           Handle* reservation);

/// Transfer bytes at the file's position until all are transferred, the file ends or the system fails. `done` gets the
/// number of bytes transferred, on a failure too. A short read is a success. On Linux a write that fills the disk is
/// error 112.
[[nodiscard]] bool ReadFile(Handle file, void* buffer, std::uint32_t size, std::uint32_t* done);
[[nodiscard]] bool WriteFile(Handle file, const void* buffer, std::uint32_t size, std::uint32_t* done);

[[nodiscard]] bool GetFileSizeEx(Handle file, std::uint64_t* sizeBytes);

/// On success everything written through `file` is on the disk. After a failure on Linux every later flush of the file
/// and every move of it with write-through fails too, until it is emptied: the system doesn't write the lost bytes
/// again.
[[nodiscard]] bool FlushFileBuffers(Handle file);

/// Closes a file or a semaphore. Null and `kInvalidHandle` are error 6.
bool CloseHandle(Handle handle);

/// Returns the attribute bits of the file or directory, or `kInvalidAttributes`. A symbolic link to a directory has
/// both `kAttributeDirectory` and `kAttributeReparsePoint`. A missing file is error 2, a missing parent directory
/// error 3.
[[nodiscard]] std::uint32_t GetFileAttributesW(const char16_t* path);

/// An existing file or directory at `path` is error 183, a missing parent directory error 3.
[[nodiscard]] bool CreateDirectoryW(const char16_t* path, const SecurityAttributes* security);

/// Copies contents and permissions. With `failIfExists` an existing target is error 80 and stays as it was. A source or
/// target that is open and not shared is error 32. A failed copy leaves no target. On Linux the target's name appears
/// with the complete copy, and both are on the disk when the call returns true; a killed process leaves at most a file
/// with a random name that begins with ".move-". A symbolic link at the target is replaced. On Windows the system
/// writes the target in place, and to the disk later.
[[nodiscard]] bool CopyFileW(const char16_t* source, const char16_t* target, bool failIfExists);

/// Moves a file or directory, with the three flags above. With `kMoveWriteThrough` data and new name are on the disk
/// when the call returns true. On a failure `source` is complete and `target` as it was, with one exception: if the
/// sync of the directory fails, the last step, the new name is in place. Without `kMoveReplaceExisting` an existing
/// target is error 183. A target that is a directory, read-only, or open and not shared is error 5; a source that is
/// open and not shared is error 32. A file that another process renames or removes at the moment counts as open. On
/// Linux a device, FIFO, socket or mount point at either name is error 50. A source that was copied to another volume
/// and can't be removed stays, and the move is a success.
[[nodiscard]] bool MoveFileExW(const char16_t* source, const char16_t* target, std::uint32_t flags);

/// Removes a file. A missing file is error 2, a directory or a read-only file error 5, a file that is open and not
/// shared error 32.
[[nodiscard]] bool DeleteFileW(const char16_t* path);

/// Writes the current directory, on Linux in drive form (`Z:\home\me`), with a terminator, and returns the length
/// without it. If `buffer` is too small, writes nothing and returns the size needed, with the terminator. 0 is a
/// failure.
[[nodiscard]] std::uint32_t GetCurrentDirectoryW(std::uint32_t sizeChars, char16_t* buffer);

}   // namespace platform
