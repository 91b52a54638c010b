/// A key and all keys below it, as a range.
#pragma once

#include <component/client/key.h>

#include <algorithm>
#include <string>
#include <string_view>
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
            levels.push_back({current.key.Handle()});
        } catch (const std::bad_alloc&) {
            return End(Status(kernel::kOutOfMemory));
        }
        HostObject* const object = current.key.Object();
        while (!levels.empty()) {
            KeyHandle child = kernel::kNoKey;
            Level& level = levels.back();
            const ResultCode code =
                kernel::Registry(object).OpenKeyByIndex(object, &child, level.parent, level.nextIndex++);
            if (kernel::IsSuccess(code)) {
                current = {Key(object, child), levels.size()};
                return;
            }
            if (code != kernel::kNoSuchEntry) return End(Status(code));
            levels.pop_back();
        }
        End(Status());
    }

private:
    /// A key whose children the walk visits.
    struct Level {
        KeyHandle parent = kernel::kNoKey;
        std::uint32_t nextIndex = 0;
    };

    WalkStep current{};
    std::vector<Level> levels{};
};

inline WalkRange Key::Walk() const { return WalkRange(*this); }

inline Result<Key> Key::Parent() const {
    if (address.object == nullptr) return Status(address.failure);
    const Key root(address.object, 0);
    const Result<std::string> full = Path();
    const Result<std::string> rootName = root.Name();
    if (!full || !rootName) return Status(full ? rootName.Code() : full.Code());
    if (root.Open("")->Handle() == Open("")->Handle()) return Status(kernel::kNoSuchEntry);

    std::string_view below = *full;   // names after that of the root, if it has one, with `\` between them
    if (!rootName->empty()) below.remove_prefix(std::min(rootName->size() + 1, below.size()));
    const std::size_t last = below.rfind('\\');
    const Result<Key> likely = root.Open(last != below.npos ? below.substr(0, last) : std::string_view());
    if (likely && likely->Open(below.substr(last + 1))->Handle() == address.handle) return likely;

    WalkRange walk = root.Walk();
    for (const WalkStep& step : walk) {
        for (const Key& child : step.key.Keys()) {
            if (child.Handle() == address.handle) return step.key;
        }
    }
    return Status(walk.Outcome() ? kernel::kNoSuchEntry : walk.Outcome().Code());
}

}   // namespace arbor
