/// References to keys by path, as `store["Network"]["Proxy"]`.
#pragma once

#include <component/client/walk.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace arbor {

/// The result of `key[path]`: a key, and paths below it that are opened one after the other. Each call opens them
/// again. `Set` and `SetLenient` create the keys that are missing, which stay if the value is then refused; an empty
/// `std::optional` creates none, nor does any other call. Refers to the caller's characters of the paths, which must
/// outlive it. The calls are those of `Key`.
template <std::size_t paths>
class Reference {
public:
    Reference(const Key& key, const std::array<Text, paths>& below) : from(key), path(below) {}

    [[nodiscard]] Reference<paths + 1> operator[](Text next) const {
        return [&]<std::size_t... i>(std::index_sequence<i...>) {
            return Reference<paths + 1>(from, {path[i]..., next});
        }
        (std::make_index_sequence<paths>());
    }

    Result<Key> Open() const {
        return OpenEach([](const Key& key, Text next) { return key.Open(next); });
    }
    Result<Key> Make() const {
        return OpenEach([](const Key& key, Text next) { return key.Make(next); });
    }

    template <class T>
    Result<T> Get(Text name) const {
        return Open()->template Get<T>(name);
    }
    template <class T>
    Result<T> GetLenient(Text name) const {
        return Open()->template GetLenient<T>(name);
    }
    template <class T>
    Result<T> Get() const {
        return Open()->template Get<T>();
    }
    template <class T = Datum>
    Status Set(Text name, const T& value) const {
        return KeyFor(value)->Set(name, value);
    }
    template <class T = Datum>
    Status SetLenient(Text name, const T& value) const {
        return KeyFor(value)->SetLenient(name, value);
    }
    template <detail::Structure T>
    Status Set(const T& value) const {
        return Make()->Set(value);
    }

    Result<Datum> Read(Text name, TypeCode wanted = 0) const { return Open()->Read(name, wanted); }
    Result<Datum> ReadLenient(Text name, TypeCode wanted) const { return Open()->ReadLenient(name, wanted); }
    template <class T>
    Result<T> GetAt(std::uint32_t index) const {
        return Open()->template GetAt<T>(index);
    }
    template <class T = Datum>
    Status SetAt(std::uint32_t index, const T& value) const {
        return Open()->SetAt(index, value);
    }
    Status RemoveAt(std::uint32_t index) const { return Open()->RemoveAt(index); }
    Result<Key> KeyAt(std::uint32_t index) const { return Open()->KeyAt(index); }
    Status RemoveKeyAt(std::uint32_t index) const { return Open()->RemoveKeyAt(index); }

    Result<TypeCode> Type(Text name) const { return Open()->Type(name); }
    [[nodiscard]] bool Contains(Text name) const { return Open()->Contains(name); }
    Status Remove(Text name) const { return Open()->Remove(name); }
    Status RemoveKey(Text below) const { return Open()->RemoveKey(below); }
    Result<Counts> Count() const { return Open()->Count(); }
    Status CopyTo(const Key& target) const { return Open()->CopyTo(target); }
    Result<std::string> Name() const { return Open()->Name(); }
    Result<std::string> Path() const { return Open()->Path(); }
    Result<Key> Parent() const { return Open()->Parent(); }
    [[nodiscard]] ValueRange Values() const { return Open()->Values(); }
    [[nodiscard]] KeyRange Keys() const { return Open()->Keys(); }
    [[nodiscard]] WalkRange Walk() const { return Open()->Walk(); }

private:
    /// The key to write `value` to. To delete an absent value, no key is created.
    template <class T>
    Result<Key> KeyFor(const T& value) const {
        return detail::IsAbsent(value) ? Open() : Make();
    }

    template <class Step>
    Result<Key> OpenEach(Step step) const {
        Result<Key> key = step(from, path[0]);
        for (std::size_t i = 1; i < paths; ++i) key = step(*key, path[i]);
        return key;
    }

    Key from;
    std::array<Text, paths> path;
};

inline Reference<1> Key::operator[](Text path) const { return {*this, {path}}; }

inline Result<Key> Key::Parent() const {
    if (address.object == nullptr) return Status(address.failure);
    const Key root(address.object, 0);
    const Result<std::string> full = Path();
    const Result<std::string> rootName = root.Name();
    if (!full || !rootName) return Status(full ? rootName.Code() : full.Code());
    if (root.Open("")->Handle() == Open("")->Handle()) return Status(kernel::kNoSuchEntry);

    std::string_view below = *full;   // names after that of the root, if it has one, with `\` between them
    if (!rootName->empty()) below.remove_prefix(std::min(rootName->size() + 1, below.size()));
    const std::size_t last = below.rfind('\\');
    const Result<Key> likely = root.Open(last != below.npos ? below.substr(0, last) : std::string_view());
    if (likely && likely->Open(below.substr(last + 1))->Handle() == address.handle) return likely;

    WalkRange walk = root.Walk();
    for (const WalkStep& step : walk) {
        for (const Key& child : step.key.Keys()) {
            if (child.Handle() == address.handle) return step.key;
        }
    }
    return Status(walk.Outcome() ? kernel::kNoSuchEntry : walk.Outcome().Code());
}

}   // namespace arbor
