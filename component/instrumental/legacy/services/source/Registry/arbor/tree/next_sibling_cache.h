/// A cache that makes `KeyTree::NextSibling` fast. An entry stores the parent of a key that an enumeration has reached,
/// so that the step to the next sibling takes constant time. Without an entry a step searches the subtree of the
/// current root, since a key has no pointer to its parent. Gain: -99.9 % of the time of 10,000 steps among 10,000
/// siblings.
///
/// The caches are global, because the layout of the objects is fixed. There are only a few; the address of a tree
/// selects one, and several trees may share it. Each removal of keys from any of these trees invalidates all entries of
/// the cache.
///
/// A step holds the object's lock only shared and changes entries, so it locks the cache with an atomic flag. A step
/// that can't lock the cache after some tries doesn't use it; the result is the same.
#pragma once

#include "tree/key.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace arbor::module {

struct KeyTree;

class alignas(64) NextSiblingCache {
public:
    /// Returns the cache that `tree` uses. Other trees may use the same one.
    [[nodiscard]] static NextSiblingCache& CacheFor(const KeyTree& tree);

    /// Looks up the sibling after `child` below `root`. `child` is only compared and may be the address of a removed
    /// key. Returns false if it isn't cached or the cache can't be locked. `next` is null after the last sibling.
    bool TryNextSibling(const Key& root, const Key* child, Key*& next);

    /// Adds the result of a step that walked: `parent` is at or below `root`, and `child` is one of its children.
    void Add(const Key& root, const Key& parent, const Key& child);

    /// Invalidates all entries. Called before keys of a tree are removed, with the object's lock held exclusively.
    void InvalidateAll() { removals.fetch_add(1, std::memory_order_relaxed); }

private:
    struct Entry {
        const Key* root = nullptr;   // null: unused. Identifies the tree too, since a key belongs to one
        const Key* parent = nullptr;
        const Key* child = nullptr;
    };
    class LockAttempt;

    void DropInvalidEntries();

    /// Returns the entry that holds `child` already, else an unused one, else the next one to be evicted.
    Entry& EntryFor(const Key& root, const Key& child);

    std::array<Entry, 8> entries;   // one for each level of a depth-first enumeration
    std::size_t nextEvicted = 0;
    std::uint64_t removalsSeen = 0;   // value of `removals` at the last use; the entries are valid while it is the same
    std::atomic<std::uint64_t> removals{0};
    std::atomic<bool> isLocked{false};
};

}   // namespace arbor::module
