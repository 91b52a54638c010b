/// What a user of an XML library would add to it to do the store's work: a tree of keys with case-insensitive hash
/// indexes and typed values. Names and strings refer to the library's memory.
#pragma once

#include "peer.h"

#include <cstring>
#include <deque>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

namespace bench {

/// Hashes a machine word at a time with the case bit of each byte set. Letters of both cases become equal; so do some
/// other bytes, which `FoldedEqual` distinguishes.
struct FoldedHash {
    std::size_t operator()(std::string_view name) const {
        std::size_t hash = name.size();
        for (; name.size() >= kBytes; name.remove_prefix(kBytes)) hash = Mix(hash, Load(name.data(), kBytes));
        return Mix(hash, Load(name.data(), name.size()));
    }

private:
    static constexpr std::size_t kBytes = sizeof(std::size_t);

    static std::size_t Load(const char* bytes, std::size_t count) {
        constexpr std::size_t kCaseBits = ~std::size_t{0} / 0xFF * 0x20;
        std::size_t word = 0;
        std::memcpy(&word, bytes, count);
        return word | kCaseBits;
    }
    static std::size_t Mix(std::size_t hash, std::size_t word) {
        constexpr auto kMultiplier = static_cast<std::size_t>(0x9E3779B97F4A7C15 >> (64 - 8 * kBytes)) | 1;
        hash = (hash ^ word) * kMultiplier;
        return hash ^ hash >> (4 * kBytes);
    }
};

/// Compares without regard to the case of ASCII letters.
struct FoldedEqual {
    static char Fold(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }
    bool operator()(std::string_view a, std::string_view b) const {
        if (a.size() != b.size()) return false;
        for (std::size_t i = 0; i < a.size(); ++i) {
            if (a[i] != b[i] && Fold(a[i]) != Fold(b[i])) return false;
        }
        return true;
    }
};

/// `Handle` is the library's reference to a node: that of a key, or the one with a value's text.
template <class Handle>
class IndexedTree {
public:
    struct Value {
        std::variant<std::uint32_t, std::uint64_t, std::string_view, std::string> datum;
        Kind kind;
        Handle text;
    };
    struct Key {
        std::string_view name;
        Handle node;
        std::unordered_map<std::string_view, Key*, FoldedHash, FoldedEqual> keys;
        std::unordered_map<std::string_view, Value, FoldedHash, FoldedEqual> values;
    };

    explicit IndexedTree(Handle root) { keys.emplace_back().node = root; }

    [[nodiscard]] Key& Root() { return keys.front(); }

    /// Of keys with equal names the first is found by name; so it is with values.
    Key& AddKey(Key& parent, std::string_view name, Handle node) {
        Key& key = keys.emplace_back();
        key.name = name;
        key.node = node;
        parent.keys.try_emplace(name, &key);
        return key;
    }

    static void AddValue(Key& parent, std::string_view name, Kind kind, std::string_view text, Handle handle) {
        Value value{{}, kind, handle};
        SetDatum(value, text);
        parent.values.try_emplace(name, std::move(value));
    }

    [[nodiscard]] Key* Find(std::string_view path) {
        Key* key = &Root();
        while (!path.empty()) {
            const auto found = key->keys.find(CutName(path));
            if (found == key->keys.end()) return nullptr;
            key = found->second;
        }
        return key;
    }

    [[nodiscard]] static Value* FindValue(Key& key, std::string_view name) {
        const auto found = key.values.find(name);
        return found != key.values.end() ? &found->second : nullptr;
    }

    static std::size_t Copy(const Value& value, char* buffer) {
        return std::visit(
            [buffer](const auto& datum) -> std::size_t {
                using Datum = std::decay_t<decltype(datum)>;
                if constexpr (std::is_integral_v<Datum>) {
                    std::memcpy(buffer, &datum, sizeof datum);
                    return sizeof datum;
                } else {
                    std::memcpy(buffer, datum.data(), datum.size());
                    if constexpr (std::is_same_v<Datum, std::string>) return datum.size();
                    buffer[datum.size()] = '\0';
                    return datum.size() + 1;
                }
            },
            value.datum);
    }

    /// Sets the typed datum from the text in the library. A string refers to it.
    static void SetDatum(Value& value, std::string_view text) {
        switch (value.kind) {
            case Kind::Dword:
            case Kind::Bool:
                value.datum = ParseNumber<std::uint32_t>(text);
                break;
            case Kind::Qword:
                value.datum = ParseNumber<std::uint64_t>(text);
                break;
            case Kind::String:
                value.datum = text;
                break;
            case Kind::Binary: {
                std::string bytes(text.size() / 2, '\0');
                ParseHex(text, bytes.data());
                value.datum = std::move(bytes);
                break;
            }
        }
    }

    [[nodiscard]] ContentDigest Enumerate() const {
        Enumeration content;
        for (const Key& key : keys) {
            if (&key != &keys.front()) content.AddKey(key.name);
            for (const auto& [name, value] : key.values) content.AddValue(name, Copy(value, content.ValueBuffer()));
        }
        return content.Digest();
    }

private:
    std::deque<Key> keys;   // the root first
};

}   // namespace bench
