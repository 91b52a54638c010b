/// References to keys by path, as `store["Network"]["Proxy"]`.
#pragma once

#include <component/client/walk.h>

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

    /// The key, or one that holds the failure of opening it, for functions that take a `Key`.
    operator Key() const { return *Open(); }

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

}   // namespace arbor
