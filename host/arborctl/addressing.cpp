#include "addressing.h"

#include "walk.h"

namespace arborctl {
namespace {

bool SameName(const std::string& left, const std::string& right) { return Lower(left) == Lower(right); }

/// The key, counted among those of its name.
std::optional<Child> FindNumbered(const arbor::Key& parent, const std::string& name, std::uint32_t number) {
    arbor::KeyRange children = parent.Keys();
    std::uint32_t index = 0;
    for (const arbor::Key& child : children) {
        if (SameName(NameOf(child), name) && --number == 0) return Child{child, index};
        ++index;
    }
    Demand(children.Outcome(), "enumerating keys");
    return std::nullopt;
}

std::optional<Child> FindExactly(const arbor::Key& parent, const std::string& name) {
    if (name.empty()) return std::nullopt;
    if (HasSeparator(name)) return FindNumbered(parent, name, 1);   // the store would take it for a path
    const arbor::Result<arbor::Key> key = parent.Open(name);
    if (key.Code() == kernel::kNoSuchEntry) return std::nullopt;
    return Child{Demand(key, EncodeName(name))};
}

}   // namespace

std::optional<Child> FindChild(const arbor::Key& parent, const PathName& name) {
    std::optional<Child> child = FindExactly(parent, name.name);
    return child || name.number == 0 ? child : FindNumbered(parent, name.repeated, name.number);
}

std::optional<arbor::Key> FindKey(const arbor::Key& top, const Path& path) {
    arbor::Key key = top;
    for (const PathName& name : path.Names()) {
        const std::optional<Child> child = FindChild(key, name);
        if (!child) return std::nullopt;
        key = child->key;
    }
    return key;
}

arbor::Key OpenKey(const arbor::Key& top, const Path& path) {
    const std::optional<arbor::Key> key = FindKey(top, path);
    if (!key) throw Refusal(kernel::kNoSuchEntry, path.Text());
    return *key;
}

arbor::Key MakeKey(const arbor::Key& top, const Path& path) {
    arbor::Key key = top;
    for (const PathName& name : path.Names()) {
        const std::optional<Child> child = FindChild(key, name);
        if (!child && HasSeparator(name.name)) {
            throw Refusal(kernel::kInvalidArgument, "a new key's name can't hold a separator: " + path.Text());
        }
        key = child ? child->key : Demand(key.Make(name.name), path.Text());
    }
    return key;
}

void RemoveKey(const arbor::Key& top, const Path& path) {
    if (path.IsRoot()) throw Refusal(kernel::kInvalidArgument, path.Text());
    const arbor::Key parent = OpenKey(top, path.Parent());
    const PathName& name = path.Names().back();
    const std::optional<Child> child = FindChild(parent, name);
    if (!child) throw Refusal(kernel::kNoSuchEntry, path.Text());
    const kernel::Registry methods(parent.Object());
    Demand(child->index ? arbor::Status(methods.DeleteKeyByInd(parent.Object(), parent.Handle(), *child->index))
                        : parent.RemoveKey(name.name),
           path.Text());
}

ValueSlot::ValueSlot(const arbor::Key& parent, const PathName& pathName) : key(parent), name(pathName.name) {
    std::uint32_t number = pathName.number;
    if (number == 0 || key.Type(name)) return;
    ForEachValue(key, [&](const arbor::Value& value) {
        if (SameName(value.Name(), pathName.repeated) && number != 0 && --number == 0) numbered = value;
    });
}

kernel::TypeCode ValueSlot::Type() const { return numbered ? numbered->Type() : *key.Type(name); }

arbor::Result<arbor::Datum> ValueSlot::Read(kernel::TypeCode asked) const {
    return numbered ? numbered->Read(asked) : key.Read(name, asked);
}

arbor::Status ValueSlot::Set(const arbor::Datum& datum) const {
    if (!numbered) return key.Set(name, datum);
    constexpr std::uint32_t kDontCreate = 0;
    return arbor::Status(kernel::Registry(key.Object())
                             .SetValueByIndex(key.Object(), key.Handle(), numbered->Index(), datum.type,
                                              datum.bytes.data(), static_cast<std::uint32_t>(datum.bytes.size()),
                                              kDontCreate));
}

arbor::Status ValueSlot::Remove() const {
    if (!numbered) return key.Remove(name);
    return arbor::Status(
        kernel::Registry(key.Object()).DeleteValueByInd(key.Object(), key.Handle(), numbered->Index()));
}

std::string ValueSlot::Text() const { return EncodeName(name); }

std::optional<ValueSlot> FindValue(const arbor::Key& top, const Path& path) {
    if (path.IsOfKey()) return std::nullopt;
    const std::optional<arbor::Key> key = FindKey(top, path.Parent());
    if (!key) return std::nullopt;
    const ValueSlot value(*key, path.Names().back());
    return value.Type() != 0 ? std::optional(value) : std::nullopt;
}

ValueSlot OpenValue(const arbor::Key& top, const Path& path) {
    const std::optional<ValueSlot> value = FindValue(top, path);
    if (!value) throw Refusal(kernel::kNoSuchEntry, path.Text());
    return *value;
}

std::string SiblingNames::Next(const std::string& name) {
    const std::uint32_t number = ++counts[Lower(name)];
    if (number == 1 && !name.empty()) return EncodeName(name);
    std::string digits = std::to_string(number);
    const std::string stem = name + '#';
    while (isTaken(stem + digits)) digits.insert(0, 1, '0');
    return EncodeName(name) + '#' + digits;
}

SiblingNames KeyNames(const arbor::Key& parent) {
    return SiblingNames([parent](const std::string& name) { return FindExactly(parent, name).has_value(); });
}

SiblingNames ValueNames(const arbor::Key& parent) {
    return SiblingNames([parent](const std::string& name) { return bool{parent.Type(name)}; });
}

std::string WalkedNames::Enter(const arbor::Key& key, std::size_t depth) {
    levels.erase(levels.begin() + static_cast<std::ptrdiff_t>(depth), levels.end());
    std::string printed = depth == 0 ? "" : levels.back().children.Next(NameOf(key));
    levels.push_back({depth == 0 ? topPath : Below(Path(), printed), KeyNames(key)});
    return printed;
}

}   // namespace arborctl
