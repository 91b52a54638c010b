/// A key of the store: reads and writes of its values, and its subkeys.
#pragma once

#include <component/client/range.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace arbor {

class KeyRange;
class WalkRange;
template <std::size_t>
class Reference;

/// How many keys and values a key has, without those of its subkeys.
struct Counts {
    std::uint32_t keys = 0;
    std::uint32_t values = 0;
};

/// An open key: an object and a handle. It needs no closing. The handle is valid until the key or one above it is
/// deleted, or the object is destroyed. Don't use it after that: the interface doesn't detect it.
///
/// A key that couldn't be opened holds the failure: every call on it returns that code, so that
/// `store.Open(path)->Get<int>(name)` is safe. A `Key()` returns `kernel::kNoKeyThere`.
///
/// The calls on values are always inlined: for a literal name nothing is left of them but the call of the interface.
class Key {
public:
    Key() = default;
    /// The key with that handle; 0 is the current root. If `object` is null, as `Key()`.
    Key(HostObject* object, KeyHandle key) : address{object, key} {}
    explicit Key(Status failure) : address{nullptr, kernel::kNoKey, failure.Code()} {}

    [[nodiscard]] HostObject* Object() const { return address.object; }
    [[nodiscard]] KeyHandle Handle() const { return address.handle; }

    /// Refers to the key at `path` below this one, as in `store["Network"]["Proxy"].Get<int>("Port")`.
    [[nodiscard]] Reference<1> operator[](Text path) const;

    /// Opens the key at `path` below this one. `kernel::kNoSuchEntry` if there is none.
    Result<Key> Open(Text path) const { return OpenWith(path, detail::kDontCreate); }

    /// Opens the key at `path` below this one and creates the keys of the path that are missing. Calls `OpenKey` for
    /// each missing name by itself, because `OpenKey` marks the document as changed only if it creates the first key of
    /// its path.
    Result<Key> Make(Text path) const {
        Result<Key> key = Open(path);
        if (key.Code() != kernel::kNoSuchEntry) return key;
        std::string_view rest = path.View();
        if (const std::size_t end = rest.find("//"); end != rest.npos) rest = rest.substr(0, end + 1);
        const std::size_t lastSlash = rest.rfind('/');
        if (lastSlash != rest.npos && rest.find('\\') < lastSlash) return Status(kernel::kInvalidArgument);
        key = *this;
        while (key && !rest.empty()) {
            const std::string_view name = rest.substr(0, rest.find_first_of("/\\"));
            if (name.empty()) break;
            key = key->OpenWith(name, detail::kCreate);
            rest.remove_prefix(std::min(name.size() + 1, rest.size()));
        }
        return key;
    }

    Result<std::string> Name() const { return ReadName(kOwnName); }
    /// The path from the current root. If the root has a name, the path begins with it.
    Result<std::string> Path() const { return ReadName(kFullName); }

    /// The key above this one, if that is in the current root; `kernel::kNoSuchEntry` for the current root itself.
    /// Opens the path; if that leads to another key, because two siblings have one name, it searches the tree. Defined
    /// in `walk.h`.
    Result<Key> Parent() const;

    Result<Counts> Count() const {
        Counts counts;
        ResultCode code = address.Call<&kernel::Registry::GetKeyCount>(&counts.keys, address.handle);
        if (kernel::IsSuccess(code))
            code = address.Call<&kernel::Registry::GetValueCount>(&counts.values, address.handle);
        if (kernel::IsFailure(code)) return Status(code);
        return counts;
    }

    /// Reads the value `name` as a `T`: a scalar, `std::string`, `std::u16string`, `std::wstring` where that is UTF-16,
    /// `Blob`, `std::vector<std::uint8_t>`, an enumeration, a duration, a type with a `Convert`, or a `std::optional`
    /// of one of these, which is empty if there is no such value. A value of another type is converted exactly:
    /// `kernel::kInvalidArgument` if it isn't a `T`, because it is out of range, has other characters, or is of another
    /// kind. Only a floating-point number is rounded to the nearest one of its type. A `std::string` is the bytes of an
    /// 8-bit text, or UTF-8.
    ///
    /// A structure with `VisitMembers` is read from the key at the path `name`, see `Get()`.
    template <class T>
    [[gnu::always_inline]] Result<T> Get(Text name) const {
        if constexpr (detail::Structure<T>)
            return Open(name)->template Get<T>();
        else
            return detail::ReadAs<T, detail::Exact>(ValueNamed(Terminated(name)));
    }
    /// The same by the store's own conversion, which goes through the value's text: "12abc" is the hexadecimal number,
    /// 4,000,000,000 is the largest `int`, and a binary value of the scalar's size is copied as it is.
    template <class T>
    [[gnu::always_inline]] Result<T> GetLenient(Text name) const {
        return detail::ReadAs<T, detail::Lenient>(ValueNamed(Terminated(name)));
    }
    /// Reads a structure from the values of this key, one for each member. A member without a value keeps what `T{}`
    /// has. The first failure ends it.
    template <detail::Structure T>
    Result<T> Get() const;

    /// Reads the value `name` as a `wanted`, exactly, or in its own type if that is 0. `kernel::kInvalidArgument` for a
    /// type that no value can have.
    Result<Datum> Read(Text name, TypeCode wanted = 0) const {
        return detail::ReadDatum(wanted, ValueNamed(Terminated(name)));
    }
    /// The same by the store's own conversion.
    Result<Datum> ReadLenient(Text name, TypeCode wanted) const {
        return detail::ReadDatumLenient(wanted, ValueNamed(Terminated(name)));
    }

    [[gnu::always_inline]] Result<TypeCode> Type(Text name) const {
        return detail::ReadType(ValueNamed(Terminated(name)));
    }
    [[nodiscard]] bool Contains(Text name) const { return Type(name).has_value(); }

    /// Writes the value `name`: what `Get` can read, a string literal or view, a span of bytes, or a `Datum`. A missing
    /// value is created with the type that corresponds to the argument. An existing value keeps its type, and the
    /// argument is converted exactly, as by `Get`: `kernel::kInvalidArgument`, and nothing is written, if that type has
    /// no such value. Also refused: a text with a zero character inside, and a `Datum` of a type that no value can have
    /// or of another size than its type has. An empty `std::optional` deletes the value. A document holds six decimals
    /// of a `double`.
    ///
    /// Two calls of the interface: between them another thread can replace the value by one of another type.
    template <class T = Datum>
    [[gnu::always_inline]] Status Set(Text name, const T& value) const {
        if constexpr (detail::Structure<T>)
            return Make(name)->Set(value);
        else
            return detail::WriteAs<detail::Exact>(ValueNamed(Terminated(name)), value);
    }
    /// The same by the store's own conversion, in one call. A `tWSTRING` stores the bytes of any argument as they are,
    /// a text ends at its first zero character, and a number that doesn't fit is changed.
    template <class T = Datum>
    [[gnu::always_inline]] Status SetLenient(Text name, const T& value) const {
        return detail::WriteAs<detail::Lenient>(ValueNamed(Terminated(name)), value);
    }
    /// Writes each member of a structure as a value of this key. The first failure ends it, and the members before it
    /// stay written; a `Batch` would undo them.
    template <detail::Structure T>
    Status Set(const T& value) const;

    /// The same for the value or subkey with an index. An index is a position: removing an element moves the following
    /// ones. `kernel::kNoSuchEntry` if there is none.
    template <class T>
    Result<T> GetAt(std::uint32_t index) const {
        return detail::ReadAs<T, detail::Exact>(ValueIndexed(index));
    }
    template <class T = Datum>
    Status SetAt(std::uint32_t index, const T& value) const {
        return detail::WriteAs<detail::Exact>(ValueIndexed(index), value);
    }
    Status RemoveAt(std::uint32_t index) const { return Status(ValueIndexed(index).Remove()); }
    Result<Key> KeyAt(std::uint32_t index) const {
        KeyHandle child = kernel::kNoKey;
        const ResultCode code = address.Call<&kernel::Registry::OpenKeyByIndex>(&child, address.handle, index);
        if (kernel::IsFailure(code)) return Status(code);
        return Key(address.object, child);
    }
    Status RemoveKeyAt(std::uint32_t index) const {
        return Status(address.Call<&kernel::Registry::DeleteKeyByInd>(address.handle, index));
    }

    [[nodiscard]] ValueRange Values() const { return ValueRange(address); }
    [[nodiscard]] KeyRange Keys() const;
    /// This key and all keys below it. Defined in `walk.h`.
    [[nodiscard]] WalkRange Walk() const;

    /// Deletes a value.
    Status Remove(Text name) const { return Status(ValueNamed(Terminated(name)).Remove()); }
    /// Deletes the key at `path` below this one, with all keys and values in it.
    Status RemoveKey(Text path) const {
        const Terminated chars(path);
        return Status(address.UnlessFailed(chars).Call<&kernel::Registry::DeleteKey>(address.handle, chars.Chars()));
    }
    /// Copies the values and subkeys of this key into `target`. With `Synchronised`, `target` must be a key of another
    /// object.
    Status CopyTo(const Key& target) const {
        if (target.address.object == nullptr) return Status(target.address.failure);
        return Status(address.Call<&kernel::Registry::CopyKey>(address.handle, target.Object(), target.Handle()));
    }

protected:
    [[nodiscard]] const detail::KeyAddress& Address() const { return address; }

private:
    friend class KeyRange;

    static constexpr std::uint32_t kOwnName = 0;    // the count includes the terminator
    static constexpr std::uint32_t kFullName = 1;   // the count excludes it

    [[nodiscard]] detail::SlotByName ValueNamed(const Terminated& name) const {
        return {address.UnlessFailed(name), name.Chars()};
    }
    [[nodiscard]] detail::SlotByIndex ValueIndexed(std::uint32_t index) const { return {address, index}; }

    Result<Key> OpenWith(Text path, std::uint32_t create) const {
        KeyHandle opened = kernel::kNoKey;
        const Terminated chars(path);
        const ResultCode code = address.UnlessFailed(chars).Call<&kernel::Registry::OpenKey>(&opened, address.handle,
                                                                                             chars.Chars(), create);
        if (kernel::IsFailure(code)) return Status(code);
        return Key(address.object, opened);
    }

    Result<std::string> ReadName(std::uint32_t full) const {
        auto name = detail::ReadWhole<std::string>([&](std::uint32_t* count, char* buffer, std::uint32_t size) {
            return address.Call<&kernel::Registry::GetKeyName>(count, address.handle, buffer, size, full);
        });
        return full != 0 ? name : detail::WithoutTerminator(std::move(name));
    }

    detail::KeyAddress address{};
};

/// The subkeys of a key in their order, for a single pass. If a subkey is deleted that the pass has already reached,
/// the following ones move to lower indexes and the pass skips one.
class KeyRange : public SinglePass<KeyRange, Key> {
public:
    /// Empty if `key` is a failure, which `Outcome` then returns.
    explicit KeyRange(const Key& key) : parent(key.address) { OpenChild(); }

    [[nodiscard]] const Key& Current() const { return child; }
    void Advance() {
        ++index;
        OpenChild();
    }

private:
    void OpenChild() {
        KeyHandle handle = kernel::kNoKey;
        const ResultCode code = parent.Call<&kernel::Registry::OpenKeyByIndex>(&handle, parent.handle, index);
        if (kernel::IsFailure(code)) {
            // An object without such a child returns this code; a failed key may hold it, as its reason.
            const bool isEnd = code == kernel::kNoSuchEntry && parent.object != nullptr;
            return End(Status(isEnd ? kernel::kDone : code));
        }
        child = Key(parent.object, handle);
    }

    detail::KeyAddress parent;
    Key child;
    std::uint32_t index = 0;
};

inline KeyRange Key::Keys() const { return KeyRange(*this); }

}   // namespace arbor
