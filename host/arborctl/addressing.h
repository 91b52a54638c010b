/// Finds, creates and removes the keys and values that paths name, and prints the paths of those in a tree. A printed
/// path identifies one key or value even if siblings share a name.
#pragma once

#include "document.h"
#include "path.h"
#include "walk.h"

#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace arborctl {

/// A child key. `index` is its position among its siblings, set only if the store can't find the key by name: a name
/// with a separator, or one that an earlier sibling has too.
struct Child {
    arbor::Key key;
    std::optional<std::uint32_t> index{};
};

/// Returns none if there is no such key. `path.h` describes names with "#N".
[[nodiscard]] std::optional<Child> FindChild(const arbor::Key& parent, const PathName& name);

[[nodiscard]] std::optional<arbor::Key> FindKey(const arbor::Key& top, const Path& path);
/// Throws a `StoreError` if the key doesn't exist.
[[nodiscard]] arbor::Key OpenKey(const arbor::Key& top, const Path& path);
/// Opens the key and creates missing ones. Throws a `StoreError` for a new name with a separator, which the store would
/// split into several keys.
[[nodiscard]] arbor::Key MakeKey(const arbor::Key& top, const Path& path);
/// Throws a `StoreError` for the root and for a missing key.
void RemoveKey(const arbor::Key& top, const Path& path);

/// Reads and writes one value of a key. The value need not exist. Invalid once any value of the key is removed.
class ValueSlot {
public:
    ValueSlot(const arbor::Key& parent, const PathName& name);

    /// Returns 0 if the value doesn't exist.
    [[nodiscard]] kernel::TypeCode Type() const;
    /// Returns the value converted to `type`, or in its own type if that is 0.
    [[nodiscard]] arbor::Result<arbor::Datum> Read(kernel::TypeCode type) const;
    [[nodiscard]] arbor::Status Set(const arbor::Datum& datum) const;
    [[nodiscard]] arbor::Status Remove() const;
    /// The encoded name as in a path, with its number if it has one.
    [[nodiscard]] std::string PrintedName() const;
    /// Whether both are values of one key with the same name, and at least one isn't the first of that name. Then the
    /// removal of one changes the number of the other.
    [[nodiscard]] bool IsNumberedNamesakeOf(const ValueSlot& other) const;

private:
    /// The name without a number.
    [[nodiscard]] std::string StoredName() const { return byIndex ? byIndex->Name() : name; }

    arbor::Key key;
    std::string name;
    std::optional<arbor::Value> byIndex{};   // set only if an earlier value of the key has the same name
};

[[nodiscard]] std::optional<ValueSlot> FindValue(const arbor::Key& top, const Path& path);
/// Throws a `StoreError` if the value doesn't exist.
[[nodiscard]] ValueSlot OpenValue(const arbor::Key& top, const Path& path);

/// Gives a value the type and the data of `datum`, and creates it if it is missing. The store keeps the type of a
/// value, so one of another type is removed and made anew. Throws a `StoreError` on failure, and if a value whose type
/// has to change shares its name with another one: the store can't make a second value with that name.
void SetExactly(const arbor::Key& key, const PathName& name, const arbor::Datum& datum);

/// Encodes the names of siblings, given in their order. A repeated name gets its number among its namesakes, "item#2",
/// with leading zeros if a sibling has that very name. A name that ends with "#1" is printed with "%x231": as a path
/// name "item#1" is also the first "item", and "#1" the first sibling without a name.
class SiblingNames {
public:
    /// `isName` returns whether a sibling has exactly that name.
    explicit SiblingNames(std::function<bool(const std::string& name)> isName) : isSiblingName(std::move(isName)) {}

    [[nodiscard]] std::string Disambiguate(const std::string& name);

private:
    std::function<bool(const std::string&)> isSiblingName;
    std::unordered_map<std::string, std::uint32_t> counts;   // by name in lower case
};

[[nodiscard]] SiblingNames NamesOfKeys(const arbor::Key& parent);
[[nodiscard]] SiblingNames NamesOfValues(const arbor::Key& parent);

/// Calls `work(printedName, child)` for each child key of `parent`.
template <class Work>
void ForEachNamedKey(const arbor::Key& parent, Work work) {
    arbor::KeyRange children = parent.Keys();
    SiblingNames names = NamesOfKeys(parent);
    for (const arbor::Key& child : children) work(names.Disambiguate(NameOf(child)), child);
    ThrowIfFailed(children.Outcome(), "enumerating keys");
}

/// Calls `work(printedName, value)` for each value of `parent`.
template <class Work>
void ForEachNamedValue(const arbor::Key& parent, Work work) {
    SiblingNames names = NamesOfValues(parent);
    ForEachValue(parent, [&](const arbor::Value& value) { work(names.Disambiguate(value.Name()), value); });
}

/// The printed names and paths of the keys that a depth-first walk enters.
class PrintedPaths {
public:
    /// `top` is the path of the walk's first key.
    explicit PrintedPaths(std::string top = "") : topPath(std::move(top)) {}

    /// Call for each key in the order of the walk. Returns the key's printed name, empty at depth 0.
    std::string Enter(const arbor::Key& key, std::size_t depth);

    /// The path of the key entered last.
    [[nodiscard]] const std::string& Path() const { return levels.back().path; }

private:
    struct Level {
        std::string path;
        SiblingNames children;
    };

    std::string topPath;
    std::vector<Level> levels;
};

}   // namespace arborctl
