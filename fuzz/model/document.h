/// A model of loading, which the fuzz targets compare with the module: one recursive descent over the text, without a
/// fast path and without the module's code.
#pragma once

#include "model/store.h"

#include <string_view>

namespace model {

/// The text with its references replaced. `areValid` tells whether each of them has the form of a reference.
[[nodiscard]] std::string DecodeReferences(std::string_view text, bool& areValid);

/// Adds the keys and values of a document to `root`. Returns the code of the load; after a failure `root` keeps what
/// was added before it. The indexes by name of `root` are those of a load that succeeds.
ResultCode ReadDocument(std::string_view text, Key& root);

}   // namespace model
