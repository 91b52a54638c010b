#include "compare.h"

#include "addressing.h"
#include "walk.h"

#include <algorithm>
#include <map>

namespace arborctl {
namespace {

/// What a key holds on one of the two sides, in its order, by printed names.
template <class Item>
struct Side {
    std::vector<std::pair<std::string, Item>> items{};
    std::map<std::string, std::size_t> places{};   // by name in small letters

    void Add(std::string name, Item item) {
        places.emplace(Lower(name), items.size());
        items.emplace_back(std::move(name), std::move(item));
    }

    [[nodiscard]] std::optional<Item> Find(const std::string& name) const {
        const auto place = places.find(Lower(name));
        if (place == places.end()) return std::nullopt;
        return items[place->second].second;
    }
};

using Values = Side<arbor::Datum>;
using Keys = Side<arbor::Key>;

Values ValuesOf(const std::optional<arbor::Key>& key) {
    Values values;
    if (!key) return values;
    SiblingNames names = ValueNames(*key);
    ForEachValue(*key, [&](const arbor::Value& value) { values.Add(names.Next(value.Name()), Read(value)); });
    return values;
}

Keys KeysOf(const std::optional<arbor::Key>& key) {
    Keys keys;
    if (!key) return keys;
    arbor::KeyRange children = key->Keys();
    SiblingNames names = KeyNames(*key);
    for (const arbor::Key& child : children) keys.Add(names.Next(NameOf(child)), child);
    Demand(children.Outcome(), "enumerating keys");
    return keys;
}

/// Calls `work(name, was, now)` for each name of either side, those of `now` alone last.
template <class Item, class Work>
void ForEachPair(const Side<Item>& was, const Side<Item>& now, Work work) {
    for (const auto& [name, item] : was.items) work(name, std::optional<Item>(item), now.Find(name));
    for (const auto& [name, item] : now.items) {
        if (!was.Find(name)) work(name, std::optional<Item>(), std::optional<Item>(item));
    }
}

bool Same(const std::optional<arbor::Datum>& was, const std::optional<arbor::Datum>& now) {
    return was && now && was->type == now->type && was->bytes == now->bytes;
}

/// One place in both trees, or in one of them.
struct Pair {
    std::string path;
    std::optional<arbor::Key> was;
    std::optional<arbor::Key> now;
};

/// A value's line, or a key's.
std::string Line(const ValueText& valueText, const Change& change, const std::optional<arbor::Datum>& datum) {
    if (!datum) return change.path + '/';
    return Below(change.path, *change.value) + ": " + valueText.Line(*datum);
}

void Print(Json& json, const ValueText& valueText, const char* name, const std::optional<arbor::Datum>& datum) {
    if (datum) json.Name(name).BeginObject().Members(*datum, valueText).EndObject();
}

}   // namespace

std::vector<Change> Compare(const arbor::Key& was, const arbor::Key& now) {
    std::vector<Change> changes;
    std::vector<Pair> open{{"", was, now}};
    while (!open.empty()) {
        const Pair pair = std::move(open.back());
        open.pop_back();
        if (!pair.was || !pair.now) changes.push_back({.path = pair.path, .added = !pair.was});
        ForEachPair(ValuesOf(pair.was), ValuesOf(pair.now),
                    [&](const auto& name, const auto& before, const auto& after) {
                        if (!Same(before, after)) changes.push_back({pair.path, name, before, after});
                    });
        const auto children = static_cast<std::ptrdiff_t>(open.size());
        ForEachPair(KeysOf(pair.was), KeysOf(pair.now), [&](const auto& name, const auto& before, const auto& after) {
            open.push_back({Below(pair.path, name), before, after});
        });
        std::reverse(open.begin() + children, open.end());   // the first child is next
    }
    return changes;
}

std::vector<std::string> Lines(const ValueText& valueText, const Change& change) {
    std::vector<std::string> lines;
    if (change.was || (!change.value && !change.added)) lines.push_back("- " + Line(valueText, change, change.was));
    if (change.now || change.added) lines.push_back("+ " + Line(valueText, change, change.now));
    return lines;
}

void Print(Json& json, const ValueText& valueText, const Change& change) {
    const bool changed = change.was && change.now;
    json.BeginObject();
    json.Member("change", changed ? "changed" : change.now || change.added ? "added" : "removed");
    json.Member("path", change.path);
    if (change.value) json.Member("name", *change.value);
    Print(json, valueText, "was", change.was);
    Print(json, valueText, "now", change.now);
    json.EndObject();
}

}   // namespace arborctl
