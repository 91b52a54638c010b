/// A node of the store's tree: a name, child keys and values. Both are listed in order of creation and indexed by name.
///
/// A key owns its values and all keys below it, in blocks of the host's heap. It has no pointer to its parent. Names
/// are compared without regard to ASCII case. Several children or values may have equal names (documents can contain
/// them); then the index holds only the first, and the others are found by position alone. No operation recurses once
/// per level, so a deep tree needs no more call stack than a shallow one.
///
/// Not synchronised: the caller holds the object's lock, shared for const operations and exclusive for the others. No
/// operation throws.
#pragma once

#include "tree/contract.h"
#include "tree/index_cursor.h"
#include "tree/name.h"
#include "tree/value_entry.h"

#include <boost/intrusive/list.hpp>
#include <boost/unordered_map.hpp>
#include <boost/unordered_set.hpp>

#include <cstddef>
#include <string_view>
#include <vector>

namespace arbor::module {

/// Name of a value that has no name of its own: the text of an element in a foreign document. A value that is added by
/// index gets this name with the index appended.
inline constexpr char kUnnamedValueName[] = "noname";

class Key;
using KeyList = boost::intrusive::list<Key, boost::intrusive::constant_time_size<true>>;

/// Hash function of the two name indexes: reads the hash that is stored with each name.
struct StoredHash {
    std::size_t operator()(const HashedName& name) const { return name.hash; }
    std::size_t operator()(const ValueEntry* entry) const { return entry->hash; }
};

/// Equality of the two name indexes.
struct SameName {
    bool operator()(const HashedName& a, const HashedName& b) const {
        return a.hash == b.hash && NameEquals(a.name.View(), b.name.View());
    }
    bool operator()(const HashedName& a, const ValueEntry* b) const {
        return (*this)(a, static_cast<const HashedName&>(*b));
    }
    bool operator()(const ValueEntry* a, const ValueEntry* b) const { return (*this)(*a, b); }
};

/// The names refer to the text that the child owns.
using ChildIndex = boost::unordered_map<HashedName, Key*, StoredHash, SameName>;
using ValueIndex = boost::unordered_set<ValueEntry*, StoredHash, SameName>;

class Key : public boost::intrusive::list_base_hook<> {
public:
    /// `owner` provides the memory of the key and of all below it; it must outlive the key. If the host has no
    /// memory for the name, the name stays empty; the caller detects that by comparing lengths.
    Key(const HostObject* owner, std::string_view name);
    ~Key();
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    [[nodiscard]] const NameRange& Name() const { return name; }
    [[nodiscard]] const KeyList& Children() const { return children; }
    [[nodiscard]] const ValueList& Values() const { return values; }

    // Keys

    /// Opens the key at `path`; keys that are missing are added. An empty path, and one that begins with a separator,
    /// is this key. `*created` is set to 1 if the first key of the path was added, and isn't written otherwise. Returns
    /// null if the host or the heap has no memory; the tree is unchanged then.
    Key* OpenPath(std::string_view path, std::uint32_t* created);

    /// Appends a child, even if one of that name exists. The name isn't taken as a path. Returns null as `OpenPath`.
    Key* AddKey(const HashedName& childName);

    /// Returns the key at `path`, or null. `*parent` is set to the last key in which a name was looked up; an empty
    /// path leaves it unwritten.
    Key* FindPath(std::string_view path, Key** parent) const;

    /// As `FindPath`, but `/` and `\` separate alike.
    Key* FindPathRange(std::string_view path, Key** parent) const;

    /// Returns the child at that position, or null at or above `ChildCount`.
    Key* ChildByIndex(std::uint32_t index) const;

    /// Returns the child after `child`, which must be a child of this key; null if it is the last.
    [[nodiscard]] Key* NextChild(const Key& child) const;

    [[nodiscard]] std::uint32_t ChildCount() const { return static_cast<std::uint32_t>(children.size()); }

    /// Finds the parent of `key` in the subtree of this key. If `key` is this key, `parent` is this key too. `key` is
    /// only compared: it may be the address of a removed key. Returns `kUnspecified` if `key` is not in the subtree, or
    /// `kOutOfMemory` if the search has no memory; `parent` is null then.
    ResultCode ParentOf(const Key* key, const Key*& parent) const;

    /// Writes the path from this key to `target`, both names included, with a terminator, at `dst + length`, and adds
    /// its length in bytes without the terminator to `length`. If `length` isn't 0, a separator is written first. `cap`
    /// is the size of `dst`. A null `dst` only measures. Returns `kBufferTooSmall` with `length` as on success,
    /// `kUnspecified` with `length` unchanged if `target` is not in the subtree, `kInvalidArgument` for a null
    /// `target`, or `kOutOfMemory`.
    ResultCode GetPath(const Key* target, char* dst, std::uint32_t cap, std::uint32_t& length, char separator) const;

    /// Removes the key at `path` and all below it. Returns `kNoSuchEntry`, or `kInvalidArgument` if the path is this
    /// key itself.
    ResultCode RemovePath(std::string_view path);

    /// Removes the child at that position and all below it, or returns `kNoSuchEntry`.
    ResultCode RemoveChildAt(std::uint32_t index);

    /// Destroys `child` and all below it. Unless `keepIndex` is true, also erases the index record of its name, even if
    /// that record refers to another child with an equal name.
    void RemoveChild(Key* child, bool keepIndex);

    /// Removes all values and all child keys; this key stays.
    void Clear();

    // Values

    /// Returns the value of that name, or null. If it is a tSTRING value whose text is the redirect marker, returns
    /// instead the value `kUnnamedValueName` of the child key of the same name, if there is one, and so on from there.
    Value* FindValue(const HashedName& valueName) const;
    Value* FindValue(const char* valueName) const { return FindValue(MakeHashedName(valueName)); }

    /// Appends a value, even if one of that name exists. Returns `kOutOfMemory` if there is no memory or the type can't
    /// be stored, `kInvalidArgument` for a null name, or the code of a failed `Value::Set`. A failed call adds no
    /// value. If `Value::Set` or the insertion into the index fails, the call also erases the index record of that
    /// name, even if the record refers to an earlier value.
    ResultCode AddValue(const HashedName& valueName, TypeCode code, const void* data, std::uint32_t size);
    ResultCode AddValue(const char* valueName, TypeCode code, const void* data, std::uint32_t size);

    /// Appends a value named `kUnnamedValueName` with `index` appended. Returns `kInvalidArgument` if `index` is above
    /// `ValueCount`, `kAlreadyExists` if it is below.
    ResultCode AddValueAt(std::uint32_t index, TypeCode code, const void* data, std::uint32_t size);

    /// As `AddValue`, with the value in its text form, as documents contain it.
    ResultCode AddValueFromText(const HashedName& valueName, TypeCode code, const char* text);

    /// Return the value, or its name, at that position; null at or above `ValueCount`.
    [[nodiscard]] Value* ValueAt(std::uint32_t index) const;
    [[nodiscard]] const NameRange* ValueNameAt(std::uint32_t index) const;

    [[nodiscard]] std::uint32_t ValueCount() const { return static_cast<std::uint32_t>(values.size()); }

    /// Both return `kNoSuchEntry` if there is no such value.
    ResultCode RemoveValue(const char* valueName);
    ResultCode RemoveValueAt(std::uint32_t index);

private:
    friend struct KeyLayout;

    Key* FindChild(const HashedName& childName) const;

    /// Appends a child. Returns null if the host or the heap has no memory.
    Key* AddChild(std::string_view childName, std::uint32_t hash);

    /// Removes `child`, which was added just now; the index then is as before.
    void UndoAddChild(Key* child);

    /// Adds a record to the index unless one of that name exists. Returns false if the heap has no memory.
    bool IndexChild(Key& child, std::uint32_t hash);
    bool IsIndexed(const Key& child) const;

    template <class Splitter>
    Key* WalkPath(Splitter path, Key** parent) const;

    /// Fills `path` with the keys from this one down to `target`, both included. Returns `kUnspecified` if `target` is
    /// not in the subtree, or `kOutOfMemory`.
    ResultCode PathFromRoot(const Key* target, std::vector<const Key*>& path) const;

    /// Returns the value that `redirect`, the value `valueName` of this key, refers to; `redirect` itself if there is
    /// none.
    Value* FollowRedirect(std::string_view valueName, Value& redirect) const;

    ValueEntry* FindEntry(const HashedName& valueName) const;
    ValueEntry* EntryAt(std::uint32_t index) const;

    /// Creates an entry without a name, not yet in the list. Returns null for a type that can't be stored, or if the
    /// host has no memory.
    ValueEntry* NewEntry(TypeCode code);

    /// As `RemoveChild`.
    void RemoveEntry(ValueEntry* entry, bool keepIndex);

    /// Appends an entry with the name; `setValue(Value&)` sets its value. A name with a null pointer is
    /// `kInvalidArgument`.
    template <class SetValue>
    ResultCode AddEntry(const HashedName& valueName, TypeCode code, SetValue setValue);

    /// Replaces the text of `target` by a copy of `source` in a host block.
    ResultCode CopyName(std::string_view source, NameRange& target) const;
    void FreeName(NameRange& target) const;

    const HostObject* owner;
    NameRange name;
    KeyList children;
    ChildIndex childIndex;
    ValueList values;
    ValueIndex valueIndex;
    mutable IndexCursor<KeyList> cursor;
    mutable IndexCursor<ValueList> valueCursor;
};

}   // namespace arbor::module
