// Implements the cache that `KeyTree::NextSibling` uses.

#include "tree/next_sibling_cache.h"

#include "tree/key_tree.h"

namespace arbor::module {

namespace {

constinit std::array<NextSiblingCache, 16> caches;

}   // namespace

/// Locks a cache for a scope and drops its invalid entries. Converts to false if another thread held the lock too long.
class NextSiblingCache::LockAttempt {
public:
    explicit LockAttempt(NextSiblingCache& lockedCache) : cache(lockedCache) {
        constexpr int kMaxTries = 64;   // the lock is held for a few comparisons
        for (int i = 0; i < kMaxTries && !succeeded; ++i) {
            succeeded = !cache.isLocked.exchange(true, std::memory_order_acquire);
        }
        if (succeeded) cache.DropInvalidEntries();
    }
    ~LockAttempt() {
        if (succeeded) cache.isLocked.store(false, std::memory_order_release);
    }
    LockAttempt(const LockAttempt&) = delete;
    LockAttempt& operator=(const LockAttempt&) = delete;

    explicit operator bool() const { return succeeded; }

private:
    NextSiblingCache& cache;
    bool succeeded = false;
};

NextSiblingCache& NextSiblingCache::CacheFor(const KeyTree& tree) {
    const auto address = reinterpret_cast<std::uintptr_t>(&tree);
    return caches[(address >> 6 ^ address >> 10) % caches.size()];   // allocators align: the low bits rarely differ
}

bool NextSiblingCache::TryNextSibling(const Key& root, const Key* child, Key*& next) {
    const LockAttempt lock(*this);
    if (!lock) return false;
    const Key* parent = nullptr;
    Entry* hit = nullptr;
    for (Entry& entry : entries) {
        if (entry.root != &root) continue;
        if (entry.child == child) {
            parent = entry.parent;
            hit = &entry;
            break;
        }
        // A depth-first enumeration continues with the first child of the key that it has reached.
        const KeyList& grandchildren = entry.child->Children();
        if (!grandchildren.empty() && &grandchildren.front() == child) parent = entry.child;
    }
    if (parent == nullptr) return false;
    next = parent->NextChild(*child);
    if (next != nullptr) {
        (hit != nullptr ? *hit : EntryFor(root, *next)) = {&root, parent, next};
    } else if (hit != nullptr) {
        *hit = {};
    }
    return true;
}

void NextSiblingCache::Add(const Key& root, const Key& parent, const Key& child) {
    const LockAttempt lock(*this);
    if (lock) EntryFor(root, child) = {&root, &parent, &child};
}

// Relaxed order suffices: the object's lock orders a removal before the later steps in the same tree. A removal in
// another tree may run at the same time, but a step never uses the entries of another tree.
void NextSiblingCache::DropInvalidEntries() {
    const std::uint64_t now = removals.load(std::memory_order_relaxed);
    if (now == removalsSeen) return;
    entries.fill({});
    removalsSeen = now;
}

NextSiblingCache::Entry& NextSiblingCache::EntryFor(const Key& root, const Key& child) {
    Entry* unused = nullptr;
    for (Entry& entry : entries) {
        if (entry.root == &root && entry.child == &child) return entry;
        if (entry.root == nullptr) unused = &entry;
    }
    return unused != nullptr ? *unused : entries[nextEvicted++ % entries.size()];
}

}   // namespace arbor::module
