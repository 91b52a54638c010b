/// The tree of an object: the root key, and the current root that callers can move.
#pragma once

#include "tree/contract.h"
#include "tree/key.h"

namespace arbor::module {

/// Owns the root and with it the whole tree. All three pointers are null until `Start`. `current` stands at or below
/// `top`. No lock here.
struct KeyTree {
    KeyTree() = default;
    ~KeyTree();
    KeyTree(const KeyTree&) = delete;
    KeyTree& operator=(const KeyTree&) = delete;

    /// Makes the root, with an empty name. `kNotInitialised` if it was started before, `kOutOfMemory`.
    ResultCode Start(const HostObject* object);

    /// Moves `current` to the key at `path` below `top`; an empty path means `top`.
    /// `kNotInitialised` without a tree, `kInvalidArgument` for a null path, `kNoSuchEntry`.
    ResultCode MoveCurrentTo(const char* path);

    /// Moves `current` to the key that `handle` names, 0 being `top`. The handle is looked up in the whole tree.
    /// `kNotInitialised` without a tree, `kNoSuchEntry`, `kOutOfMemory` if the search has no memory.
    ResultCode MoveCurrentTo(KeyHandle handle);

    /// Finds the sibling that follows `key`, which needn't name a key any more. `kNoKeyThere` if it is the last, the
    /// current root or no key below that; `kOutOfMemory` if the search has no memory. A step that goes on from where an
    /// earlier one led mostly takes the same time however many keys there are. For several threads at once, under
    /// shared entry.
    ResultCode NextSibling(const Key* key, Key*& next) const;

    /// Called before any key goes, under exclusive entry: no step to a sibling is remembered any more, and a `current`
    /// at or below `doomed` moves to `top`. Null is no key. Returns 0, or `kOutOfMemory` if that can't be told.
    ResultCode PrepareRemoval(const Key* doomed);

    /// Removes all below `current`, which stays, and forgets the steps to siblings.
    void ClearCurrent();

    const HostObject* owner = nullptr;
    Key* top = nullptr;
    Key* current = nullptr;
};

}   // namespace arbor::module
