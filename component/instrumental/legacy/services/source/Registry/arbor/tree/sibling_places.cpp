#include "tree/sibling_places.h"

#include "tree/key_tree.h"

namespace arbor::module {

namespace {

/// Few, since trees can share one: who loses a place walks once.
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
    // The lowest bits are the same in all objects.
    return sets[(address >> 6 ^ address >> 10) % sets.size()];
}

bool SiblingPlaces::Step(const KeyTree& tree, const Key& root, const Key* child, Key*& next) {
    const Claim claim(isClaimed);
    if (!claim) return false;
    const Key* parent = nullptr;
    Place* stood = nullptr;
    for (Place& place : places) {
        if (place.tree.load(std::memory_order_relaxed) != &tree || place.root != &root) continue;
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
        Fill(stood != nullptr ? *stood : PlaceFor(tree, root, *next), tree, root, *parent, *next);
    } else if (stood != nullptr) {
        stood->tree.store(nullptr, std::memory_order_relaxed);
    }
    return true;
}

void SiblingPlaces::Remember(const KeyTree& tree, const Key& root, const Key& parent, const Key& child) {
    const Claim claim(isClaimed);
    if (claim) Fill(PlaceFor(tree, root, child), tree, root, parent, child);
}

void SiblingPlaces::Forget(const KeyTree& tree) {
    // No claim: this tree has no reader now, and the places of the others stay theirs.
    for (Place& place : places) {
        const KeyTree* owner = &tree;
        place.tree.compare_exchange_strong(owner, nullptr, std::memory_order_relaxed);
    }
}

SiblingPlaces::Place& SiblingPlaces::PlaceFor(const KeyTree& tree, const Key& root, const Key& child) {
    Place* unused = nullptr;
    for (Place& place : places) {
        const KeyTree* const owner = place.tree.load(std::memory_order_relaxed);
        if (owner == &tree && place.root == &root && place.child == &child) return place;
        if (owner == nullptr) unused = &place;
    }
    return unused != nullptr ? *unused : places[nextToGiveUp++ % places.size()];
}

void SiblingPlaces::Fill(Place& place, const KeyTree& tree, const Key& root, const Key& parent, const Key& child) {
    place.tree.store(&tree, std::memory_order_relaxed);
    place.root = &root;
    place.parent = &parent;
    place.child = &child;
}

}   // namespace arbor::module
