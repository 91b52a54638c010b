/// Copies that keep each of several elements with one name, which the store would find and copy as the first of them.
#pragma once

#include "document.h"

namespace arborctl {

/// Copies what is in `from` into `to`; elements that repeat get numbers: "item", "item#2".
void CopyApart(const arbor::Key& from, const arbor::Key& to);

}   // namespace arborctl
