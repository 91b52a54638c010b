/// A compact copy of a tree of keys and values, for commands that compare two trees: one is loaded, the other is
/// packed. A loaded tree of a typical document takes 2.7 bytes a byte of the document, a packed one 0.4.
#pragma once

#include "document.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace arborctl {

class PackedKey;

/// Entries are added in the order of a depth-first walk: a key, its values and subkeys in any order, its end.
class PackedTree {
public:
    /// Opens a key: the root first, then keys below the innermost open key.
    void EnterKey();
    /// Names the innermost open key, at any time before `LeaveKey`. The root needs no name.
    void NameKey(std::string_view name);
    /// Adds a value to the innermost open key.
    void AddValue(std::string_view name, const arbor::Datum& datum);
    void LeaveKey();

    /// The root, which must have been left. Valid until the tree is changed or moved.
    [[nodiscard]] PackedKey Root() const;

    /// Calls `onKey(name, depth)` for each key and `onValue(name, datum, depth)` for each value with the depth of its
    /// key, in the order of their addition. The root has depth 0.
    template <class OnKey, class OnValue>
    void ForEach(OnKey onKey, OnValue onValue) const {
        std::vector<std::size_t> ends;   // of the open keys
        for (std::size_t position = 0; position < bytes.size();) {
            const Entry entry = ReadEntry(position);
            while (!ends.empty() && position >= ends.back()) ends.pop_back();
            if (entry.type != 0) {
                onValue(entry.name, entry.Datum(), ends.size() - 1);
                position = entry.end;
            } else {
                onKey(entry.name, ends.size());
                ends.push_back(entry.end);
                position = entry.content;
            }
        }
    }

private:
    friend class PackedKey;

    /// Stored before the content of a key, after a type of 0.
    struct KeyHeader {
        std::size_t name = 0;   // its position in `names`
        std::size_t end = 0;    // of the content
    };

    /// A key or value as it was read.
    struct Entry {
        kernel::TypeCode type = 0;   // 0: a key
        std::string_view name{};
        std::string_view data{};   // of a value
        std::size_t content = 0;   // the position of a key's first entry
        std::size_t end = 0;

        [[nodiscard]] arbor::Datum Datum() const { return {type, std::string(data)}; }
    };

    [[nodiscard]] Entry ReadEntry(std::size_t position) const;

    std::string bytes{};               // the root key with its content
    std::string names{};               // of keys; apart from `bytes`, since `NameKey` may come after the content
    std::vector<std::size_t> open{};   // the positions of the open keys' headers
};

/// A key of a packed tree, to which it refers.
class PackedKey {
public:
    [[nodiscard]] std::string_view Name() const { return name; }

    /// Calls `work(name, datum)` for each value.
    template <class Work>
    void ForEachValue(Work work) const {
        ForEachEntry([&](const PackedTree::Entry& entry) {
            if (entry.type != 0) work(entry.name, entry.Datum());
        });
    }
    /// Calls `work(key)` for each child key.
    template <class Work>
    void ForEachKey(Work work) const {
        ForEachEntry([&](const PackedTree::Entry& entry) {
            if (entry.type == 0) work(PackedKey(*tree, entry));
        });
    }

private:
    friend class PackedTree;

    PackedKey(const PackedTree& owner, const PackedTree::Entry& key)
        : tree(&owner), name(key.name), content(key.content), end(key.end) {}

    template <class Work>
    void ForEachEntry(Work work) const {
        for (std::size_t position = content; position < end;) {
            const PackedTree::Entry entry = tree->ReadEntry(position);
            work(entry);
            position = entry.end;
        }
    }

    const PackedTree* tree;
    std::string_view name;
    std::size_t content;
    std::size_t end;
};

/// Which names a packed tree has: those of the store, which may repeat, or the printed ones, as of `PrintedPaths`.
enum class PackedNames {
    Own,
    Printed,
};

/// Packs the keys and values below `top`. Counts the keys in `stage`.
[[nodiscard]] PackedTree Pack(const arbor::Key& top, PackedNames form, Progress::Stage stage = {});

}   // namespace arborctl
