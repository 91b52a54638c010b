/// Traverses keys and values. A failed enumeration throws a `StoreError`.
#pragma once

#include "ascii.h"
#include "document.h"

namespace arborctl {

/// Walks `top` and all keys below it, depth first: `enter(key, depth)` runs before a key's children, `leave()` after
/// them.
template <class Enter, class Leave>
void Walk(const arbor::Key& top, Enter enter, Leave leave) {
    std::size_t open = 0;
    arbor::WalkRange walk = top.Walk();
    for (const arbor::WalkStep& step : walk) {
        for (; open > step.depth; --open) leave();
        enter(step.key, step.depth);
        ++open;
    }
    ThrowIfFailed(walk.Outcome(), "enumerating keys");
    for (; open > 0; --open) leave();
}

template <class Enter>
void Walk(const arbor::Key& top, Enter enter) {
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
