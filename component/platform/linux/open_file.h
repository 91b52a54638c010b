/// Opens, creates, reads and writes files by descriptor, for the calls of `files.h`.
#pragma once

#include "native_path.h"
#include "permissions.h"

#include <component/platform/files.h>

#include <sys/stat.h>

#include <utility>

namespace platform {

/// Owner of a file descriptor, which is -1 if no file is open.
class Descriptor {
public:
    explicit Descriptor(int opened = -1) : descriptor(opened) {}
    Descriptor(Descriptor&& other) noexcept : descriptor(std::exchange(other.descriptor, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(descriptor, other.descriptor);
        return *this;
    }
    ~Descriptor() { Close(); }

    void Close();
    [[nodiscard]] bool IsOpen() const { return descriptor >= 0; }
    [[nodiscard]] int Number() const { return descriptor; }

private:
    int descriptor;
};

inline constexpr std::uint32_t kAllShares = kShareRead | kShareWrite | kShareDelete;

/// What an opener requests. `uses` and `shares` are bits of `kShareRead`, `kShareWrite` and `kShareDelete`: the rights
/// that it uses, and those that it lets other openers use. A created file gets `newMode` less the umask.
struct OpenRequest {
    std::uint32_t uses;
    std::uint32_t shares;
    std::uint32_t creation;
    bool allowsDirectories;
    mode_t newMode;
};

/// Opens the file, checks the sharing and only then empties the file if `creation` says so. On a failure the result
/// isn't open, and the last error is set.
[[nodiscard]] Descriptor OpenFile(const NativePath& path, const OpenRequest& request);

/// Creates a file under an unused name, with `permissions` before its first byte, and opens it for reading and writing.
/// If `permissions` is null, the file gets those of any new file. Doesn't follow symbolic links. On a failure the
/// result isn't open, and the last error is set.
[[nodiscard]] Descriptor CreateNewFile(const NativePath& path, const Permissions* permissions);

/// Transfer bytes at the file's position until `size` are transferred, the file ends or a call fails. `done` gets the
/// number of bytes transferred, on a failure too. Return false with `errno`; a write of no bytes is ENOSPC.
[[nodiscard]] bool ReadAll(int file, void* buffer, std::uint32_t size, std::uint32_t* done);
[[nodiscard]] bool WriteAll(int file, const void* buffer, std::uint32_t size, std::uint32_t* done);

[[nodiscard]] inline bool IsSameFile(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/// True for a regular file that has no write permission for anyone.
[[nodiscard]] bool IsReadOnly(mode_t mode);

/// Returns the error for opening something that isn't a regular file: that of Windows for a directory, else "not
/// supported".
[[nodiscard]] std::uint32_t ErrorForType(mode_t mode);

/// Sets the last error and returns a descriptor that isn't open.
[[nodiscard]] Descriptor FailedOpen(std::uint32_t error);

/// How often a name is opened again if it refers to another file after the open.
inline constexpr int kMaxOpenAttempts = 16;

inline constexpr mode_t kWriteBits = 0222;
inline constexpr mode_t kNewFileMode = 0666;
inline constexpr mode_t kPrivateMode = 0600;

}   // namespace platform
