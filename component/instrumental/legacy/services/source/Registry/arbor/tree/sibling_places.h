/// Where callers stand that go from sibling to sibling, so that the next step needs no walk.
///
/// A handle may name a key that is gone, and a key doesn't know its parent: so a handle is asked for nothing until it
/// is known to live. A remembered place says so, since whatever removes keys from a tree has the tree's places
/// forgotten first, under exclusive entry; keys never move. Steps happen under shared entry, also of several trees at
/// once: one reader at a time claims the places of its set by an atomic byte, and another one that finds them claimed
/// for long does without, as if nothing was remembered.
#pragma once

#include "tree/key.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace arbor::module {

struct KeyTree;

class alignas(64) SiblingPlaces {
public:
    /// Those of `tree`, which it may share with others.
    static SiblingPlaces& Of(const KeyTree& tree);

    /// Steps to the key behind `child`, which needn't live. True if a remembered place tells that key, below `root`;
    /// `next` is null behind the last. The first child of a key that a step led to is known as well.
    bool Step(const KeyTree& tree, const Key& root, const Key* child, Key*& next);

    /// Remembers that a step led to `child` of `parent`, both at or below `root`.
    void Remember(const KeyTree& tree, const Key& root, const Key& parent, const Key& child);

    /// Called before a key of `tree` goes, and before the tree does.
    void Forget(const KeyTree& tree);

private:
    struct Place {
        std::atomic<const KeyTree*> tree{nullptr};   // null: free
        const Key* root = nullptr;
        const Key* parent = nullptr;
        const Key* child = nullptr;
    };
    class Claim;

    /// The one that says the same already, else an unused one, else the next to be given up.
    Place& PlaceFor(const KeyTree& tree, const Key& root, const Key& child);
    static void Fill(Place& place, const KeyTree& tree, const Key& root, const Key& parent, const Key& child);

    std::array<Place, 8> places;   // one for each level of a walk through a tree of common depth
    std::uint8_t nextToGiveUp = 0;
    std::atomic<std::uint8_t> isClaimed{0};
};

}   // namespace arbor::module
