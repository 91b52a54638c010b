/// A node of the store's tree: a name, child keys and values, both in order of creation and both found by name.
///
/// A key owns all that lies below it, in blocks of the host's heap; it doesn't know its parent. Names are compared
/// without regard to ASCII case. Two children or two values of one name can stand in the lists (documents bring them);
/// the indexes then know the first alone. Depth costs no stack: whatever walks the tree does so in a loop.
///
/// No lock here: the object above holds its lock shared for the const operations, exclusive for the others. No
/// exception leaves an operation.
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

/// Name of a value that has none: a foreign element's text, and a value added by index (with its index appended).
inline constexpr char kUnnamedValue[] = "noname";

class Key;
using KeyList = boost::intrusive::list<Key, boost::intrusive::constant_time_size<true>>;

/// Hash and equality of the two indexes: the hash is stored with the name and not computed anew in a lookup or a
/// rehash.
struct StoredHash {
    std::size_t operator()(const HashedName& name) const { return name.hash; }
    std::size_t operator()(const ValueEntry* entry) const { return entry->hash; }
};
struct SameName {
    bool operator()(const HashedName& a, const HashedName& b) const {
        return a.hash == b.hash && NameEquals(a.name.View(), b.name.View());
    }
    bool operator()(const HashedName& a, const ValueEntry* b) const {
        return (*this)(a, static_cast<const HashedName&>(*b));
    }
    bool operator()(const ValueEntry* a, const ValueEntry* b) const { return (*this)(*a, b); }
};

/// A child by name; the name is the child's own.
using ChildIndex = boost::unordered_map<HashedName, Key*, StoredHash, SameName>;
using ValueIndex = boost::unordered_set<ValueEntry*, StoredHash, SameName>;

class Key : public boost::intrusive::list_base_hook<> {
public:
    /// `owner` serves the host memory of the key and of all below it. If the host has no memory for the name, the key
    /// has an empty one: the maker compares.
    Key(const HostObject* owner, std::string_view name);
    ~Key();
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    [[nodiscard]] const NameRange& Name() const { return name; }
    [[nodiscard]] const KeyList& Children() const { return children; }
    [[nodiscard]] const ValueList& Values() const { return values; }

    // Keys

    /// Opens the key at `path`, making what is missing; an empty path and one with a leading separator give this key.
    /// `alwaysNew` makes the path's first key even where its name exists. `*created` becomes 1 if the first key was
    /// made, and stays otherwise. Null if the host or the heap has no memory: then the tree is as it was.
    Key* OpenPath(std::string_view path, bool alwaysNew, std::uint32_t* created);

    /// The key at `path`, or null. `*parent` gets the last key in which a name was looked up; an empty path leaves it
    /// alone.
    Key* FindPath(std::string_view path, Key** parent) const;

    /// The same for a range in which `/` and `\` separate alike.
    Key* FindPathRange(std::string_view path, Key** parent) const;

    /// The child at that place, or null.
    Key* ChildByIndex(std::uint32_t index) const;

    /// The child behind `child`, which is one of this key's; null if it is the last.
    [[nodiscard]] Key* NextChild(const Key& child) const;

    [[nodiscard]] std::uint32_t ChildCount() const { return static_cast<std::uint32_t>(children.size()); }

    /// Finds the key above `key` in the subtree of this one; this key counts as its own parent.
    /// `parent` is null on a failure: `kUnspecified` for a key that isn't there, `kOutOfMemory` if the walk had no
    /// memory.
    ResultCode ParentOf(const Key* key, const Key*& parent) const;

    /// Writes the path from this key to `target` at the offset `length` and adds to `length` what it takes, without the
    /// terminator. A null `dst` only measures. `kBufferTooSmall` with the needed length, `kUnspecified` for a key
    /// outside the subtree with `length` as it was, `kInvalidArgument` for a null target, `kOutOfMemory`.
    ResultCode GetPath(const Key* target, char* dst, std::uint32_t cap, std::uint32_t& length, char separator) const;

    /// Removes the key at `path` with all below it. `kNoSuchEntry`; `kInvalidArgument` where the path gives this key
    /// itself.
    ResultCode RemovePath(std::string_view path);

    /// Removes the child at that place with all below it, or `kNoSuchEntry`.
    ResultCode RemoveChildAt(std::uint32_t index);

    /// Destroys `child` and all below it. The record of its name goes too, whichever child it stood for, unless
    /// `keepIndex`.
    void RemoveChild(Key* child, bool keepIndex);

    /// Removes all values and all child keys; this key stays.
    void Clear();

    // Values

    /// The value of that name, or null. A text that holds the marker "![CDATA[" stands for the value "noname" of the
    /// child key of the same name, if there is one.
    Value* FindValue(const char* valueName) const;

    /// Adds a value at the end, whether or not the name is there. `kOutOfMemory` also for a type that can't be stored;
    /// `kInvalidArgument` for a null name; otherwise what the value's `Set` says. A failed add leaves no entry.
    /// One that fails after its entry was named erases the index record of the name, also that of an earlier entry.
    ResultCode AddValue(const char* valueName, TypeCode code, const void* data, std::uint32_t size);

    /// The same for a name that must be new, else `kAlreadyExists`.
    ResultCode AddNewValue(const char* valueName, TypeCode code, const void* data, std::uint32_t size);

    /// Adds a value named "noname" and `index` at the place `index`, which must be the one behind the last:
    /// `kInvalidArgument` above it, `kAlreadyExists` below.
    ResultCode AddValueAt(std::uint32_t index, TypeCode code, const void* data, std::uint32_t size);

    /// The same as `AddValue` with the value's text form, as documents have it.
    ResultCode AddValueFromText(std::string_view valueName, TypeCode code, const char* text);

    /// The value, or its name, at that place; null behind the last.
    [[nodiscard]] Value* ValueAt(std::uint32_t index) const;
    [[nodiscard]] const char* ValueNameAt(std::uint32_t index) const;

    [[nodiscard]] std::uint32_t ValueCount() const { return static_cast<std::uint32_t>(values.size()); }

    /// Both `kNoSuchEntry` if there is no such value.
    ResultCode RemoveValue(const char* valueName);
    ResultCode RemoveValueAt(std::uint32_t index);

private:
    friend struct KeyLayout;

    Key* FindChild(const HashedName& childName) const;
    Key* AddChild(std::string_view childName, std::uint32_t hash);
    bool IndexChild(Key& child, std::uint32_t hash);
    bool IsIndexed(const Key& child) const;

    template <class Cutter>
    Key* WalkPath(Cutter path, Key** parent) const;

    /// Fills `lineage` with the keys from this one down to `target`, both counted.
    ResultCode FindLineage(const Key* target, std::vector<const Key*>& lineage) const;

    ValueEntry* FindEntry(std::string_view valueName) const;
    ValueEntry* EntryAt(std::uint32_t index) const;
    ValueEntry* NewEntry(TypeCode code);
    void RemoveEntry(ValueEntry* entry, bool keepIndex);

    /// The one way of adding: makes the entry, names it, lets `fill` give its value the contents, and links it. A view
    /// of nothing is refused as a missing name; an empty one isn't.
    template <class Fill>
    ResultCode AddFilled(std::string_view valueName, TypeCode code, Fill fill);

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
