// Compares key by key, with a stack of its own instead of recursion. Keys and values are paired by printed name.

#include "compare.h"

#include "addressing.h"

#include <algorithm>
#include <map>

namespace arborctl {
namespace {

/// The keys or values of one tree's key, in order, with their printed names.
template <class Item>
struct Side {
    std::vector<std::pair<std::string, Item>> items{};
    std::map<std::string, std::size_t> indexes{};   // into `items`, by name in lower case

    void Add(std::string name, Item item) {
        indexes.emplace(ToLower(name), items.size());
        items.emplace_back(std::move(name), std::move(item));
    }

    [[nodiscard]] std::optional<Item> Find(const std::string& name) const {
        const auto index = indexes.find(ToLower(name));
        if (index == indexes.end()) return std::nullopt;
        return items[index->second].second;
    }
};

using Values = Side<arbor::Datum>;
using Keys = Side<arbor::Key>;

Values ValuesOf(const std::optional<arbor::Key>& key) {
    Values values;
    if (!key) return values;
    ForEachNamedValue(*key, [&](const std::string& name, const arbor::Value& value) { values.Add(name, Read(value)); });
    return values;
}

Keys KeysOf(const std::optional<arbor::Key>& key) {
    Keys keys;
    if (!key) return keys;
    ForEachNamedKey(*key, [&](const std::string& name, const arbor::Key& child) { keys.Add(name, child); });
    return keys;
}

/// Calls `work(name, before, after)` for each name of either side; names that only `after` has come last.
template <class Item, class Work>
void ForEachNamePair(const Side<Item>& before, const Side<Item>& after, Work work) {
    for (const auto& [name, item] : before.items) work(name, std::optional<Item>(item), after.Find(name));
    for (const auto& [name, item] : after.items) {
        if (!before.Find(name)) work(name, std::optional<Item>(), std::optional<Item>(item));
    }
}

bool IsSame(const std::optional<arbor::Datum>& before, const std::optional<arbor::Datum>& after) {
    return before && after && before->type == after->type && before->bytes == after->bytes;
}

/// The keys at one path, in both trees or in one of them.
struct KeyPair {
    std::string path;
    std::optional<arbor::Key> before;
    std::optional<arbor::Key> after;
};

/// Formats a value, or a key if the change is of a key.
std::string FormatLine(const ValueText& valueText, const Change& change, const std::optional<arbor::Datum>& datum) {
    if (!datum) return change.path + '/';
    return JoinPath(change.path, *change.value) + ": " + valueText.FormatLine(*datum);
}

void WriteJson(Json& json, const char* name, const std::optional<arbor::Datum>& datum) {
    if (datum) json.Name(name).BeginObject().TypeAndValue(*datum).EndObject();
}

}   // namespace

std::vector<Change> Compare(const arbor::Key& before, const arbor::Key& after) {
    std::vector<Change> changes;
    std::vector<KeyPair> pending{{"", before, after}};
    while (!pending.empty()) {
        const KeyPair pair = std::move(pending.back());
        pending.pop_back();
        if (!pair.before || !pair.after) changes.push_back({.path = pair.path, .keyAdded = !pair.before});
        ForEachNamePair(ValuesOf(pair.before), ValuesOf(pair.after),
                        [&](const auto& name, const auto& first, const auto& second) {
                            if (!IsSame(first, second)) changes.push_back({pair.path, name, first, second});
                        });
        const auto children = static_cast<std::ptrdiff_t>(pending.size());
        ForEachNamePair(KeysOf(pair.before), KeysOf(pair.after),
                        [&](const auto& name, const auto& first, const auto& second) {
                            pending.push_back({JoinPath(pair.path, name), first, second});
                        });
        std::reverse(pending.begin() + children, pending.end());   // the last element is compared next
    }
    return changes;
}

std::vector<std::string> FormatLines(const ValueText& valueText, const Change& change) {
    std::vector<std::string> lines;
    if (change.before || (!change.value && !change.keyAdded))
        lines.push_back("- " + FormatLine(valueText, change, change.before));
    if (change.after || change.keyAdded) lines.push_back("+ " + FormatLine(valueText, change, change.after));
    return lines;
}

void WriteJson(Json& json, const Change& change) {
    const bool changed = change.before && change.after;
    json.BeginObject();
    json.Member("change", changed ? "changed" : change.after || change.keyAdded ? "added" : "removed");
    json.Member("path", change.path);
    if (change.value) json.Member("name", *change.value);
    WriteJson(json, "was", change.before);
    WriteJson(json, "now", change.after);
    json.EndObject();
}

}   // namespace arborctl
