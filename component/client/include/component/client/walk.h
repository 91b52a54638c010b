/// A key and all keys below it, as a range.
#pragma once

#include <component/client/key.h>

#include <vector>

namespace arbor {

/// A key that a walk has reached, and the number of keys between it and the walk's top key, which has 0.
struct WalkStep {
    Key key{};
    std::size_t depth = 0;
};

/// Each key before its children, the children in their order, for a single pass. The depth of the tree costs memory of
/// the heap, not of the stack; without it the walk ends early, and `Outcome` is `kernel::kOutOfMemory`. Don't delete
/// the key that the walk has reached, or one above it, before the walk has ended.
class WalkRange : public SinglePass<WalkRange, WalkStep> {
public:
    explicit WalkRange(const Key& top) : current{top} {
        if (top.Object() == nullptr) End(Status(top.Name().Code()));
    }

    [[nodiscard]] const WalkStep& Current() const { return current; }

    void Advance() {
        try {
            levels.push_back({current.key});
        } catch (const std::bad_alloc&) {
            return End(Status(kernel::kOutOfMemory));
        }
        while (!levels.empty()) {
            const Result<Key> child = levels.back().key.KeyAt(levels.back().nextIndex++);
            if (child) {
                current = {*child, levels.size()};
                return;
            }
            if (child.Code() != kernel::kNoSuchEntry) return End(child);
            levels.pop_back();
        }
        End(Status());
    }

private:
    /// A key whose children the walk visits.
    struct Level {
        Key key;
        std::uint32_t nextIndex = 0;
    };

    WalkStep current{};
    std::vector<Level> levels{};
};

inline WalkRange Key::Walk() const { return WalkRange(*this); }

}   // namespace arbor
