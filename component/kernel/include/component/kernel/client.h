/// A settings store as the components of a host use it: typed reads and writes, and enumerations as ranges, over the
/// methods of one object of the interface `Registry`.
///
///     arbor::Store store{object};
///     const auto port = store["Network/Proxy"].Get<std::uint32_t>("Port");
///     if (!port) Report(port.Code(), port.Text());
///     store["Network/Proxy"].Set("Port", 8080u);
///     for (const arbor::Value& value : store["Network/Proxy"].Values()) Print(value.Name(), value.Type());
///     for (const arbor::Key key : store.Root().Keys()) ...
///
/// Nothing here throws: every call answers with a code. Nothing here owns the object or holds a lock; threads may share
/// a store as far as its object allows, while ranges and results belong to one thread. Numbers and truth values cost
/// the calls that they are made of and no memory; a text or blob is measured only where it is longer than 255 bytes.
#pragma once

#include <component/kernel/interface.h>
#include <component/kernel/result_text.h>
#include <component/kernel/type_names.h>

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <iterator>
#include <limits>
#include <new>
#include <span>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace arbor {
// Apart from the module's own classes, which tests link into one program with this.
inline namespace client {

using kernel::HostObject;
using kernel::KeyHandle;
using kernel::ResultCode;
using kernel::TypeCode;

/// How a call ended. True for every success, of which 0 is only one.
class Status {
public:
    constexpr explicit Status(ResultCode result = kernel::kDone) : code(result) {}

    [[nodiscard]] constexpr explicit operator bool() const { return kernel::IsSuccess(code); }
    [[nodiscard]] constexpr ResultCode Code() const { return code; }
    [[nodiscard]] constexpr std::string_view Text() const { return kernel::ResultText(code); }

private:
    ResultCode code;
};

/// A value, or the code that says why there is none; a `T{}` stands in its place then.
template <class T>
class [[nodiscard]] Result : public Status {
public:
    constexpr Result(Status failure) : Status(failure) {}
    constexpr Result(T result) : value(std::move(result)) {}

    [[nodiscard]] constexpr const T& operator*() const& { return value; }
    [[nodiscard]] constexpr T&& operator*() && { return std::move(value); }
    [[nodiscard]] constexpr const T* operator->() const { return &value; }
    [[nodiscard]] constexpr T ValueOr(T other) const { return *this ? value : std::move(other); }

private:
    T value{};
};

/// Text that brings its terminator, as names and paths must; the characters stay the caller's.
class Text {
public:
    constexpr Text(const char* terminated) : text(terminated) {}
    Text(const std::string& string) : text(string.c_str()) {}

    [[nodiscard]] constexpr const char* Chars() const { return text; }

private:
    const char* text;
};

using Blob = std::vector<std::byte>;

/// A value's bytes in the binary form of a type; a text has its terminator.
struct Datum {
    TypeCode type = 0;
    std::string bytes{};
};

/// What one register holds: the integers by their width and sign, `bool`, `char`, `float` and `double`.
template <class T>
concept Scalar = std::same_as<T, bool> || std::same_as<T, char> || std::same_as<T, float> || std::same_as<T, double> ||
    (std::integral<T> && !std::same_as<T, wchar_t> && !std::same_as<T, char8_t> && !std::same_as<T, char16_t> &&
     !std::same_as<T, char32_t>);

namespace detail {

template <Scalar T>
consteval TypeCode IntegerType() {
    constexpr bool kSigned = std::is_signed_v<T>;
    switch (sizeof(T)) {
        case 1:
            return kSigned ? kernel::tSBYTE : kernel::tBYTE;
        case 2:
            return kSigned ? kernel::tSHORT : kernel::tWORD;
        case 4:
            return kSigned ? kernel::tINT : kernel::tDWORD;
        default:
            return kSigned ? kernel::tLONGLONG : kernel::tQWORD;
    }
}

/// The form in which a scalar crosses the interface.
template <Scalar T>
struct Form {
    using Wire = T;
    static constexpr TypeCode kType = IntegerType<T>();
};
template <>
struct Form<bool> {
    using Wire = std::uint32_t;
    static constexpr TypeCode kType = kernel::tBOOL;
};
template <>
struct Form<char> {
    using Wire = char;
    static constexpr TypeCode kType = kernel::tCHAR;
};
template <>
struct Form<double> {
    using Wire = double;
    static constexpr TypeCode kType = kernel::tDOUBLE;
};
template <>
struct Form<float> : Form<double> {};

template <class T>
consteval TypeCode LongType() {
    if constexpr (std::same_as<T, std::string>) return kernel::tSTRING;
    if constexpr (std::same_as<T, std::u16string>) return kernel::tWSTRING;
    if constexpr (std::same_as<T, Blob>) return kernel::tBINARY;
    return 0;
}

/// Reads what `call(count, buffer, sizeBytes)` delivers, as often as it takes while another thread makes it longer.
/// Only a read that leaves room in its buffer counts: a blob of just the buffer's size comes as it is, whatever type
/// was asked for.
template <class Container, class Call>
Result<Container> ReadWhole(Call call) {
    using Unit = typename Container::value_type;
    constexpr std::uint32_t kFirstBytes = 256;
    try {
        Unit first[kFirstBytes / sizeof(Unit)];
        std::uint32_t count = 0;
        std::uint32_t size = kFirstBytes;
        ResultCode code = call(&count, first, size);
        if (kernel::IsSuccess(code) && count < size) return Container(first, first + count / sizeof(Unit));
        Container whole;
        while (count >= size && (kernel::IsSuccess(code) || code == kernel::kBufferTooSmall)) {
            if (count > std::numeric_limits<std::uint32_t>::max() - 2 * sizeof(Unit))
                return Status(kernel::kOutOfMemory);
            whole.resize(count / sizeof(Unit) + 2);   // half a unit at the end of the bytes still leaves room
            size = static_cast<std::uint32_t>(whole.size() * sizeof(Unit));
            count = 0;
            code = call(&count, whole.data(), size);
        }
        if (kernel::IsFailure(code)) return Status(code);
        whole.resize(count / sizeof(Unit));
        return whole;
    } catch (const std::bad_alloc&) {
        return Status(kernel::kOutOfMemory);
    } catch (const std::length_error&) {
        return Status(kernel::kOutOfMemory);
    }
}

template <class Characters>
Result<Characters> WithoutTerminator(Result<Characters> read) {
    if (!read || read->empty()) return read;
    Characters text = *std::move(read);
    text.pop_back();
    return text;
}

/// A value, by what names it in its key, and the read of it.
struct ByName {
    HostObject* object;
    KeyHandle key;
    Text name;

    ResultCode operator()(std::uint32_t* count, TypeCode* type, void* buffer, std::uint32_t size) const {
        return kernel::Registry(object).GetValue(object, count, key, name.Chars(), type, buffer, size);
    }
};
struct ByIndex {
    HostObject* object = nullptr;
    KeyHandle key = kernel::kNoKey;
    std::uint32_t index = 0;

    ResultCode operator()(std::uint32_t* count, TypeCode* type, void* buffer, std::uint32_t size) const {
        return kernel::Registry(object).GetValueByIndex(object, count, key, index, type, buffer, size);
    }
};

template <class T, class Call>
Result<T> ReadAs(Call call) {
    if constexpr (Scalar<T>) {
        typename Form<T>::Wire wire{};
        TypeCode type = Form<T>::kType;
        const ResultCode code = call(nullptr, &type, &wire, sizeof wire);
        if (kernel::IsFailure(code)) return Status(code);
        return static_cast<T>(wire);
    } else {
        static_assert(LongType<T>() != 0, "a scalar, std::string, std::u16string or arbor::Blob");
        auto read = ReadWhole<T>([&](std::uint32_t* count, void* buffer, std::uint32_t size) {
            TypeCode type = LongType<T>();
            return call(count, &type, buffer, size);
        });
        if constexpr (std::same_as<T, Blob>)
            return read;
        else
            return WithoutTerminator(std::move(read));
    }
}

template <class Call>
Result<TypeCode> ReadType(Call call) {
    TypeCode type = 0;
    const ResultCode code = call(nullptr, &type, nullptr, 0);
    if (kernel::IsFailure(code)) return Status(code);
    return type;
}

template <class Call>
Result<Datum> ReadDatum(TypeCode asked, Call call) {
    Datum datum;
    const kernel::ValueTypeRow* row = kernel::FindType(asked);
    if (row != nullptr && row->width != 0) {   // just its bytes, so that a blob of as many comes as a scalar
        datum.type = asked;
        datum.bytes.resize(row->width);   // never more than a string holds inline
        const ResultCode code = call(nullptr, &datum.type, datum.bytes.data(), row->width);
        if (kernel::IsFailure(code)) return Status(code);
        return datum;
    }
    auto bytes = ReadWhole<std::string>([&](std::uint32_t* count, void* buffer, std::uint32_t size) {
        datum.type = asked;
        return call(count, &datum.type, buffer, size);
    });
    if (!bytes) return Status(bytes.Code());
    datum.bytes = *std::move(bytes);
    return datum;
}

}   // namespace detail

/// One value of a key in an enumeration: its name as it was found, the rest as it stands when it is asked for.
class Value {
public:
    [[nodiscard]] const std::string& Name() const { return name; }
    [[nodiscard]] std::uint32_t Index() const { return place.index; }

    /// 0 if there is no such value any more.
    [[nodiscard]] TypeCode Type() const { return *detail::ReadType(place); }

    /// As `Key::Get`.
    template <class T>
    Result<T> Get() const {
        return detail::ReadAs<T>(place);
    }
    /// As `Key::Read`.
    Result<Datum> Read(TypeCode asked = 0) const { return detail::ReadDatum(asked, place); }

private:
    friend class ValueRange;

    detail::ByIndex place{};
    std::string name{};
};

/// The end of a range that reads as it walks, and the walk of a range-based `for` over it.
template <class Range>
class Walk {
public:
    class Iterator {
    public:
        using difference_type = std::ptrdiff_t;

        explicit Iterator(Range& walked) : range(&walked) {}

        [[nodiscard]] const auto& operator*() const { return range->Current(); }
        Iterator& operator++() {
            range->Advance();
            return *this;
        }
        void operator++(int) { range->Advance(); }
        [[nodiscard]] bool operator==(std::default_sentinel_t) const { return range->AtEnd(); }

    private:
        Range* range;
    };

    [[nodiscard]] Iterator begin() { return Iterator(static_cast<Range&>(*this)); }
    [[nodiscard]] std::default_sentinel_t end() const { return {}; }

    [[nodiscard]] bool AtEnd() const { return ended; }
    /// A failure that ended the walk before its time, or kept it from starting; a success otherwise.
    [[nodiscard]] Status Outcome() const { return outcome; }

protected:
    void End(Status with) {
        ended = true;
        outcome = with;
    }

private:
    bool ended = false;
    Status outcome{};
};

/// The values of a key in their order, read as the walk goes; for one walk. What is added or deleted on the way moves
/// the indexes of what follows.
class ValueRange : public Walk<ValueRange> {
public:
    /// Walks nothing if `opened` is a failure.
    ValueRange(HostObject* object, KeyHandle key, Status opened) {
        value.place = {object, key, 0};
        opened ? ReadName() : End(opened);
    }

    [[nodiscard]] const Value& Current() const { return value; }
    void Advance() {
        ++value.place.index;
        ReadName();
    }

private:
    void ReadName() {
        const detail::ByIndex& place = value.place;
        auto name = detail::ReadWhole<std::string>([&](std::uint32_t* count, char* buffer, std::uint32_t size) {
            return kernel::Registry(place.object)
                .GetValueNameByIndex(place.object, count, place.key, place.index, buffer, size);
        });
        if (!name || name->empty()) return End(name);   // a name is never without its terminator
        value.name = *std::move(name);
        value.name.pop_back();
    }

    Value value;
};

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

/// An object of the interface. As a key it is the object's current root.
class Store : public Key {
public:
    explicit Store(HostObject* store) : Key(store, kCurrentRoot) {}

    [[nodiscard]] Key Root() const { return *this; }
    /// Moves the current root; the empty path is the top. Takes no lock.
    Status SetRoot(Text path) const { return Status(Methods().SetRootStr(Object(), path.Chars())); }
    /// Empties the current root.
    Status Clean() const { return Status(Methods().Clean(Object())); }
    /// Stores the document if it was changed, as closing does with `SaveOnClose`, and tells how it went.
    Status Save() const { return Status(Methods().Save(Object(), 1)); }

private:
    static constexpr KeyHandle kCurrentRoot = 0;

    [[nodiscard]] kernel::Registry Methods() const { return kernel::Registry(Object()); }
};

}   // namespace client
}   // namespace arbor
