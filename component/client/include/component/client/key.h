/// A key of the store: reads and writes of its values, its subkeys as a range, and references by path.
#pragma once

#include <component/client/range.h>

#include <algorithm>
#include <limits>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace arbor {

class KeyRange;
class Place;

/// An open key: an object and a handle. It needs no closing. The handle is valid until the key or one above it is
/// deleted, or the object is destroyed.
class Key {
public:
    Key() = default;
    Key(HostObject* store, KeyHandle key) : object(store), handle(key) {}

    [[nodiscard]] HostObject* Object() const { return object; }
    [[nodiscard]] KeyHandle Handle() const { return handle; }

    /// Refers to the key at `path` below this one, as in `store["Network/Proxy"].Get<int>("Port")`.
    [[nodiscard]] Place operator[](Text path) const;

    /// Opens the key at `path` below this one. `kernel::kNoSuchEntry` if there is none.
    Result<Key> Open(Text path) const { return OpenWith(path, kDontCreate); }
    /// Opens the key at `path` below this one and creates the keys of the path that are missing. Calls `OpenKey` for
    /// each name by itself, because `OpenKey` marks the document as changed only if it creates the first key of its
    /// path.
    Result<Key> Make(Text path) const {
        Result<Key> key = *this;
        std::string_view rest = path.Chars();
        try {
            while (key && !rest.empty()) {
                const std::string name(rest.substr(0, rest.find_first_of("/\\")));
                if (name.empty()) break;   // as in the interface, an empty name ends the path
                key = key->OpenWith(name, kCreate);
                rest.remove_prefix(std::min(name.size() + 1, rest.size()));
            }
            return key;
        } catch (const std::bad_alloc&) {
            return Status(kernel::kOutOfMemory);
        }
    }

    Result<std::string> Name() const { return ReadName(kOwnName); }
    /// The path from the current root. If the root has a name, the path begins with it.
    Result<std::string> Path() const { return ReadName(kFullName); }

    /// Reads the value `name` as a `T`: a scalar, `std::string`, `std::u16string` or `Blob`. A value of another type is
    /// converted. Exception: a binary value of exactly the size that the interface has for the scalar is copied as it
    /// is.
    template <class T>
    Result<T> Get(Text name) const {
        return detail::ReadAs<T>(ValueNamed(name));
    }

    /// Reads the value `name` in the type `wanted`, or in its own type if that is 0.
    Result<Datum> Read(Text name, TypeCode wanted = 0) const { return detail::ReadDatum(wanted, ValueNamed(name)); }

    Result<TypeCode> Type(Text name) const { return detail::ReadType(ValueNamed(name)); }

    /// Writes the value `name`. A missing value is created with the type that corresponds to the argument. An existing
    /// value keeps its type, and the argument is converted. Exception: a `tWSTRING` stores the bytes of any argument
    /// without conversion, so write it only as UTF-16 text.
    template <Scalar T>
    Status Set(Text name, T value) const {
        const auto wire = static_cast<typename detail::ScalarTraits<T>::Wire>(value);
        return Write(name, detail::ScalarTraits<T>::kType, &wire, sizeof wire);
    }
    Status Set(Text name, std::string_view text) const {
        return Write(name, kernel::tSTRING, text.data(), text.size());
    }
    Status Set(Text name, std::u16string_view text) const {
        return Write(name, kernel::tWSTRING, text.data(), text.size() * sizeof(char16_t));
    }
    Status Set(Text name, std::span<const std::byte> blob) const {
        return Write(name, kernel::tBINARY, blob.data(), blob.size());
    }
    /// The same, for any type of the store.
    Status Set(Text name, const Datum& datum) const {
        return Write(name, datum.type, datum.bytes.data(), datum.bytes.size());
    }

    [[nodiscard]] ValueRange Values() const { return {object, handle, Status()}; }
    [[nodiscard]] KeyRange Keys() const;

    /// Deletes a value.
    Status Remove(Text name) const { return Status(Methods().DeleteValue(object, handle, name.Chars())); }
    /// Deletes the key at `path` below this one, with all keys and values in it.
    Status RemoveKey(Text path) const { return Status(Methods().DeleteKey(object, handle, path.Chars())); }
    /// Copies the values and subkeys of this key into `target`. With `Synchronised`, `target` must be a key of another
    /// object.
    Status CopyTo(const Key& target) const {
        return Status(Methods().CopyKey(object, handle, target.object, target.handle));
    }

private:
    friend class Place;

    static constexpr std::uint32_t kDontCreate = 0;
    static constexpr std::uint32_t kCreate = 1;
    static constexpr std::uint32_t kOwnName = 0;    // the count includes the terminator
    static constexpr std::uint32_t kFullName = 1;   // the count excludes it

    [[nodiscard]] kernel::Registry Methods() const { return kernel::Registry(object); }

    [[nodiscard]] detail::ValueByName ValueNamed(Text name) const { return {object, handle, name}; }

    Result<Key> OpenWith(Text path, std::uint32_t create) const {
        KeyHandle opened = kernel::kNoKey;
        const ResultCode code = Methods().OpenKey(object, &opened, handle, path.Chars(), create);
        if (kernel::IsFailure(code)) return Status(code);
        return Key(object, opened);
    }

    Result<std::string> ReadName(std::uint32_t full) const {
        auto name = detail::ReadWhole<std::string>([&](std::uint32_t* count, char* buffer, std::uint32_t size) {
            return Methods().GetKeyName(object, count, handle, buffer, size, full);
        });
        return full != 0 ? name : detail::WithoutTerminator(std::move(name));
    }

    Status Write(Text name, TypeCode type, const void* data, std::size_t size) const {
        if (size > std::numeric_limits<std::uint32_t>::max()) return Status(kernel::kOutOfMemory);
        const void* bytes = data != nullptr ? data : "";   // an empty text or blob may have a null address
        return Status(
            Methods().SetValue(object, handle, name.Chars(), type, bytes, static_cast<std::uint32_t>(size), kCreate));
    }

    HostObject* object = nullptr;
    KeyHandle handle = kernel::kNoKey;
};

/// The subkeys of a key in their order, for a single pass. If a subkey is deleted that the pass has already reached,
/// the following ones move to lower indexes and the pass skips one.
class KeyRange : public Walk<KeyRange> {
public:
    /// Empty if `opened` is a failure, which `Outcome` then returns.
    KeyRange(const Key& key, Status opened) : parent(key) { opened ? OpenChild() : End(opened); }

    [[nodiscard]] const Key& Current() const { return child; }
    void Advance() {
        ++index;
        OpenChild();
    }

private:
    void OpenChild() {
        HostObject* const object = parent.Object();
        KeyHandle handle = kernel::kNoKey;
        const ResultCode code = kernel::Registry(object).OpenKeyByIndex(object, &handle, parent.Handle(), index);
        if (kernel::IsFailure(code)) return End(Status(code == kernel::kNoSuchEntry ? kernel::kDone : code));
        child = Key(object, handle);
    }

    Key parent;
    Key child;
    std::uint32_t index = 0;
};

/// The result of `key[path]`: a key and a path below it. Each call opens the path again. `Get`, `Values` and `Keys`
/// don't create a missing key; `Set` does. Refers to the caller's characters of the path, so use it only in the
/// expression that creates it.
class Place {
public:
    Place(const Key& from, Text to) : parent(from), path(to) {}

    Result<Key> Open() const { return parent.Open(path); }
    Result<Key> Make() const { return parent.Make(path); }

    template <class T>
    Result<T> Get(Text name) const {
        const Result<Key> key = Open();
        if (!key) return Status(key.Code());
        return key->Get<T>(name);
    }

    template <class T>
    Status Set(Text name, const T& value) const {
        const Result<Key> key = parent.OpenWith(path, Key::kCreate);   // `Set` marks the document as changed
        return key ? key->Set(name, value) : Status(key.Code());
    }

    [[nodiscard]] ValueRange Values() const {
        const Result<Key> key = Open();
        return {key->Object(), key->Handle(), key};
    }
    [[nodiscard]] KeyRange Keys() const {
        const Result<Key> key = Open();
        return {*key, key};
    }

private:
    Key parent;
    Text path;
};

inline Place Key::operator[](Text path) const { return {*this, path}; }
inline KeyRange Key::Keys() const { return {*this, Status()}; }

}   // namespace arbor
