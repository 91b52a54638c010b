#include "tree/sibling_places.h"

#include "tree/key_tree.h"

namespace arbor {

namespace {

constinit std::array<SiblingPlaces, 16> sets;

}   // namespace

/// The right to read and to write the places of a set; refused where another reader keeps it for long.
class SiblingPlaces::Claim {
public:
    explicit Claim(std::atomic<std::uint8_t>& shared) : isClaimed(shared) {
        for (int i = 0; i < kTries && !isMine; ++i) isMine = isClaimed.exchange(1, std::memory_order_acquire) == 0;
    }
    ~Claim() {
        if (isMine) isClaimed.store(0, std::memory_order_release);
    }
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;

    explicit operator bool() const { return isMine; }

private:
    static constexpr int kTries = 64;   // a claim is a look at a few places

    std::atomic<std::uint8_t>& isClaimed;
    bool isMine = false;
};

SiblingPlaces& SiblingPlaces::Of(const KeyTree& tree) {
    const auto address = reinterpret_cast<std::uintptr_t>(&tree);
    return sets[(address >> 6 ^ address >> 10) % sets.size()];
}

bool SiblingPlaces::Step(const KeyTree& tree, const Key* child, Key*& next) {
    const Claim claim(isClaimed);
    if (!claim) return false;
    const Key* parent = nullptr;
    Place* stood = nullptr;
    for (Place& place : places) {
        if (place.tree.load(std::memory_order_relaxed) != &tree || place.root != tree.current) continue;
        if (place.child == child) {
            parent = place.parent;
            stood = &place;
            break;
        }
        const KeyList& below = place.child->Children();
        if (!below.empty() && &below.front() == child) parent = place.child;
    }
    if (parent == nullptr) return false;
    next = parent->NextChild(*child);
    if (next != nullptr) {
        Place& place = stood != nullptr ? *stood : PlaceToFill();
        place.tree.store(&tree, std::memory_order_relaxed);
        place.root = tree.current;
        place.parent = parent;
        place.child = next;
    } else if (stood != nullptr) {
        stood->tree.store(nullptr, std::memory_order_relaxed);
    }
    return true;
}

void SiblingPlaces::Remember(const KeyTree& tree, const Key& parent, const Key& child) {
    const Claim claim(isClaimed);
    if (!claim) return;
    Place& place = PlaceToFill();
    place.tree.store(&tree, std::memory_order_relaxed);
    place.root = tree.current;
    place.parent = &parent;
    place.child = &child;
}

void SiblingPlaces::Forget(const KeyTree& tree) {
    // No claim: this tree has no reader now, and the places of the others stay theirs.
    for (Place& place : places) {
        const KeyTree* owner = &tree;
        place.tree.compare_exchange_strong(owner, nullptr, std::memory_order_relaxed);
    }
}

SiblingPlaces::Place& SiblingPlaces::PlaceToFill() {
    for (Place& place : places) {
        if (place.tree.load(std::memory_order_relaxed) == nullptr) return place;
    }
    return places[nextToGiveUp++ % places.size()];
}

}   // namespace arbor
