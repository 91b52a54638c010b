// Conversion of values by way of their text: the value's text is parsed into a temporary value of the wanted type on a
// read, and the text of a temporary value of the caller's type is parsed into the value on a write.

#include "object/conversion.h"

#include "tree/value/value_holder.h"

#include <component/kernel/host_string.h>
#include <component/kernel/trace.h>
#include <component/kernel/value_types.h>

#include <memory>

namespace arbor::module {

namespace {

struct ValueRelease {
    const HostObject* host;
    void operator()(Value* value) const { ReleaseValue(host, value); }
};
using ValuePtr = std::unique_ptr<Value, ValueRelease>;

/// Null if there is no memory or the type can't be stored.
ValuePtr MakeTemporary(const HostObject* host, TypeCode type) { return {CreateValue(host, type), ValueRelease{host}}; }

/// Copies the value's text form into a new block, with a terminator.
ResultCode CopyText(const HostObject* host, const Value& value, HostBlock<char>& text) {
    std::uint32_t size = 0;
    ResultCode code = value.ToText(nullptr, 0, &size);
    if (IsSuccess(code)) code = AllocateBlock(host, size, 1, text);
    if (IsSuccess(code)) code = value.ToText(text.get(), size, &size);
    return code;
}

/// As `FromText`, but wide text takes UTF-8: its own `FromText` reads hexadecimal digits.
ResultCode SetFromText(Value& value, const char* text) {
    if (value.GetType() == tWSTRING) return static_cast<WideStringHolder&>(value).SetFromUtf8(text);
    return value.FromText(text);
}

/// Replaces the text of `target` by that of the wide text `value`, and stores 0 in `count`, whatever the length.
ResultCode AssignWideText(const HostObject* host, const Value& value, std::uint32_t* count, HostString& target) {
    constexpr std::uint32_t kTerminatorBytes = sizeof(char16_t);
    HostBlock<char> text;
    std::uint32_t size = 0;
    ResultCode code = value.Get(nullptr, 0, &size);
    if (IsSuccess(code)) code = AllocateBlock(host, size, kTerminatorBytes, text);
    if (IsSuccess(code)) code = value.Get(text.get(), size, &size);
    if (IsFailure(code)) return code;
    if (count != nullptr) *count = 0;
    return target.Assign(text.get(), kCodePageUtf16, size + kTerminatorBytes);
}

/// Sets `type` to `tBINARY` if `value` is a `tBINARY` value of exactly `size` bytes. Such a value is read and written
/// as raw bytes, whatever type the caller named.
ResultCode AlignBinaryRequest(const HostObject* object, const Value& value, TypeCode& type, std::uint32_t size) {
    if (value.GetType() != tBINARY) return kDone;
    std::uint32_t storedSize = 0;
    const ResultCode code = value.Get(nullptr, 0, &storedSize);
    if (IsFailure(code)) {
        Trace(object, TraceFailure, "Failed to get value: %terr", code);
        return code;
    }
    if (storedSize == size) type = tBINARY;
    return kDone;
}

}   // namespace

ResultCode ConvertOnRead(const HostObject* object, const Value& value, std::uint32_t* count, TypeCode* type,
                         void* buffer, std::uint32_t size) {
    if (type == nullptr) return value.Get(buffer, size, count);   // spares a virtual call: ENUM -5 % time
    const TypeCode own = value.GetType();
    if (*type == 0) *type = own;
    TypeCode wanted = *type;
    if (wanted != own) {
        if (const ResultCode code = AlignBinaryRequest(object, value, wanted, size); IsFailure(code)) return code;
    }
    if (wanted == own) return value.Get(buffer, size, count);

    ValuePtr converted(nullptr, ValueRelease{object});
    {
        HostBlock<char> text;
        if (const ResultCode code = CopyText(object, value, text); IsFailure(code)) return code;
        converted = MakeTemporary(object, wanted == tSTRING_OBJ ? tWSTRING : wanted);
        if (!converted) return kOutOfMemory;
        if (const ResultCode code = SetFromText(*converted, text.get()); IsFailure(code)) return code;
    }
    if (wanted != tSTRING_OBJ) return converted->Get(buffer, size, count);

    if (buffer == nullptr) return kInvalidArgument;
    return AssignWideText(object, *converted, count, *static_cast<HostString*>(buffer));
}

ResultCode ConvertOnWrite(const HostObject* object, Value& value, TypeCode type, const void* data, std::uint32_t size) {
    if (type == value.GetType()) return value.Set(data, size);
    if (type == tSTRING_OBJ) {
        if (data == nullptr) return kInvalidArgument;
        const auto& text = *static_cast<const HostString*>(data);
        type = tWSTRING;
        data = text.Data();
        size = text.text != nullptr ? text.Size() * static_cast<std::uint32_t>(sizeof(char16_t)) : 0;
    }
    // A tWSTRING value stores the bytes as they are, whatever their type.
    if (value.GetType() == tWSTRING) return value.Set(data, size);
    if (const ResultCode code = AlignBinaryRequest(object, value, type, size); IsFailure(code)) return code;

    const ValuePtr source = MakeTemporary(object, type);
    if (!source) return kOutOfMemory;
    // If `Set` returns `kInvalidArgument`, `source` stays zero or empty and that is written. Any other failure ends the
    // write.
    const ResultCode filled = source->Set(data, size);
    if (IsFailure(filled) && filled != kInvalidArgument) return filled;
    HostBlock<char> text;
    if (const ResultCode code = CopyText(object, *source, text); IsFailure(code)) return code;
    const ResultCode code = value.FromText(text.get());
    return IsFailure(code) ? code : kDone;   // not `ResultUnchanged`: a converting write always counts as a change
}

}   // namespace arbor::module
