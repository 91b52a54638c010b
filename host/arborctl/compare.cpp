// Compares key by key, with a stack of its own instead of recursion. Keys and values are paired by printed name.

#include "compare.h"

#include "addressing.h"

#include <algorithm>
#include <unordered_map>

namespace arborctl {
namespace {

/// The keys or values of one tree's key, in order, with their printed names.
template <class Item>
class NamedItems {
public:
    using Items = std::vector<std::pair<std::string, Item>>;

    void Add(std::string name, Item item) { items.emplace_back(std::move(name), std::move(item)); }

    /// Returns the index of a name, or the number of items if it is missing. `likely` is the index to try first.
    [[nodiscard]] std::size_t IndexOf(const std::string& name, std::size_t likely) {
        if (likely < items.size() && items[likely].first == name) return likely;
        for (; indexed < items.size(); ++indexed) indexes.emplace(ToLower(items[indexed].first), indexed);
        const auto index = indexes.find(ToLower(name));
        return index != indexes.end() ? index->second : items.size();
    }

    Items items{};

private:
    std::unordered_map<std::string, std::size_t> indexes{};   // by name in lower case
    std::size_t indexed = 0;                                  // items that `indexes` has
};

NamedItems<arbor::Datum> ValuesOf(const std::optional<PackedKey>& key) {
    NamedItems<arbor::Datum> values;
    if (key) {
        key->ForEachValue(
            [&](std::string_view name, arbor::Datum datum) { values.Add(std::string(name), std::move(datum)); });
    }
    return values;
}

NamedItems<arbor::Datum> ValuesOf(const std::optional<arbor::Key>& key) {
    NamedItems<arbor::Datum> values;
    if (key) {
        ForEachNamedValue(*key,
                          [&](const std::string& name, const arbor::Value& value) { values.Add(name, Read(value)); });
    }
    return values;
}

NamedItems<PackedKey> KeysOf(const std::optional<PackedKey>& key) {
    NamedItems<PackedKey> keys;
    if (key) key->ForEachKey([&](const PackedKey& child) { keys.Add(std::string(child.Name()), child); });
    return keys;
}

NamedItems<arbor::Key> KeysOf(const std::optional<arbor::Key>& key) {
    NamedItems<arbor::Key> keys;
    if (key) ForEachNamedKey(*key, [&](const std::string& name, const arbor::Key& child) { keys.Add(name, child); });
    return keys;
}

/// Calls `work(name, before, after)` for each name of either side; names that only `after` has come last. The names of
/// one side differ in lower case.
template <class Before, class After, class Work>
void ForEachNamePair(NamedItems<Before> before, NamedItems<After> after, Work work) {
    std::vector<bool> isMatched(after.items.size());
    std::size_t next = 0;   // most trees have their names in the same order
    for (auto& [name, item] : before.items) {
        const std::size_t index = after.IndexOf(name, next);
        std::optional<After> other;
        if (index < after.items.size()) {
            isMatched[index] = true;
            next = index + 1;
            other = std::move(after.items[index].second);
        }
        work(name, std::optional<Before>(std::move(item)), other);
    }
    for (std::size_t i = 0; i < isMatched.size(); ++i) {
        auto& [name, item] = after.items[i];
        if (!isMatched[i]) work(name, std::optional<Before>(), std::optional<After>(std::move(item)));
    }
}

/// A key in both trees or in one of them.
struct KeyPair {
    std::string name;
    std::optional<PackedKey> before;
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

/// Reports the changes, with the path of the key that is visited.
class ChangeReporter : public PairVisitor {
public:
    explicit ChangeReporter(const std::function<void(Change change)>& callback) : onChange(callback) {}

    void EnterKey(const std::string& name, bool isInBefore, bool isInAfter) override {
        paths.push_back(paths.empty() ? "" : JoinPath(paths.back(), name));
        if (!isInBefore || !isInAfter) onChange({.path = paths.back(), .keyAdded = !isInBefore});
    }
    void VisitValue(const std::string& name, const std::optional<arbor::Datum>& before,
                    const std::optional<arbor::Datum>& after) override {
        if (!IsSame(before, after)) onChange({paths.back(), name, before, after});
    }
    void LeaveKey() override { paths.pop_back(); }

private:
    const std::function<void(Change change)>& onChange;
    std::vector<std::string> paths{};   // of the keys that were entered and not left
};

/// Formats a value, or a key if the change is of a key.
std::string FormatLine(const ValueText& valueText, const Change& change, const std::optional<arbor::Datum>& datum) {
    if (!datum) return change.path + '/';
    return JoinPath(change.path, *change.value) + ": " + valueText.FormatLine(*datum);
}

void WriteJson(JsonWriter& json, const char* name, const std::optional<arbor::Datum>& datum) {
    if (datum) json.Name(name).BeginObject().TypeAndValue(*datum).EndObject();
}

}   // namespace

bool IsSame(const std::optional<arbor::Datum>& before, const std::optional<arbor::Datum>& after) {
    return before && after && before->type == after->type && before->bytes == after->bytes;
}

void WalkPairs(const PackedKey& before, const arbor::Key& after, PairVisitor& visitor) {
    // The subkeys of each open key that are still to be entered, the next one last.
    std::vector<std::vector<KeyPair>> levels;
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

void Compare(const PackedKey& before, const arbor::Key& after, const std::function<void(Change change)>& onChange) {
    ChangeReporter reporter(onChange);
    WalkPairs(before, after, reporter);
}

std::vector<std::string> FormatLines(const ValueText& valueText, const Change& change) {
    std::vector<std::string> lines;
    if (change.before || (!change.value && !change.keyAdded))
        lines.push_back("- " + FormatLine(valueText, change, change.before));
    if (change.after || change.keyAdded) lines.push_back("+ " + FormatLine(valueText, change, change.after));
    return lines;
}

void WriteJson(JsonWriter& json, const Change& change) {
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
