/// A value in an enumeration, and the functions that read a value by its name or its index.
#pragma once

#include <component/client/datum.h>
#include <component/kernel/interface.h>
#include <component/kernel/type_table.h>

#include <limits>
#include <new>
#include <stdexcept>
#include <string>

namespace arbor {

using kernel::HostObject;
using kernel::KeyHandle;

namespace detail {

/// Reads a text or blob of any size by `call(count, buffer, sizeBytes)`. Repeats the call with a larger buffer until
/// the data fits; another thread may make it longer between two calls. Accepts only a read that leaves a part of the
/// buffer unused, because the interface doesn't convert a binary value of exactly the buffer's size.
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
            whole.resize(count / sizeof(Unit) + 2);   // `count` and at least one unit more
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

/// A value identified by key and name. The call reads it, as the interface does: `*type` 0 means the value's own type.
struct ValueByName {
    HostObject* object;
    KeyHandle key;
    Text name;

    ResultCode operator()(std::uint32_t* count, TypeCode* type, void* buffer, std::uint32_t size) const {
        return kernel::Registry(object).GetValue(object, count, key, name.Chars(), type, buffer, size);
    }
};
/// The same, identified by key and index.
struct ValueByIndex {
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
        typename ScalarTraits<T>::Wire wire{};
        TypeCode type = ScalarTraits<T>::kType;
        const ResultCode code = call(nullptr, &type, &wire, sizeof wire);
        if (kernel::IsFailure(code)) return Status(code);
        return static_cast<T>(wire);
    } else {
        static_assert(VariableSizeType<T>() != 0, "a scalar, std::string, std::u16string or arbor::Blob");
        auto read = ReadWhole<T>([&](std::uint32_t* count, void* buffer, std::uint32_t size) {
            TypeCode type = VariableSizeType<T>();
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
Result<Datum> ReadDatum(TypeCode wanted, Call call) {
    Datum datum;
    const kernel::ValueTypeRow* row = kernel::FindType(wanted);
    if (row != nullptr && row->width != 0) {   // a type of fixed size: as `Get` reads a scalar
        datum.type = wanted;
        datum.bytes.resize(row->width);   // at most 8: no allocation
        const ResultCode code = call(nullptr, &datum.type, datum.bytes.data(), row->width);
        if (kernel::IsFailure(code)) return Status(code);
        return datum;
    }
    auto bytes = ReadWhole<std::string>([&](std::uint32_t* count, void* buffer, std::uint32_t size) {
        datum.type = wanted;
        return call(count, &datum.type, buffer, size);
    });
    if (!bytes) return Status(bytes.Code());
    datum.bytes = *std::move(bytes);
    return datum;
}

}   // namespace detail

/// A value in an enumeration. The enumeration has read its name. The other functions read at each call, from the value
/// that has the index at that moment.
class Value {
public:
    [[nodiscard]] const std::string& Name() const { return name; }
    [[nodiscard]] std::uint32_t Index() const { return position.index; }

    /// 0 if the type can't be read, for example because no value has the index any more.
    [[nodiscard]] TypeCode Type() const { return *detail::ReadType(position); }

    /// As `Key::Get`.
    template <class T>
    Result<T> Get() const {
        return detail::ReadAs<T>(position);
    }
    /// As `Key::Read`.
    Result<Datum> Read(TypeCode wanted = 0) const { return detail::ReadDatum(wanted, position); }

private:
    friend class ValueRange;

    detail::ValueByIndex position{};
    std::string name{};
};

}   // namespace arbor
