/// The tree of an object: the root key, and the current root, which callers move and at which their paths start.
#pragma once

#include "tree/contract.h"
#include "tree/key.h"

namespace arbor::module {

/// Owns the root key and so the whole tree. All three pointers are null until `Start`. `current` is `top` or a key
/// below it. Not synchronised: the object's lock is held by the caller.
struct KeyTree {
    KeyTree() = default;
    ~KeyTree();
    KeyTree(const KeyTree&) = delete;
    KeyTree& operator=(const KeyTree&) = delete;

    /// Creates the root, with an empty name. Returns `kNotInitialised` if `Start` was called before, or `kOutOfMemory`.
    ResultCode Start(const HostObject* object);

    /// Moves `current` to the key at `path` below `top`; an empty path is `top`.
    /// Returns `kNotInitialised` without a tree, `kInvalidArgument` for a null path, `kNoSuchEntry`.
    ResultCode MoveCurrentTo(const char* path);

    /// Moves `current` to the key of `handle`, which is searched in the whole tree; 0 is `top`.
    /// Returns `kNotInitialised` without a tree, `kNoSuchEntry`, `kOutOfMemory` if the search has no memory.
    ResultCode MoveCurrentTo(KeyHandle handle);

    /// Finds the sibling after `key`, which may be the address of a removed key. Returns `kNoKeyThere` if `key` is the
    /// last sibling, the current root or not a key below it; `kOutOfMemory` if the search has no memory. A step that
    /// continues an earlier one usually takes constant time. Several threads may call it with the lock held shared.
    ResultCode NextSibling(const Key* key, Key*& next) const;

    /// Invalidates the cached siblings. If `current` is at or below `removed`, sets `current` to `top`. The caller
    /// holds the lock exclusively and calls this before it removes `removed`, which may be null. Returns 0, or
    /// `kOutOfMemory` if the search for `current` has no memory.
    ResultCode PrepareRemoval(const Key* removed);

    /// Removes all keys below `current` and all its values; `current` itself stays.
    void ClearCurrent();

    const HostObject* owner = nullptr;
    Key* top = nullptr;
    Key* current = nullptr;
};

}   // namespace arbor::module
