/// Copies trees with repeated names. The store's own copy finds each key by name and would copy the first of them
/// again.
#pragma once

#include "packed_tree.h"

#include <set>
#include <string>
#include <vector>

namespace arborctl {

/// Adds keys and values below a key, in the order of a depth-first walk. Names that repeat get numbers: "item",
/// "item#2". An existing key gets the new content in addition to its own; an existing value gets the new type and data.
class DisambiguatingTarget {
public:
    explicit DisambiguatingTarget(const arbor::Key& top) { levels.push_back({top}); }

    /// Makes a key at `depth`, at least 1, below the key entered last at `depth - 1`. Throws a `StoreError`.
    void EnterKey(const std::string& name, std::size_t depth);
    /// Sets a value of the key entered last at `depth`; 0 is the top. Throws a `StoreError`.
    void SetValue(const std::string& name, const arbor::Datum& datum, std::size_t depth);

private:
    /// Makes names unique among siblings.
    class UniqueNames {
    public:
        [[nodiscard]] std::string MakeUnique(const std::string& name);

    private:
        std::set<std::string> used{};
    };

    struct Level {
        arbor::Key key;
        UniqueNames keyNames{};
        UniqueNames valueNames{};
    };

    std::vector<Level> levels;
};

/// Copies the keys and values below `from` into `to`.
void CopyDisambiguated(const arbor::Key& from, const arbor::Key& to);
/// The same from a packed tree with the store's own names.
void CopyDisambiguated(const PackedTree& from, const arbor::Key& to);

}   // namespace arborctl
