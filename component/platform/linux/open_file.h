/// Opening, creating and transferring below the handles: what the calls of `files.h` have in common.
#pragma once

#include "native_path.h"
#include "permissions.h"

#include <sys/types.h>

#include <utility>

namespace platform {

/// Owner of a descriptor; below 0 is none.
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

/// What an opener requests; the rights that it uses and shares are in the bits of `kShareRead` and its neighbours.
struct OpenRequest {
    std::uint32_t uses;
    std::uint32_t shares;
    std::uint32_t creation;
    bool takesFolders;
    mode_t newMode;
};

/// Opens, checks the sharing and only then empties, as the creation says. Not open on a failure, with the last error.
[[nodiscard]] Descriptor OpenFile(const NativePath& path, const OpenRequest& request);

/// Creates a file whose name isn't used, open for reading and writing, with the given permissions from the start; null
/// are those that the system gives a new file. Follows no symbolic link. Not open on a failure, with the last error.
[[nodiscard]] Descriptor CreateNewFile(const NativePath& path, const Permissions* permissions);

/// Transfer bytes at the file's position until `size` are transferred, the file ends or the system fails. `done` gets
/// the bytes transferred, on a failure too. Return false with `errno`; a write that makes no progress is ENOSPC.
[[nodiscard]] bool ReadAll(int file, void* buffer, std::uint32_t size, std::uint32_t* done);
[[nodiscard]] bool WriteAll(int file, const void* buffer, std::uint32_t size, std::uint32_t* done);

/// A regular file without write permission for anyone.
[[nodiscard]] bool IsReadOnly(mode_t mode);

/// The error for opening what is no regular file: a directory is refused as Windows does it, other types aren't
/// supported.
[[nodiscard]] std::uint32_t RefusalOf(mode_t mode);

/// How often a name is opened again that got another file between the open and the check.
inline constexpr int kOpenAttempts = 16;

inline constexpr mode_t kWriteBits = 0222;
inline constexpr mode_t kNewFileMode = 0666;
inline constexpr mode_t kPrivateMode = 0600;

}   // namespace platform
