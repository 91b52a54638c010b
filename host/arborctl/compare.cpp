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

/// A key in both trees or in one of them.
struct KeyPair {
    std::string name;
    std::optional<arbor::Key> before;
    std::optional<arbor::Key> after;
};

/// Returns the subkeys of both keys in reverse order.
std::vector<KeyPair> SubkeysReversed(const KeyPair& parent) {
    std::vector<KeyPair> subkeys;
    ForEachNamePair(KeysOf(parent.before), KeysOf(parent.after),
                    [&](const auto& name, const auto& first, const auto& second) {
                        subkeys.push_back({name, first, second});
                    });
    std::ranges::reverse(subkeys);
    return subkeys;
}

/// Collects the changes, with the path of the key that is visited.
class ChangeCollector : public PairVisitor {
public:
    [[nodiscard]] std::vector<Change> TakeChanges() { return std::move(changes); }

    void EnterKey(const std::string& name, bool isInBefore, bool isInAfter) override {
        paths.push_back(paths.empty() ? "" : JoinPath(paths.back(), name));
        if (!isInBefore || !isInAfter) changes.push_back({.path = paths.back(), .keyAdded = !isInBefore});
    }
    void VisitValue(const std::string& name, const std::optional<arbor::Datum>& before,
                    const std::optional<arbor::Datum>& after) override {
        if (!IsSame(before, after)) changes.push_back({paths.back(), name, before, after});
    }
    void LeaveKey() override { paths.pop_back(); }

private:
    std::vector<Change> changes{};
    std::vector<std::string> paths{};   // of the keys that were entered and not left
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

bool IsSame(const std::optional<arbor::Datum>& before, const std::optional<arbor::Datum>& after) {
    return before && after && before->type == after->type && before->bytes == after->bytes;
}

void WalkPairs(const arbor::Key& before, const arbor::Key& after, PairVisitor& visitor) {
    std::vector<std::vector<KeyPair>>
        levels;   // the keys of each open key that are still to be entered, last one first
    const auto enter = [&](const KeyPair& pair) {
        visitor.EnterKey(pair.name, pair.before.has_value(), pair.after.has_value());
        ForEachNamePair(
            ValuesOf(pair.before), ValuesOf(pair.after),
            [&](const auto& name, const auto& first, const auto& second) { visitor.VisitValue(name, first, second); });
        levels.push_back(SubkeysReversed(pair));
    };
    enter({"", before, after});
    while (!levels.empty()) {
        if (levels.back().empty()) {
            visitor.LeaveKey();
            levels.pop_back();
            continue;
        }
        const KeyPair pair = std::move(levels.back().back());
        levels.back().pop_back();
        enter(pair);
    }
}

std::vector<Change> Compare(const arbor::Key& before, const arbor::Key& after) {
    ChangeCollector collector;
    WalkPairs(before, after, collector);
    return collector.TakeChanges();
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
