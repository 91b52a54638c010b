/// Bringing a file's bytes to the disk. The system tells of bytes that it lost once, and takes them for written from
/// then on; here a loss stays with its file until its contents are given up, so that no later call vouches for them.
#pragma once

#include <sys/stat.h>

namespace platform {

/// False with `errno`, also where an earlier sync of the same file lost bytes, through whatever descriptor that was.
[[nodiscard]] bool SyncFile(int descriptor);

/// The file is new, empty or gone: what it lost before doesn't count any more.
void ForgetLostBytes(const struct stat& file);

}   // namespace platform
