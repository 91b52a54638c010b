/// Opening by the rules of the layer, below the handles: what `CreateFileW` and `CopyFileW` have in common.
#pragma once

#include "native_path.h"

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

/// The rights that an opener uses and shares, in the bits of `kShareRead` and its neighbours, and the rest of its
/// wishes.
struct OpenRequest {
    std::uint32_t uses;
    std::uint32_t shares;
    std::uint32_t creation;
    bool takesFolders;
    mode_t newMode;
};

/// Opens, checks the sharing and only then empties, as the creation says. Not open on a failure; the last error tells.
[[nodiscard]] Descriptor OpenFile(const NativePath& path, const OpenRequest& request);

/// A regular file that nobody may write.
[[nodiscard]] bool IsReadOnly(mode_t mode);

/// A name that gets another file between the open and the look at it is opened anew, so many times.
inline constexpr int kOpenAttempts = 16;

inline constexpr mode_t kWriteBits = 0222;
inline constexpr mode_t kNewFileMode = 0666;

}   // namespace platform
