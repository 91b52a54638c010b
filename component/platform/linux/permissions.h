/// Permissions of a file: mode, owner, group and access control list. A file that replaces or copies it gets the same.
#pragma once

#include "native_path.h"

#include <sys/stat.h>

#include <cstddef>
#include <memory>

namespace platform {

class Permissions {
public:
    /// Reads those of the file at `path`, through symbolic links. On a failure returns false with `errno`.
    [[nodiscard]] bool Read(const NativePath& path);

    /// Sets them on an open file that this process has just created with mode 0600, as far as the process may. If it
    /// may not set the group or the list, the group gets no more rights than all others have. Returns false with
    /// `errno` if the system fails.
    [[nodiscard]] bool ApplyTo(int file) const;

    /// The type and mode bits as `stat` reports them.
    [[nodiscard]] mode_t Mode() const { return status.st_mode; }

private:
    [[nodiscard]] bool ReadAccessList(const NativePath& path);

    struct stat status {};
    std::unique_ptr<char[]> accessList;   // as the file system stores it; null if the file has none
    std::size_t accessListBytes = 0;
};

}   // namespace platform
