/// The file calls, each under the name and with the outcome that it has on Windows; a failure stands in `GetLastError`.
/// Paths are terminated 16-bit text. On Linux the file system stands as drive `Z:` whose root is `/`: both separators
/// are taken, the prefix `\\?\` too, and so are paths that begin with a separator and relative ones. Another drive
/// letter is error 3, as is an empty path, and a share of a server (two leading backslashes) is error 53. Text becomes
/// UTF-8 at this edge; an unpaired surrogate is error 123. A name too long is error 123, a path too long error 206. A
/// call waits for others at most a moment, while they open the same file, and never until they close it. All calls may
/// come from any thread.
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

/// The record that stands before a new handle: its own length (12 on 32 bits), no descriptor, no inheritance.
struct SecurityAttributes {
    std::uint32_t length = sizeof(SecurityAttributes);
    void* descriptor = nullptr;
    std::int32_t inherit = 0;
};

/// Opens or creates a file. The caller closes the handle. `kInvalidHandle` on a failure.
/// Sharing applies to all openers of this layer in all processes: an opener that requests what an earlier one doesn't
/// share, or doesn't share what an earlier one has, gets error 32. On Linux these are advisory locks of the open file,
/// which the system drops with the process; on a file system without locks every opener succeeds. A file that is
/// refused is neither emptied nor changed. A read-only file is error 5 for writing, and so is a directory without
/// `kFlagBackupSemantics`. On Linux anything else that isn't a regular file, such as a device or a FIFO, is error 50,
/// without a wait. `kAttributeReadOnly` makes a new file read-only once this handle is closed. On Linux the other flags
/// are accepted and do nothing.
[[nodiscard]] Handle CreateFileW(const char16_t* path, std::uint32_t access, std::uint32_t share,
                                 const SecurityAttributes* security, std::uint32_t creation, std::uint32_t flags,
                                 Handle pattern);

/// Creates the file at `path` anew, empty, for writing and unshared: the temporary file that a move puts in the place
/// of `original` later. `backup` is where `original` may have been moved before. On a failure `kInvalidHandle`;
/// `original` is never touched. The two systems differ in what else they do:
/// - On Windows it is `CreateFileW` with `kCreateAlways`. The file gets what its directory passes on. `reservation`
/// gets
///   `kInvalidHandle`.
/// - On Linux whatever has the name `path` is removed and never written or followed, a directory excepted, which is
/// error
///   5. The new file gets mode, owner, group and access control list of `original`, else of `backup`, as far as the
///   process may set them, before its first byte; without either those of any new file. `original` must be a regular
///   file, through symbolic links, or missing, else the error is that of `CreateFileW`. Until the handle in
///   `reservation` is closed too, this call gets error 32 for the file in every process: the thread numbers of two
///   containers may be the same, and so may the names of their temporary files.
[[nodiscard]] Handle CreateReplacementFile(const char16_t* path, const char16_t* original, const char16_t* backup,
                                           Handle* reservation);

/// Transfer bytes at the file's position until all are transferred, the file ends or the system fails. `done` gets the
/// bytes transferred, on a failure too. A short read is a success. On Linux a disk that is full in the middle of a
/// write is error 112.
[[nodiscard]] bool ReadFile(Handle file, void* buffer, std::uint32_t size, std::uint32_t* done);
[[nodiscard]] bool WriteFile(Handle file, const void* buffer, std::uint32_t size, std::uint32_t* done);

[[nodiscard]] bool GetFileSizeEx(Handle file, std::uint64_t* sizeBytes);

/// When it returns true, what was written through `file` is on the disk. After a failure on Linux every later flush and
/// every move for good of the file fails alike, until it is emptied: what the disk lost stays lost.
[[nodiscard]] bool FlushFileBuffers(Handle file);

/// Closes a file or a semaphore. Null and `kInvalidHandle` are error 6.
bool CloseHandle(Handle handle);

/// The attribute bits of the file or folder, or `kInvalidAttributes`. A symbolic link to a folder has both
/// `kAttributeDirectory` and `kAttributeReparsePoint`; a missing file is error 2, a missing folder on the way error 3.
[[nodiscard]] std::uint32_t GetFileAttributesW(const char16_t* path);

/// An existing file or folder of that name is error 183, a missing parent error 3.
[[nodiscard]] bool CreateDirectoryW(const char16_t* path, const SecurityAttributes* security);

/// Copies the contents and the permissions. On Linux the target's name appears with the complete copy, and both are on
/// the disk when the call returns true; a process that is killed leaves at most a file with a random name that begins
/// with ".move-". A symbolic link at the target is replaced. On Windows the system copies into the target and writes it
/// to the disk in its own time. With `failIfExists` an existing target is error 80 and stays as it was. An open source
/// or target that isn't shared is error 32. A failed copy leaves no target.
[[nodiscard]] bool CopyFileW(const char16_t* source, const char16_t* target, bool failIfExists);

/// Renames, by the three flags above. With write-through the new name is on the disk when the call returns true. On a
/// failure `source` is complete and `target` as it was. A target that exists is error 183 without
/// `kMoveReplaceExisting`, and error 5 where it is a directory, is read-only or is held open unshared; a source that is
/// held open unshared is error 32. A name that another process moves or deletes at the moment counts as held. On Linux
/// a device, FIFO or socket at either name is error 50, and so is a name that is a mount point. A failed sync of the
/// directory, the very last step, is reported although the new name is in place. A source that was copied to another
/// volume and can't be removed stays, and the move is a success.
[[nodiscard]] bool MoveFileExW(const char16_t* source, const char16_t* target, std::uint32_t flags);

/// A missing file is error 2, a folder or a read-only file error 5, a file held open unshared error 32.
[[nodiscard]] bool DeleteFileW(const char16_t* path);

/// Writes the current folder, on Linux in drive form (`Z:\home\me`), with its terminator, and gives the length without
/// it. A buffer too short gives the size needed, terminator counted, and writes nothing; 0 is a failure.
[[nodiscard]] std::uint32_t GetCurrentDirectoryW(std::uint32_t sizeChars, char16_t* buffer);

}   // namespace platform
