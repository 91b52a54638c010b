/// A key of the store: its values, the keys below it, and references by path.
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

/// A key that is open. A handle costs nothing, and stays good until its key is deleted.
class Key {
public:
    Key() = default;
    Key(HostObject* store, KeyHandle key) : object(store), handle(key) {}

    [[nodiscard]] HostObject* Object() const { return object; }
    [[nodiscard]] KeyHandle Handle() const { return handle; }

    /// The key at `path` below this one, to read from or to write to where it stands.
    [[nodiscard]] Place operator[](Text path) const;

    Result<Key> Open(Text path) const { return OpenWith(path, kDontCreate); }
    /// Makes the keys that are missing. One by one: a call marks the document as changed for the first key of its path
    /// alone.
    Result<Key> Make(Text path) const {
        Result<Key> key = *this;
        std::string_view rest = path.Chars();
        try {
            while (key && !rest.empty()) {
                const std::string name(rest.substr(0, rest.find_first_of("/\\")));
                if (name.empty()) break;   // the end of the path to the store too
                key = key->OpenWith(name, kCreate);
                rest.remove_prefix(std::min(name.size() + 1, rest.size()));
            }
            return key;
        } catch (const std::bad_alloc&) {
            return Status(kernel::kOutOfMemory);
        }
    }

    Result<std::string> Name() const { return ReadName(kOwnName); }
    /// From the current root, whose own name comes first if it has one.
    Result<std::string> Path() const { return ReadName(kFullName); }

    /// A value in the form of `T`: converted if it has another type, but for a blob of just as many bytes as a scalar
    /// has, which gives them as they are.
    template <class T>
    Result<T> Get(Text name) const {
        return detail::ReadAs<T>(Called(name));
    }

    /// A value's bytes in the type `asked`, 0 being its own.
    Result<Datum> Read(Text name, TypeCode asked = 0) const { return detail::ReadDatum(asked, Called(name)); }

    Result<TypeCode> Type(Text name) const { return detail::ReadType(Called(name)); }

    /// Makes a value of the type that goes with the argument, or changes one, which keeps its type and takes the new
    /// value converted. A wide text takes wide text only: all else would come in as the bytes of one.
    template <Scalar T>
    Status Set(Text name, T value) const {
        const auto wire = static_cast<typename detail::Form<T>::Wire>(value);
        return Write(name, detail::Form<T>::kType, &wire, sizeof wire);
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
    /// The same for any type; a text needs no terminator.
    Status Set(Text name, const Datum& datum) const {
        return Write(name, datum.type, datum.bytes.data(), datum.bytes.size());
    }

    [[nodiscard]] ValueRange Values() const { return {object, handle, Status()}; }
    [[nodiscard]] KeyRange Keys() const;

    /// Deletes a value.
    Status Remove(Text name) const { return Status(Methods().DeleteValue(object, handle, name.Chars())); }
    /// Deletes the key at `path` with all below it.
    Status RemoveKey(Text path) const { return Status(Methods().DeleteKey(object, handle, path.Chars())); }
    /// Copies what is in this key into one of another object.
    Status CopyTo(const Key& target) const {
        return Status(Methods().CopyKey(object, handle, target.object, target.handle));
    }

private:
    friend class Place;

    static constexpr std::uint32_t kDontCreate = 0;
    static constexpr std::uint32_t kCreate = 1;
    static constexpr std::uint32_t kOwnName = 0;    // counted with its terminator
    static constexpr std::uint32_t kFullName = 1;   // counted without

    [[nodiscard]] kernel::Registry Methods() const { return kernel::Registry(object); }

    [[nodiscard]] detail::ByName Called(Text name) const { return {object, handle, name}; }

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
        const void* there = data != nullptr ? data : "";   // an empty text or blob needn't have an address
        return Status(
            Methods().SetValue(object, handle, name.Chars(), type, there, static_cast<std::uint32_t>(size), kCreate));
    }

    HostObject* object = nullptr;
    KeyHandle handle = kernel::kNoKey;
};

/// The keys below a key in their order, as `ValueRange`.
class KeyRange : public Walk<KeyRange> {
public:
    KeyRange(const Key& walked, Status opened) : parent(walked) { opened ? OpenChild() : End(opened); }

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

/// A path below a key, opened anew by each call: for one expression, since the path's text stays the caller's. Reads
/// don't make a key that is missing, writes do.
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
        const Result<Key> key = parent.OpenWith(path, Key::kCreate);   // the write marks the document
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
