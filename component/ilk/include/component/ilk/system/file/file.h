/// An open file, and the numbers by which it is opened, which differ from the system's. Nothing here retries or locks.
#pragma once

#include <component/ilk/error/result_code.h>
#include <component/platform/types.h>

namespace ilk {

/// Bits of `access`: what this handle is used for, and what other handles to the file may do meanwhile.
inline constexpr std::uint32_t kFileRead = 0x00000001;
inline constexpr std::uint32_t kFileWrite = 0x00000002;
inline constexpr std::uint32_t kFileExecute = 0x00000004;
inline constexpr std::uint32_t kFileDelete = 0x00000008;
inline constexpr std::uint32_t kFileShareRead = 0x00010000;
inline constexpr std::uint32_t kFileShareWrite = 0x00020000;
inline constexpr std::uint32_t kFileShareDelete = 0x00040000;

/// Values of `creation`: what to do if the file exists and if it doesn't. The system rejects any other number.
inline constexpr std::uint32_t kFileCreateAlways = 1;
inline constexpr std::uint32_t kFileCreateNew = 2;
inline constexpr std::uint32_t kFileOpenAlways = 3;
inline constexpr std::uint32_t kFileOpenExisting = 4;
inline constexpr std::uint32_t kFileTruncateExisting = 5;

/// Bits of `flags`: attributes of a created file, and hints to the system.
inline constexpr std::uint32_t kFileReadOnly = 0x00000001;
inline constexpr std::uint32_t kFileArchive = 0x00000002;
inline constexpr std::uint32_t kFileHidden = 0x00000004;
inline constexpr std::uint32_t kFileSystem = 0x00000008;
inline constexpr std::uint32_t kFileNoBuffering = 0x00010000;
inline constexpr std::uint32_t kFileRandomAccess = 0x00020000;
inline constexpr std::uint32_t kFileSequentialScan = 0x00040000;
inline constexpr std::uint32_t kFileBackupSemantics = 0x00080000;

/// Owner of one open file handle; the destructor closes it. Not thread-safe. Every member returns `ResultOk` or the
/// code of the system's error, which is `ResultInvalidHandle` while no file is open.
class File {
public:
    File() = default;
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File();

    /// Closes the open file, if any, then opens `path`. After a failure no file is open.
    [[nodiscard]] ResultCode Open(const char16_t* path, std::uint32_t access, std::uint32_t creation,
                                  std::uint32_t flags);

    /// As `Open` with write access, no sharing and `kFileCreateAlways`, for a temporary file at `path` that is moved to
    /// `original` later; `platform::CreateReplacementFile` describes `original` and `backup`. The name stays reserved
    /// for this object after `Close`, until the object is destroyed or opens another file.
    [[nodiscard]] ResultCode OpenReplacement(const char16_t* path, const char16_t* original, const char16_t* backup);

    /// Reads or writes up to `size` bytes at the file's position with one system call. On success, `done` is set to the
    /// number of bytes, which may be less than `size`; on failure it is unchanged.
    [[nodiscard]] ResultCode Read(void* buffer, std::uint32_t size, std::uint32_t& done);
    [[nodiscard]] ResultCode Write(const void* buffer, std::uint32_t size, std::uint32_t& done);

    /// Sets `sizeBytes` on success only.
    [[nodiscard]] ResultCode GetSize(std::uint64_t& sizeBytes) const;

    /// After a success all written data is on the disk.
    [[nodiscard]] ResultCode Flush();

    /// `ResultOk` if no file is open.
    ResultCode Close();

private:
    void CloseAll();

    platform::Handle handle = platform::kInvalidHandle;
    platform::Handle reservation = platform::kInvalidHandle;   // reserves the name of a replacement
};

}   // namespace ilk
