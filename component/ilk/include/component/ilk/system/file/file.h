/// One open file, and the system's numbers under this library's names. Nothing here retries or locks.
#pragma once

#include <component/ilk/error/result_code.h>
#include <component/platform/types.h>

namespace ilk {

/// Bits of `access`: what the opener does, and what it lets others do meanwhile.
inline constexpr std::uint32_t kFileRead = 0x00000001;
inline constexpr std::uint32_t kFileWrite = 0x00000002;
inline constexpr std::uint32_t kFileExecute = 0x00000004;
inline constexpr std::uint32_t kFileDelete = 0x00000008;
inline constexpr std::uint32_t kFileShareRead = 0x00010000;
inline constexpr std::uint32_t kFileShareWrite = 0x00020000;
inline constexpr std::uint32_t kFileShareDelete = 0x00040000;

/// Numbers of `creation`: what happens to a file that is there, and to one that isn't. The system refuses all others.
inline constexpr std::uint32_t kFileCreateAlways = 1;
inline constexpr std::uint32_t kFileCreateNew = 2;
inline constexpr std::uint32_t kFileOpenAlways = 3;
inline constexpr std::uint32_t kFileOpenExisting = 4;
inline constexpr std::uint32_t kFileTruncateExisting = 5;

/// Bits of `flags`: attributes of a file that is made, and hints.
inline constexpr std::uint32_t kFileReadOnly = 0x00000001;
inline constexpr std::uint32_t kFileArchive = 0x00000002;
inline constexpr std::uint32_t kFileHidden = 0x00000004;
inline constexpr std::uint32_t kFileSystem = 0x00000008;
inline constexpr std::uint32_t kFileNoBuffering = 0x00010000;
inline constexpr std::uint32_t kFileRandomAccess = 0x00020000;
inline constexpr std::uint32_t kFileSequentialScan = 0x00040000;
inline constexpr std::uint32_t kFileBackupSemantics = 0x00080000;

/// Owner of one open file handle; the destructor closes it. Not for two threads at once.
/// Every member gives 0 or the system's error as a code, `ResultInvalidHandle` while closed.
class File {
public:
    File() = default;
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File();

    /// Closes what it owned, then opens `path`. A failure leaves it closed.
    [[nodiscard]] ResultCode Open(const char16_t* path, std::uint32_t access, std::uint32_t creation,
                                  std::uint32_t flags);

    /// As `Open` with write access, no sharing and `kFileCreateAlways`, for the temporary file at `path` that is moved
    /// to `original` later; `platform::CreateReplacementFile` tells what `original` and `backup` are for. The name
    /// stays reserved for this object after `Close`, until it is destroyed or opens another file.
    [[nodiscard]] ResultCode OpenReplacement(const char16_t* path, const char16_t* original, const char16_t* backup);

    /// One call of the system at the file's position. `done` gets the bytes moved, and only on success. Fewer than
    /// `size` are a success: the caller compares.
    [[nodiscard]] ResultCode Read(void* buffer, std::uint32_t size, std::uint32_t& done);
    [[nodiscard]] ResultCode Write(const void* buffer, std::uint32_t size, std::uint32_t& done);

    /// `sizeBytes` is set on success only.
    [[nodiscard]] ResultCode GetSize(std::uint64_t& sizeBytes) const;

    /// After a success what was written is on the disk.
    [[nodiscard]] ResultCode Flush();

    /// A closed one stays closed and gives 0.
    ResultCode Close();

private:
    void CloseAll();

    platform::Handle handle = platform::kInvalidHandle;
    platform::Handle reservation = platform::kInvalidHandle;   // of the name of a replacement
};

}   // namespace ilk
