#include "tree/key.h"

#include "tree/key_layout.h"
#include "tree/path.h"
#include "tree/value/value_holder.h"

#include <charconv>
#include <cstring>
#include <iterator>
#include <memory>

namespace arbor::module {

namespace {

/// The text of a value that stands for another one, and the name of that other one.
constexpr char kRedirectMarker[] = "![CDATA[";

bool IsRedirect(const Value& value) {
    return value.GetType() == tSTRING && static_cast<const ByteStringHolder&>(value).TextIs(kRedirectMarker);
}

/// The lists are the key's own business; a const walk over them still hands out keys that callers may change.
template <class List>
List& Mutable(const List& list) {
    return const_cast<List&>(list);
}

/// Before a name goes in. A growth looks at all names of an index, wherever they lie, and waits for most of them where
/// they are many: such an index grows by four and not by two. Throws what the allocation throws.
template <class Index>
void GrowAhead(Index& index) {
    constexpr std::size_t kMany = 2000;
    if (index.size() < kMany || index.size() < index.bucket_count()) return;
    index.rehash(3 * index.bucket_count());   // the next prime is near the fourfold
}

}   // namespace

Key::Key(const HostObject* host, std::string_view keyName) : owner(host) {
    static_cast<void>(CopyName(keyName, name));   // the maker compares the name
}

Key::~Key() {
    Clear();
    FreeName(name);
}

// Keys

Key* Key::FindChild(const HashedName& childName) const {
    const auto record = childIndex.find(childName);
    return record != childIndex.end() ? record->second : nullptr;
}

bool Key::IndexChild(Key& child, std::uint32_t hash) {
    try {
        GrowAhead(childIndex);
        childIndex.emplace(HashedName{child.name, hash}, &child);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

Key* Key::AddChild(std::string_view childName, std::uint32_t hash) {
    HostPtr<Key> child = MakeInHost<Key>(owner, owner, childName);
    if (!child || child->name.View().size() != childName.size()) return nullptr;
    if (!IndexChild(*child, hash)) return nullptr;
    children.push_back(*child);
    cursor.Clear();
    return child.release();   // the list owns it now
}

Key* Key::OpenPath(std::string_view path, bool alwaysNew, std::uint32_t* created) {
    if (owner == nullptr) return nullptr;
    Key* key = this;
    Key* firstMade = nullptr;
    Key* homeOfFirst = nullptr;
    bool startIsNew = false;
    PathCutter cutter(path);
    for (bool start = true; !cutter.AtEndOfNames(); start = false) {
        const bool last = cutter.AtLastComponent();
        const std::string_view component = cutter.Next();
        const HashedName hashed = HashName(component);
        Key* child = nullptr;
        if (!start || !alwaysNew) child = last ? key->FindChild(hashed) : key->FindPathRange(component, nullptr);
        if (child == nullptr) {
            child = key->AddChild(component, hashed.hash);
            if (child == nullptr) {
                // All that was made lies below the first: the tree becomes what it was.
                if (firstMade != nullptr) homeOfFirst->RemoveChild(firstMade, !homeOfFirst->IsIndexed(*firstMade));
                return nullptr;
            }
            if (firstMade == nullptr) {
                firstMade = child;
                homeOfFirst = key;
            }
            startIsNew = startIsNew || start;
        }
        key = child;
    }
    if (startIsNew && created != nullptr) *created = 1;
    return key;
}

bool Key::IsIndexed(const Key& child) const { return FindChild(HashName(child.name.View())) == &child; }

template <class Cutter>
Key* Key::WalkPath(Cutter path, Key** parent) const {
    Key* key = const_cast<Key*>(this);
    NameBatch names;
    for (; !path.AtEnd(); names.Clear()) {
        while (!names.IsFull() && !path.AtEnd()) names.Add(path.Next());
        names.Hash();
        for (std::size_t i = 0; i < names.Size(); ++i) {
            if (parent != nullptr) *parent = key;
            key = key->FindChild(names[i]);
            if (key == nullptr) return nullptr;
        }
    }
    return key;
}

Key* Key::FindPath(std::string_view path, Key** parent) const { return WalkPath(PathCutter(path), parent); }

Key* Key::FindPathRange(std::string_view path, Key** parent) const { return WalkPath(RangeCutter(path), parent); }

Key* Key::ChildByIndex(std::uint32_t index) const { return cursor.Find(Mutable(children), index); }

Key* Key::NextChild(const Key& child) const {
    const auto next = std::next(children.iterator_to(child));
    return next != children.end() ? const_cast<Key*>(&*next) : nullptr;
}

ResultCode Key::FindLineage(const Key* target, std::vector<const Key*>& lineage) const {
    try {
        lineage.push_back(this);
        while (lineage.back() != target) {
            if (!lineage.back()->children.empty()) {
                lineage.push_back(&lineage.back()->children.front());
                continue;
            }
            // The next sibling of the nearest ancestor that has one.
            const Key* next = nullptr;
            while (next == nullptr) {
                const Key* done = lineage.back();
                lineage.pop_back();
                if (lineage.empty()) return kUnspecified;
                const KeyList& siblings = lineage.back()->children;
                const auto at = std::next(siblings.iterator_to(*done));
                if (at != siblings.end()) next = &*at;
            }
            lineage.push_back(next);
        }
        return kDone;
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    }
}

ResultCode Key::ParentOf(const Key* key, const Key*& parent) const {
    parent = nullptr;
    if (key == nullptr) return kUnspecified;
    std::vector<const Key*> lineage;
    const ResultCode code = FindLineage(key, lineage);
    if (IsSuccess(code)) parent = lineage.size() > 1 ? lineage[lineage.size() - 2] : this;
    return code;
}

ResultCode Key::GetPath(const Key* target, char* dst, std::uint32_t cap, std::uint32_t& length, char separator) const {
    if (target == nullptr) return kInvalidArgument;
    std::vector<const Key*> lineage;
    if (const ResultCode code = FindLineage(target, lineage); IsFailure(code)) return code;
    const std::uint32_t start = length;
    for (const Key* key : lineage) length += key->name.length + (length != 0 ? 1 : 0);
    if (dst == nullptr) return kDone;
    if (cap <= length) return kBufferTooSmall;
    std::uint32_t at = start;
    for (const Key* key : lineage) {
        if (at != 0) dst[at++] = separator;
        std::memcpy(dst + at, key->name.text, key->name.length);
        at += key->name.length;
    }
    dst[at] = '\0';
    return kDone;
}

ResultCode Key::RemovePath(std::string_view path) {
    Key* parent = nullptr;
    Key* found = FindPath(path, &parent);
    if (found == nullptr) return kNoSuchEntry;
    if (parent == nullptr) return kInvalidArgument;
    parent->RemoveChild(found, false);
    return kDone;
}

ResultCode Key::RemoveChildAt(std::uint32_t index) {
    Key* child = ChildByIndex(index);
    if (child == nullptr) return kNoSuchEntry;
    RemoveChild(child, false);
    return kDone;
}

void Key::RemoveChild(Key* child, bool keepIndex) {
    if (child == nullptr || owner == nullptr) return;
    cursor.Clear();
    if (child->is_linked()) children.erase(children.iterator_to(*child));
    if (!keepIndex) childIndex.erase(HashName(child->name.View()));
    HostDelete<Key>{owner}(child);
}

// What an index points to goes before the index: freeing it only writes, and waits for nothing, while the walk through
// the index reads, and finds its nodes in the lines that were written.
void Key::Clear() {
    while (!values.empty()) RemoveEntry(&values.front(), true);
    valueIndex.clear();
    cursor.Clear();
    // Each child with children first hands them to this key: so no depth is too deep, and no memory is needed on the
    // way.
    while (!children.empty()) {
        Key& child = children.front();
        if (child.children.empty()) {
            RemoveChild(&child, true);
        } else {
            children.splice(children.begin(), child.children);
        }
    }
    childIndex.clear();
}

// Values

ValueEntry* Key::FindEntry(std::string_view valueName) const {
    const auto found = valueIndex.find(HashName(valueName), StoredHash(), SameName());
    return found != valueIndex.end() ? *found : nullptr;
}

ValueEntry* Key::EntryAt(std::uint32_t index) const { return valueCursor.Find(Mutable(values), index); }

Value* Key::FindValue(const char* valueName) const {
    const Key* key = this;
    Value* found = nullptr;
    for (const char* wanted = valueName;; wanted = kUnnamedValue) {
        const ValueEntry* entry = key->FindEntry(wanted);
        if (entry == nullptr) return found;
        found = entry->value;
        if (!IsRedirect(*found)) return found;
        key = key->FindPath(wanted, nullptr);
        if (key == nullptr) return found;
    }
}

ValueEntry* Key::NewEntry(TypeCode code) {
    HostPtr<ValueEntry> entry = MakeInHost<ValueEntry>(owner);
    if (!entry) return nullptr;
    entry->value = CreateValue(owner, code);
    return entry->value != nullptr ? entry.release() : nullptr;
}

template <class Fill>
ResultCode Key::AddFilled(std::string_view valueName, TypeCode code, Fill fill) {
    if (owner == nullptr) return kNotInitialised;
    // Computed first: the chain of multiplications overlaps with the allocations that follow.
    const std::uint32_t hash = NameHash(valueName);
    // A failed add erases the index record of its name, as every removal does. Without a name yet it erases none.
    bool isNamed = false;
    const auto remove = [this, &isNamed](ValueEntry* failed) { RemoveEntry(failed, !isNamed); };
    std::unique_ptr<ValueEntry, decltype(remove)> entry(NewEntry(code), remove);
    if (!entry) return kOutOfMemory;
    if (valueName.data() == nullptr) return kInvalidArgument;
    if (const ResultCode named = CopyName(valueName, entry->name); IsFailure(named)) return named;
    entry->hash = hash;
    isNamed = true;
    if (const ResultCode filled = fill(*entry->value); IsFailure(filled)) return filled;
    values.push_back(*entry);
    valueCursor.Clear();
    try {
        GrowAhead(valueIndex);
        valueIndex.insert(entry.get());
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    }
    static_cast<void>(entry.release());   // the list owns it now
    return kDone;
}

ResultCode Key::AddValue(const char* valueName, TypeCode code, const void* data, std::uint32_t size) {
    const std::string_view wanted = valueName != nullptr ? std::string_view(valueName) : std::string_view();
    return AddFilled(wanted, code, [=](Value& value) { return value.Set(data, size); });
}

ResultCode Key::AddNewValue(const char* valueName, TypeCode code, const void* data, std::uint32_t size) {
    if (valueName == nullptr) return kInvalidArgument;
    if (FindValue(valueName) != nullptr) return kAlreadyExists;
    return AddValue(valueName, code, data, size);
}

ResultCode Key::AddValueAt(std::uint32_t index, TypeCode code, const void* data, std::uint32_t size) {
    if (ValueCount() < index) return kInvalidArgument;
    if (ValueCount() > index) return kAlreadyExists;
    char made[sizeof kUnnamedValue + 11];
    std::memcpy(made, kUnnamedValue, sizeof kUnnamedValue - 1);
    // Printed as a signed number: what callers have stored goes by it.
    const auto number = static_cast<std::int32_t>(index);
    *std::to_chars(made + sizeof kUnnamedValue - 1, made + sizeof made - 1, number).ptr = '\0';
    return AddValue(made, code, data, size);
}

ResultCode Key::AddValueFromText(std::string_view valueName, TypeCode code, const char* text) {
    return AddFilled(valueName, code, [=](Value& value) { return value.FromText(text); });
}

Value* Key::ValueAt(std::uint32_t index) const {
    const ValueEntry* entry = EntryAt(index);
    return entry != nullptr ? entry->value : nullptr;
}

const char* Key::ValueNameAt(std::uint32_t index) const {
    const ValueEntry* entry = EntryAt(index);
    return entry != nullptr ? entry->name.text : nullptr;
}

ResultCode Key::RemoveValue(const char* valueName) {
    ValueEntry* entry = FindEntry(valueName);
    if (entry == nullptr) return kNoSuchEntry;
    RemoveEntry(entry, false);
    return kDone;
}

ResultCode Key::RemoveValueAt(std::uint32_t index) {
    ValueEntry* entry = EntryAt(index);
    if (entry == nullptr) return kNoSuchEntry;
    RemoveEntry(entry, false);
    return kDone;
}

void Key::RemoveEntry(ValueEntry* entry, bool keepIndex) {
    if (entry == nullptr || owner == nullptr) return;
    if (entry->is_linked()) {
        values.erase(values.iterator_to(*entry));
        valueCursor.Clear();
    }
    // By name: where two entries share one, the name is looked up no more, whichever of them it stood for.
    if (!keepIndex) {
        const auto indexed = valueIndex.find(*entry, StoredHash(), SameName());
        if (indexed != valueIndex.end()) valueIndex.erase(indexed);
    }
    ReleaseValue(owner, entry->value);
    FreeName(entry->name);
    HostDelete<ValueEntry>{owner}(entry);
}

// Names

ResultCode Key::CopyName(std::string_view source, NameRange& target) const {
    if (owner == nullptr) return kNotInitialised;
    NameRange copy;
    if (!source.empty()) {
        HostBlock<char> block;
        const auto length = static_cast<std::uint32_t>(source.size());
        if (length != source.size() || IsFailure(TakeBlock(owner, length, 1, block))) return kOutOfMemory;
        std::memcpy(block.get(), source.data(), length);
        copy = {block.release(), length};   // the range's holder frees it
    }
    FreeName(target);
    target = copy;
    return kDone;
}

void Key::FreeName(NameRange& target) const {
    if (!target.IsEmpty() && owner != nullptr) HostFree(owner, const_cast<char*>(target.text));
    target = NameRange();
}

}   // namespace arbor::module
