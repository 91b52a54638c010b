/// Traverses keys and values. A failed enumeration throws a `StoreError`.
#pragma once

#include "ascii.h"
#include "document.h"

#include <vector>

namespace arborctl {

/// Walks `top` and all keys below it, depth first: `enter(key, depth)` runs before a key's children, `leave()` after
/// them. Not recursive, so the depth of the tree needs no stack.
template <class Enter, class Leave>
void Walk(arbor::Key top, Enter enter, Leave leave) {
    std::vector<arbor::KeyRange> ancestors;   // the children of each open key that are still to be entered
    enter(top, std::size_t{0});
    ancestors.push_back(top.Keys());
    while (!ancestors.empty()) {
        arbor::KeyRange& children = ancestors.back();
        if (children.AtEnd()) {
            ThrowIfFailed(children.Outcome(), "enumerating keys");
            leave();
            ancestors.pop_back();
            continue;
        }
        const arbor::Key child = children.Current();
        children.Advance();
        enter(child, ancestors.size());
        ancestors.push_back(child.Keys());
    }
}

template <class Enter>
void Walk(arbor::Key top, Enter enter) {
    Walk(top, enter, [] {});
}

/// Calls `work(value)` for each value of `key`.
template <class Work>
void ForEachValue(const arbor::Key& key, Work work) {
    arbor::ValueRange values = key.Values();
    for (const arbor::Value& value : values) work(value);
    ThrowIfFailed(values.Outcome(), "enumerating values");
}

[[nodiscard]] inline std::string NameOf(const arbor::Key& key) {
    return ValueOrThrow(key.Name(), "reading the name of a key");
}
[[nodiscard]] inline arbor::Datum Read(const arbor::Value& value) { return ValueOrThrow(value.Read(), value.Name()); }

}   // namespace arborctl
