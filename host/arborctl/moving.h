/// Removes, copies and moves keys and values by their paths. After a failure the tree may have part of the change, so
/// the caller must not save it.
#pragma once

#include "document.h"

namespace arborctl {

/// Removes the value at `path` or, if there is none, the key. Throws a `StoreError` if there is neither.
void RemoveEntry(const arbor::Key& root, const Path& path);

/// A value or a key with its subtree, to be copied or moved.
struct Transfer {
    Path source{};
    Path target{};
    bool isMove = false;           // removes the source
    bool replacesTarget = false;   // else an existing target is refused
};

/// Copies or moves the value at `source` below `from` or, if there is none, the key, to `target` below `to`; the source
/// is removed before the target is made. Keys that are missing above `target` are created. Keys and values of a copied
/// key that repeat a name get names of their own: "item", "item#2". Throws a `StoreError` if the source doesn't exist,
/// if the target exists and may not be replaced, or if a key is copied into itself.
void CopyOrMove(host::Kernel& kernel, const arbor::Key& from, const arbor::Key& to, const Transfer& transfer);

}   // namespace arborctl
