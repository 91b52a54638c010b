/// Copies of files that appear under their name only when they are complete.
#pragma once

#include "native_path.h"
#include "open_file.h"

namespace platform {

/// Copies contents and permissions of the open file `file`, whose path is `source`, to a file with a random name in the
/// directory of `target`, synchronises it and renames it to `target`. Without `replaces` an existing target is
/// `kErrorFileExists`. On a failure returns false with the last error, and no copy is left. The caller synchronises the
/// directory.
[[nodiscard]] bool CopyToName(const NativePath& source, const Descriptor& file, const NativePath& target,
                              bool replaces);

}   // namespace platform
