/// The temporary file that takes a document's place later.
#pragma once

#include "native_path.h"
#include "open_file.h"

namespace platform {

/// Creates the file at `path` anew, as `CreateReplacementFile` promises. `reservation` gets a descriptor that keeps the
/// reservation. Not open on a failure, with the last error.
[[nodiscard]] Descriptor OpenReplacement(const NativePath& path, const NativePath& original, const NativePath& backup,
                                         Descriptor& reservation);

}   // namespace platform
