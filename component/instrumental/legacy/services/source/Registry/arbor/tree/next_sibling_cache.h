/// Caches the parents of keys that enumerations from sibling to sibling have reached, so that the next step takes
/// constant time. Without an entry a step walks the subtree of the current root, since a key has no pointer to its
/// parent. Gain: 10,000 steps among 10,000 siblings take 0.16 ms instead of 171 ms.
///
/// The caches lie outside the objects, whose layout is fixed. A tree's address selects one of a few, so that trees may
/// share one. A counter records the removals of keys from these trees; each removal invalidates all entries of the
/// cache.
///
/// A step runs under shared entry and changes entries, so it locks the cache with an atomic flag. A step that can't
/// lock it after some tries proceeds without, with the same result.
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
    /// Returns the cache of `tree`, which needn't be its own.
    [[nodiscard]] static NextSiblingCache& CacheFor(const KeyTree& tree);

    /// Looks up the sibling after `child` below `root`. `child` is only compared and may be the address of a removed
    /// key. Returns false if it isn't cached. `next` is null after the last sibling.
    bool TryNextSibling(const Key& root, const Key* child, Key*& next);

    /// Adds the result of a step that walked: `parent` is at or below `root`, and `child` is one of its children.
    void Add(const Key& root, const Key& parent, const Key& child);

    /// Invalidates all entries. To call under exclusive entry before keys of a tree are removed.
    void CountRemoval() { removals.fetch_add(1, std::memory_order_relaxed); }

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
