/// Copies trees with repeated names. The store's own copy finds each key by name and would copy the first of them
/// again.
#pragma once

#include "document.h"

namespace arborctl {

/// Copies the keys and values below `from` into `to`. Keys with a repeated name get numbers: "item", "item#2".
void CopyDisambiguated(const arbor::Key& from, const arbor::Key& to);

}   // namespace arborctl
