/// Copies that nobody sees before they are complete.
#pragma once

#include "native_path.h"
#include "open_file.h"

namespace platform {

/// Copies contents and permissions of the open file `source`, whose path is `from`, into a new file in the directory of
/// `target`. `scratch` gets the path of the copy, a random name. On success the contents are on the disk and the name
/// isn't yet. On a failure returns false with the last error, and nothing is left.
[[nodiscard]] bool MakeCopyBeside(const NativePath& target, const NativePath& from, const Descriptor& source,
                                  NativePath& scratch);

}   // namespace platform
