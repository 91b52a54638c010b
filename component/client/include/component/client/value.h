/// A value of a key, and the reads of it by name and by index.
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

}   // namespace arbor
