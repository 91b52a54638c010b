/// Creates the temporary file that a move puts in a document's place later.
#pragma once

#include "native_path.h"
#include "open_file.h"

namespace platform {

/// Creates the file at `path` as `CreateReplacementFile` describes it. `reservation` gets a descriptor that holds the
/// reservation. On a failure the result isn't open, and the last error is set.
[[nodiscard]] Descriptor OpenReplacement(const NativePath& path, const NativePath& original, const NativePath& backup,
                                         Descriptor& reservation);

}   // namespace platform
