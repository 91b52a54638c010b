/// Synchronises a file with the disk. The system reports a failed write-back once and then regards the bytes as
/// written. This layer remembers it until the file is emptied or removed, so that no later sync of the file succeeds.
#pragma once

#include <sys/stat.h>

namespace platform {

/// Returns false with `errno`, also if an earlier sync of the file failed, through any descriptor of this process.
[[nodiscard]] bool SyncFile(int descriptor);

/// Forgets a failed sync of `file`, which is new, empty or removed.
void ForgetSyncFailure(const struct stat& file);

}   // namespace platform
