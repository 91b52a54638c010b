/// The way through a tree of keys.
#pragma once

#include "document.h"

#include <set>
#include <vector>

namespace arborctl {

/// Calls `enter(key, depth)` for `top` and all keys below it, each before its children, and `leave()` behind them.
/// Depth costs no stack.
template <class Enter, class Leave>
void Walk(arbor::Key top, Enter enter, Leave leave) {
    std::vector<arbor::KeyRange> way;
    enter(top, std::size_t{0});
    way.push_back(top.Keys());
    while (!way.empty()) {
        arbor::KeyRange& children = way.back();
        if (children.AtEnd()) {
            Demand(children.Outcome(), "enumerating keys");
            leave();
            way.pop_back();
            continue;
        }
        const arbor::Key child = children.Current();
        children.Advance();
        enter(child, way.size());
        way.push_back(child.Keys());
    }
}

template <class Enter>
void Walk(arbor::Key top, Enter enter) {
    Walk(top, enter, [] {});
}

/// Calls `work(value)` for each value of a key.
template <class Work>
void ForEachValue(const arbor::Key& key, Work work) {
    arbor::ValueRange values = key.Values();
    for (const arbor::Value& value : values) work(value);
    Demand(values.Outcome(), "enumerating values");
}

[[nodiscard]] inline std::string NameOf(const arbor::Key& key) { return Demand(key.Name(), "naming a key"); }
[[nodiscard]] inline arbor::Datum Read(const arbor::Value& value) { return Demand(value.Read(), value.Name()); }

/// ASCII letters small, as the store compares names.
[[nodiscard]] inline std::string Lower(std::string text) {
    for (char& letter : text) {
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    }
    return text;
}

/// Names for the copies of siblings. One that repeats gets a number: "item", "item#2".
class TakenNames {
public:
    [[nodiscard]] std::string Fresh(const std::string& name) {
        for (std::uint32_t number = 1;; ++number) {
            std::string candidate = number == 1 ? name : name + '#' + std::to_string(number);
            if (taken.insert(Lower(candidate)).second) return candidate;
        }
    }

private:
    std::set<std::string> taken;
};

}   // namespace arborctl
