// Finds, creates and removes keys and values. By name the store finds only the first of several with the same name; the
// others are found by enumeration and accessed by index.

#include "addressing.h"

namespace arborctl {
namespace {

bool IsSameName(const std::string& left, const std::string& right) { return ToLower(left) == ToLower(right); }

/// Returns the `number`th of the child keys with that name, counted from 1.
std::optional<Child> FindNumbered(const arbor::Key& parent, const std::string& name, std::uint32_t number) {
    arbor::KeyRange children = parent.Keys();
    std::uint32_t index = 0;
    for (const arbor::Key& child : children) {
        if (IsSameName(NameOf(child), name) && --number == 0) return Child{child, index};
        ++index;
    }
    ThrowIfFailed(children.Outcome(), "enumerating keys");
    return std::nullopt;
}

bool HasNamesake(const arbor::Key& key, const std::string& name) {
    std::size_t count = 0;
    ForEachValue(key, [&](const arbor::Value& value) { count += IsSameName(value.Name(), name) ? 1 : 0; });
    return count > 1;
}

/// Encodes a name. One that ends with "#1" gets the form "%x231", because a path name "item#1" is the first "item".
std::string EncodeFirst(const std::string& name) {
    if (ParseName(name).number != 1) return EncodeName(name);
    const std::size_t mark = name.rfind('#');
    return EncodeName(name.substr(0, mark)) + "%x23" + name.substr(mark + 1);
}

/// Returns the first child key with that name, without regard to case. Doesn't split a name with a separator.
std::optional<Child> FindFirst(const arbor::Key& parent, const std::string& name) {
    if (name.empty()) return std::nullopt;
    if (HasSeparator(name)) return FindNumbered(parent, name, 1);   // the store would split the name
    const arbor::Result<arbor::Key> key = parent.Open(name);
    if (key.Code() == kernel::kNoSuchEntry) return std::nullopt;
    return Child{ValueOrThrow(key, EncodeName(name))};
}

}   // namespace

std::optional<Child> FindChild(const arbor::Key& parent, const PathName& name) {
    // A key may itself be named "item#2"; it then precedes the second "item". The first "item" precedes a key "item#1".
    std::optional<Child> child = name.number == 1 ? FindFirst(parent, name.baseName) : std::nullopt;
    if (!child) child = FindFirst(parent, name.name);
    return child || name.number == 0 ? child : FindNumbered(parent, name.baseName, name.number);
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
    if (!key) throw StoreError(kernel::kNoSuchEntry, path.Text());
    return *key;
}

arbor::Key MakeKey(const arbor::Key& top, const Path& path) {
    arbor::Key key = top;
    for (const PathName& name : path.Names()) {
        const std::optional<Child> child = FindChild(key, name);
        if (!child && HasSeparator(name.name)) {
            throw StoreError(kernel::kInvalidArgument, "a new key's name can't hold a separator: " + path.Text());
        }
        key = child ? child->key : ValueOrThrow(key.Make(name.name), path.Text());
    }
    return key;
}

void RemoveKey(const arbor::Key& top, const Path& path) {
    if (path.IsRoot()) throw StoreError(kernel::kInvalidArgument, "the root can't be removed, only what it contains");
    const arbor::Key parent = OpenKey(top, path.Parent());
    const PathName& name = path.Names().back();
    const std::optional<Child> child = FindChild(parent, name);
    if (!child) throw StoreError(kernel::kNoSuchEntry, path.Text());
    const kernel::Registry methods(parent.Object());
    ThrowIfFailed(child->index ? arbor::Status(methods.DeleteKeyByInd(parent.Object(), parent.Handle(), *child->index))
                               : parent.RemoveKey(name.name),
                  path.Text());
}

ValueSlot::ValueSlot(const arbor::Key& parent, const PathName& pathName) : key(parent), name(pathName.name) {
    // As in `FindChild`: a value named "item#2" precedes the second "item", the first "item" a value named "item#1".
    std::uint32_t number = pathName.number;
    if (number == 1) {
        if (pathName.baseName.empty() || key.Type(pathName.baseName)) name = pathName.baseName;
        return;
    }
    if (number == 0 || key.Type(name)) return;
    ForEachValue(key, [&](const arbor::Value& value) {
        if (IsSameName(value.Name(), pathName.baseName) && number != 0 && --number == 0) byIndex = value;
    });
}

kernel::TypeCode ValueSlot::Type() const { return byIndex ? byIndex->Type() : *key.Type(name); }

arbor::Result<arbor::Datum> ValueSlot::Read(kernel::TypeCode type) const {
    return byIndex ? byIndex->ReadLenient(type) : key.ReadLenient(name, type);
}

arbor::Status ValueSlot::Set(const arbor::Datum& datum) const {
    return byIndex ? byIndex->SetLenient(datum) : key.SetLenient(name, datum);
}

arbor::Status ValueSlot::Remove() const { return byIndex ? byIndex->Remove() : key.Remove(name); }

std::string ValueSlot::PrintedName() const { return name.empty() ? "#1" : EncodeName(name); }

bool ValueSlot::IsNumberedNamesakeOf(const ValueSlot& other) const {
    return (byIndex || other.byIndex) && key.Object() == other.key.Object() && key.Handle() == other.key.Handle() &&
           IsSameName(StoredName(), other.StoredName());
}

std::optional<ValueSlot> FindValue(const arbor::Key& top, const Path& path) {
    if (path.IsOfKey()) return std::nullopt;
    const std::optional<arbor::Key> key = FindKey(top, path.Parent());
    if (!key) return std::nullopt;
    const ValueSlot value(*key, path.Names().back());
    return value.Type() != 0 ? std::optional(value) : std::nullopt;
}

ValueSlot OpenValue(const arbor::Key& top, const Path& path) {
    const std::optional<ValueSlot> value = FindValue(top, path);
    if (!value) throw StoreError(kernel::kNoSuchEntry, path.Text());
    return *value;
}

void SetExactly(const arbor::Key& key, const PathName& name, const arbor::Datum& datum) {
    const ValueSlot slot(key, name);
    const kernel::TypeCode type = slot.Type();
    if (type != 0 && type != datum.type) {
        if (HasNamesake(key, name.number != 0 ? name.baseName : name.name)) {
            throw StoreError(kernel::kAlreadyExists, slot.PrintedName() + " shares its name, so its type can't change");
        }
        ThrowIfFailed(slot.Remove(), slot.PrintedName());   // found by name, so that `slot` remains usable
    }
    ThrowIfFailed(slot.Set(datum), slot.PrintedName());
}

std::string SiblingNames::Disambiguate(const std::string& name) {
    const std::uint32_t number = ++counts[ToLower(name)];
    if (number == 1) return name.empty() ? "#1" : EncodeFirst(name);
    std::string digits = std::to_string(number);
    const std::string stem = name + '#';
    while (isSiblingName(stem + digits)) digits.insert(0, 1, '0');
    return EncodeName(name) + '#' + digits;
}

SiblingNames NamesOfKeys(const arbor::Key& parent) {
    return SiblingNames([parent](const std::string& name) { return FindFirst(parent, name).has_value(); });
}

SiblingNames NamesOfValues(const arbor::Key& parent) {
    return SiblingNames([parent](const std::string& name) { return bool{parent.Type(name)}; });
}

std::string PrintedPaths::Enter(const arbor::Key& key, std::size_t depth) {
    levels.erase(levels.begin() + static_cast<std::ptrdiff_t>(depth), levels.end());
    std::string printed = depth == 0 ? "" : levels.back().children.Disambiguate(NameOf(key));
    levels.push_back({depth == 0 ? topPath : JoinPath(Path(), printed), NamesOfKeys(key)});
    return printed;
}

}   // namespace arborctl
