/// The keys and values that paths address, and the printed names of those in a tree.
#pragma once

#include "document.h"
#include "path.h"

#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace arborctl {

/// A key in its parent.
struct Child {
    arbor::Key key;
    std::optional<std::uint32_t> index{};   // set where the store doesn't find the key by its name
};

[[nodiscard]] std::optional<Child> FindChild(const arbor::Key& parent, const PathName& name);

[[nodiscard]] std::optional<arbor::Key> FindKey(const arbor::Key& top, const Path& path);
/// Throws a `Refusal` if there is no such key.
[[nodiscard]] arbor::Key OpenKey(const arbor::Key& top, const Path& path);
/// The same, with the missing keys made. Throws a `Refusal` for a new name that the store would take for a path.
[[nodiscard]] arbor::Key MakeKey(const arbor::Key& top, const Path& path);
/// Throws a `Refusal` for the root and for a missing key.
void RemoveKey(const arbor::Key& top, const Path& path);

/// A value of a key, which need not exist. Good until a value of the key is removed.
class ValueSlot {
public:
    ValueSlot(const arbor::Key& parent, const PathName& name);

    /// 0 if there is no such value.
    [[nodiscard]] kernel::TypeCode Type() const;
    [[nodiscard]] arbor::Result<arbor::Datum> Read(kernel::TypeCode asked) const;
    [[nodiscard]] arbor::Status Set(const arbor::Datum& datum) const;
    [[nodiscard]] arbor::Status Remove() const;
    /// The name for a message.
    [[nodiscard]] std::string Text() const;

private:
    arbor::Key key;
    std::string name;
    std::optional<arbor::Value> numbered{};   // set where the store doesn't find the value by its name
};

/// The value at `path`, if there is one.
[[nodiscard]] std::optional<ValueSlot> FindValue(const arbor::Key& top, const Path& path);
/// The same. Throws a `Refusal` if there is none.
[[nodiscard]] ValueSlot OpenValue(const arbor::Key& top, const Path& path);

/// Prints the names of siblings, in their order, so that each has a name of its own.
class SiblingNames {
public:
    /// `exists` says whether a sibling has exactly this name.
    explicit SiblingNames(std::function<bool(const std::string& name)> exists) : isTaken(std::move(exists)) {}

    [[nodiscard]] std::string Next(const std::string& name);

private:
    std::function<bool(const std::string&)> isTaken;
    std::unordered_map<std::string, std::uint32_t> counts;   // by name in small letters
};

[[nodiscard]] SiblingNames KeyNames(const arbor::Key& parent);
[[nodiscard]] SiblingNames ValueNames(const arbor::Key& parent);

/// The printed names and paths along a walk through a tree.
class WalkedNames {
public:
    /// `top` is the path of the first key.
    explicit WalkedNames(std::string top = "") : topPath(std::move(top)) {}

    /// To be called for each key that the walk enters, in its order. Returns the key's printed name, and "" at depth 0.
    std::string Enter(const arbor::Key& key, std::size_t depth);

    /// The path of the key that the walk entered last.
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
