/// Reads and writes of one value, exact or by the store's own conversions. Not for components: `Key` and `Value` have
/// these as members.
#pragma once

#include <component/client/convert.h>
#include <component/client/exact.h>
#include <component/client/slot.h>

#include <span>

namespace arbor::detail {

/// A value to write: its type and its bytes.
struct TypedBytes {
    TypeCode type = 0;
    const void* data = nullptr;
    std::size_t size = 0;

    [[nodiscard]] std::string_view Bytes() const { return {static_cast<const char*>(data), size}; }
};

/// Reads the value in its own type.
template <class Slot>
Result<Datum> ReadOwn(const Slot& slot) {
    Datum datum;
    auto bytes = ReadWhole<std::string>([&](std::uint32_t* count, void* buffer, std::uint32_t size) {
        datum.type = 0;
        return slot.Read(count, &datum.type, buffer, size);
    });
    if (!bytes) return Status(bytes.Code());
    datum.bytes = *std::move(bytes);
    return datum;
}

/// Reads the value and converts it exactly to `wanted`. The bytes of a text have no terminator.
template <class Slot>
Result<std::string> ReadConverted(const Slot& slot, TypeCode wanted) {
    const Result<Datum> own = ReadOwn(slot);
    if (!own) return Status(own.Code());
    try {
        std::string_view bytes = own->bytes;
        std::string converted;
        const bool isExact = MakePlain(own->type, bytes) && ConvertExactly(own->type, bytes, wanted, converted);
        if (!isExact) return Status(kernel::kInvalidArgument);
        return converted;
    } catch (const std::bad_alloc&) {
        return Status(kernel::kOutOfMemory);
    }
}

/// The scalar in the caller's type. Only a `float` is narrower than the type that is read for it: out of its range is
/// an error.
template <Scalar T>
Result<T> FromWire(typename ScalarTraits<T>::Wire wire) {
    if constexpr (std::same_as<T, float>) {
        if (std::isfinite(wire) && std::fabs(wire) > std::numeric_limits<float>::max())
            return Status(kernel::kInvalidArgument);
    }
    return static_cast<T>(wire);
}

/// Out of line, as it is rare and long.
template <Scalar T, class Slot>
[[gnu::noinline]] Result<T> ReadConvertedScalar(const Slot& slot) {
    const Result<std::string> bytes = ReadConverted(slot, ScalarTraits<T>::kType);
    if (!bytes) return Status(bytes.Code());
    typename ScalarTraits<T>::Wire wire{};
    std::memcpy(&wire, bytes->data(), sizeof wire);
    return FromWire<T>(wire);
}

/// One call if the value has the type that corresponds to `T`, otherwise another one for the value in its own type.
template <Scalar T, class Slot>
inline Result<T> ReadScalar(const Slot& slot) {
    TypeCode type = 0;
    std::uint64_t buffer;   // as wide as the widest scalar; written on success
    const ResultCode code = slot.Read(nullptr, &type, &buffer, sizeof buffer);
    if (type != ScalarTraits<T>::kType || kernel::IsFailure(code)) {
        if (kernel::IsFailure(code) && code != kernel::kBufferTooSmall) return Status(code);
        return ReadConvertedScalar<T>(slot);
    }
    typename ScalarTraits<T>::Wire wire;
    std::memcpy(&wire, &buffer, sizeof wire);
    return FromWire<T>(wire);
}

/// As `ReadScalar`, for a text or blob.
template <class T, class Slot>
Result<T> ReadSequence(const Slot& slot) {
    using Unit = typename T::value_type;
    TypeCode type = 0;
    auto read = ReadWhole<T>([&](std::uint32_t* count, void* buffer, std::uint32_t size) {
        type = 0;
        return slot.Read(count, &type, buffer, size);
    });
    if (!read) return read;
    if constexpr (VariableSizeType<T>() == kernel::tBINARY) {
        const bool isBlob = FormOf(type) == ValueForm::Blob;
        return isBlob ? std::move(read) : Result<T>(Status(kernel::kInvalidArgument));
    } else {
        if (type == VariableSizeType<T>()) return WithoutTerminator(std::move(read));
        const Result<std::string> bytes = ReadConverted(slot, VariableSizeType<T>());
        if (!bytes) return Status(bytes.Code());
        try {
            T text(bytes->size() / sizeof(Unit), Unit{});
            std::memcpy(text.data(), bytes->data(), text.size() * sizeof(Unit));
            return text;
        } catch (const std::bad_alloc&) {
            return Status(kernel::kOutOfMemory);
        }
    }
}

/// Reads the value by the store's own conversion.
template <class T, class Slot>
Result<T> ReadLenient(const Slot& slot) {
    if constexpr (Scalar<T>) {
        typename ScalarTraits<T>::Wire wire{};
        TypeCode type = ScalarTraits<T>::kType;
        const ResultCode code = slot.Read(nullptr, &type, &wire, sizeof wire);
        if (kernel::IsFailure(code)) return Status(code);
        return static_cast<T>(wire);
    } else {
        auto read = ReadWhole<T>([&](std::uint32_t* count, void* buffer, std::uint32_t size) {
            TypeCode type = VariableSizeType<T>();
            return slot.Read(count, &type, buffer, size);
        });
        if constexpr (std::same_as<T, Blob>)
            return read;
        else
            return WithoutTerminator(std::move(read));
    }
}

/// Reads the value as a `wanted`, or in its own type if that is 0, by the store's own conversion.
template <class Slot>
Result<Datum> ReadDatumLenient(TypeCode wanted, const Slot& slot) {
    if (wanted == 0) return ReadOwn(slot);
    const kernel::ValueTypeRow* row = kernel::FindType(wanted);
    if (row == nullptr) return Status(kernel::kInvalidArgument);
    Datum datum;
    if (row->width != 0) {   // a type of fixed size: as a scalar
        datum.type = wanted;
        datum.bytes.resize(row->width);   // at most 8: no allocation
        const ResultCode code = slot.Read(nullptr, &datum.type, datum.bytes.data(), row->width);
        if (kernel::IsFailure(code)) return Status(code);
        return datum;
    }
    auto bytes = ReadWhole<std::string>([&](std::uint32_t* count, void* buffer, std::uint32_t size) {
        datum.type = wanted;
        return slot.Read(count, &datum.type, buffer, size);
    });
    if (!bytes) return Status(bytes.Code());
    datum.bytes = *std::move(bytes);
    return datum;
}

/// As `ReadDatumLenient`, by an exact conversion.
template <class Slot>
Result<Datum> ReadDatum(TypeCode wanted, const Slot& slot) {
    if (wanted == 0) return ReadOwn(slot);
    auto bytes = ReadConverted(slot, wanted);
    if (!bytes) return Status(bytes.Code());
    return Datum{wanted, *std::move(bytes)};
}

/// Writes by the store's own conversion: one call.
template <class Slot>
inline Status WriteLenient(const Slot& slot, TypedBytes value) {
    if (value.size > std::numeric_limits<std::uint32_t>::max()) return Status(kernel::kOutOfMemory);
    const void* data = value.data != nullptr ? value.data : "";   // an empty text or blob may have a null address
    return Status(slot.Write(value.type, data, static_cast<std::uint32_t>(value.size), kCreate));
}

/// Out of line, as it is rare and long.
template <class Slot>
[[gnu::noinline]] Status WriteConverted(const Slot& slot, TypeCode type, std::string_view bytes, TypeCode own) {
    try {
        std::string converted;
        if (!ConvertExactly(type, bytes, own, converted)) return Status(kernel::kInvalidArgument);
        return WriteLenient(slot, {own, converted.data(), converted.size()});
    } catch (const std::bad_alloc&) {
        return Status(kernel::kOutOfMemory);
    }
}

/// Writes exactly: one call for the type of the value, and one that writes. `value` has the plain form.
template <class Slot>
inline Status WriteExactly(const Slot& slot, TypedBytes value) {
    TypeCode own = 0;
    const ResultCode code = slot.Read(nullptr, &own, nullptr, 0);
    if (kernel::IsFailure(code) && code != kernel::kNoSuchEntry) return Status(code);
    if (kernel::IsSuccess(code) && own != value.type) return WriteConverted(slot, value.type, value.Bytes(), own);
    return WriteLenient(slot, value);
}

/// Returns `use(typed)`, where `typed` is `value` in the type that corresponds to it.
template <class T, class Use>
inline Status WithTypedBytes(const T& value, Use use) {
    static_assert(!std::same_as<T, std::nullptr_t>, "the store has no type for this");
    if constexpr (Scalar<T>) {
        const auto wire = static_cast<typename ScalarTraits<T>::Wire>(value);
        return use(TypedBytes{ScalarTraits<T>::kType, &wire, sizeof wire});
    } else if constexpr (std::same_as<T, Datum>) {
        if (kernel::FindType(value.type) == nullptr) return Status(kernel::kInvalidArgument);
        return use(TypedBytes{value.type, value.bytes.data(), value.bytes.size()});
    } else if constexpr (std::convertible_to<const T&, std::string_view>) {
        const std::string_view text = value;
        return use(TypedBytes{kernel::tSTRING, text.data(), text.size()});
    } else if constexpr (std::convertible_to<const T&, std::u16string_view>) {
        const std::u16string_view text = value;
        return use(TypedBytes{kernel::tWSTRING, text.data(), text.size() * sizeof(char16_t)});
    } else if constexpr (kHasWideStrings && std::convertible_to<const T&, std::wstring_view>) {
        const std::wstring_view text = value;
        return use(TypedBytes{kernel::tWSTRING, text.data(), text.size() * sizeof(wchar_t)});
    } else if constexpr (std::convertible_to<const T&, std::span<const std::uint8_t>>) {
        const std::span<const std::uint8_t> blob = value;
        return use(TypedBytes{kernel::tBINARY, blob.data(), blob.size()});
    } else {
        static_assert(std::convertible_to<const T&, std::span<const std::byte>>, "the store has no type for this");
        const std::span<const std::byte> blob = value;
        return use(TypedBytes{kernel::tBINARY, blob.data(), blob.size()});
    }
}

/// The conversions of `Get` and `Set`. `isFixed` is true for a type of fixed size, whose bytes are the plain form.
struct Exact {
    template <class T, class Slot>
    static Result<T> Read(const Slot& slot) {
        if constexpr (Scalar<T>)
            return ReadScalar<T>(slot);
        else
            return ReadSequence<T>(slot);
    }
    template <bool isFixed, class Slot>
    static Status Write(const Slot& slot, TypedBytes typed) {
        if constexpr (!isFixed) {
            std::string_view bytes = typed.Bytes();
            if (!MakePlain(typed.type, bytes)) return Status(kernel::kInvalidArgument);
            typed = {typed.type, bytes.data(), bytes.size()};
        }
        return WriteExactly(slot, typed);
    }
};

/// The store's own conversions.
struct Lenient {
    template <class T, class Slot>
    static Result<T> Read(const Slot& slot) {
        return ReadLenient<T>(slot);
    }
    template <bool isFixed, class Slot>
    static Status Write(const Slot& slot, TypedBytes typed) {
        return WriteLenient(slot, typed);
    }
};

template <class T, class Conversion, class Slot>
inline Result<T> ReadAs(const Slot& slot) {
    if constexpr (kIsOptional<T>) {
        auto read = ReadAs<typename T::value_type, Conversion>(slot);
        if (read.Code() == kernel::kNoSuchEntry) return T();
        if (!read) return Status(read.Code());
        return T(*std::move(read));
    } else if constexpr (Converted<T>) {
        return ReadAs<typename Convert<T>::Stored, Conversion>(slot).and_then(Convert<T>::FromStored);
    } else {
        static_assert(Scalar<T> || VariableSizeType<T>() != 0, "the store has no type for this");
        return Conversion::template Read<T>(slot);
    }
}

template <class Conversion, class Slot, class T>
inline Status WriteAs(const Slot& slot, const T& value) {
    if constexpr (kIsOptional<T>) {
        if (value) return WriteAs<Conversion>(slot, *value);
        const ResultCode removed = slot.Remove();
        return Status(removed == kernel::kNoSuchEntry ? kernel::kDone : removed);
    } else if constexpr (Converted<T>) {
        return WriteAs<Conversion>(slot, Convert<T>::ToStored(value));
    } else {
        return WithTypedBytes(value,
                              [&](TypedBytes typed) { return Conversion::template Write<Scalar<T>>(slot, typed); });
    }
}

}   // namespace arbor::detail
