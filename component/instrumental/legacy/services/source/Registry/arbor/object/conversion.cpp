// Reading and writing a value in another type than its own: by way of its text form.

#include "object/arbor.h"
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

ValuePtr MakeTemporary(const HostObject* host, TypeCode type) { return {CreateValue(host, type), ValueRelease{host}}; }

/// The value's text form in a block of its own, with a terminator.
ResultCode TakeText(const HostObject* host, const Value& value, HostBlock<char>& text) {
    std::uint32_t size = 0;
    ResultCode code = value.ToText(nullptr, 0, &size);
    if (IsSuccess(code)) code = TakeBlock(host, size, 1, text);
    if (IsSuccess(code)) code = value.ToText(text.get(), size, &size);
    return code;
}

/// Wide text takes UTF-8 here: its own `FromText` reads hexadecimal.
ResultCode GiveText(Value& value, const char* text) {
    if (value.GetType() == tWSTRING) return static_cast<WideStringHolder&>(value).SetFromUtf8(text);
    return value.FromText(text);
}

/// The bytes of the wide text in a block of their own, `size` of them, with room for one more unit behind.
ResultCode TakeWideText(const HostObject* host, const Value& value, HostBlock<char>& text, std::uint32_t& size) {
    ResultCode code = value.Get(nullptr, 0, &size);
    if (IsSuccess(code)) code = TakeBlock(host, size, sizeof(char16_t), text);
    if (IsSuccess(code)) code = value.Get(text.get(), size, &size);
    size += static_cast<std::uint32_t>(sizeof(char16_t));
    return code;
}

}   // namespace

ResultCode Arbor::ConvertOnRead(const Value& value, std::uint32_t* count, TypeCode* type, void* buffer,
                                std::uint32_t size) {
    const TypeCode own = value.GetType();
    if (type != nullptr && *type == 0) *type = own;
    TypeCode wanted = type != nullptr ? *type : own;
    if (wanted != own) {
        if (const ResultCode code = AlignBinaryRequest(&value, &wanted, size); IsFailure(code)) return code;
    }
    if (wanted == own) return value.Get(buffer, size, count);

    ValuePtr converted(nullptr, ValueRelease{this});
    {
        HostBlock<char> text;
        if (const ResultCode code = TakeText(this, value, text); IsFailure(code)) return code;
        converted = MakeTemporary(this, wanted == tSTRING_OBJ ? tWSTRING : wanted);
        if (!converted) return kOutOfMemory;
        if (const ResultCode code = GiveText(*converted, text.get()); IsFailure(code)) return code;
    }
    if (wanted != tSTRING_OBJ) return converted->Get(buffer, size, count);

    if (buffer == nullptr) return kInvalidArgument;
    HostBlock<char> text;
    std::uint32_t textSize = 0;
    if (const ResultCode code = TakeWideText(this, *converted, text, textSize); IsFailure(code)) return code;
    const ResultCode code = static_cast<HostString*>(buffer)->Assign(text.get(), kCodePageUtf16, textSize);
    if (count != nullptr) *count = 0;
    return code;
}

ResultCode Arbor::ConvertOnWrite(Value& value, TypeCode type, const void* data, std::uint32_t size) {
    if (type == value.GetType()) return WriteDirectly(value, data, size);
    if (type == tSTRING_OBJ) {
        if (data == nullptr) return kInvalidArgument;
        const auto& text = *static_cast<const HostString*>(data);
        type = tWSTRING;
        data = text.Data();
        size = text.text != nullptr ? text.Size() * static_cast<std::uint32_t>(sizeof(char16_t)) : 0;
    }
    // A write to a wide text is a write of bytes, whatever type the caller named.
    if (value.GetType() == tWSTRING) return WriteDirectly(value, data, size);
    if (const ResultCode code = AlignBinaryRequest(&value, &type, size); IsFailure(code)) return code;

    const ValuePtr given = MakeTemporary(this, type);
    if (!given) return kOutOfMemory;
    // Refused data leaves `given` zero or empty, and the text of that is written. Any other failure ends the write.
    const ResultCode filled = given->Set(data, size);
    if (IsFailure(filled) && filled != kInvalidArgument) return filled;
    HostBlock<char> text;
    if (const ResultCode code = TakeText(this, *given, text); IsFailure(code)) return code;
    if (const ResultCode code = value.FromText(text.get()); IsFailure(code)) return code;
    MarkDirty();   // also for the same text: only a write in the own type compares
    return kDone;
}

ResultCode Arbor::WriteDirectly(Value& value, const void* data, std::uint32_t size) {
    const ResultCode code = value.Set(data, size);
    if (IsFailure(code)) return code;
    if (code != ResultUnchanged) MarkDirty();
    return kDone;
}

// A block written or read with just its own size is raw bytes, whatever type the caller named.
ResultCode Arbor::AlignBinaryRequest(const Value* value, TypeCode* type, std::uint32_t size) const {
    if (value == nullptr || type == nullptr) return kInvalidArgument;
    if (value->GetType() != tBINARY) return kDone;
    std::uint32_t held = 0;
    const ResultCode code = value->Get(nullptr, 0, &held);
    if (IsFailure(code)) {
        Trace(this, TraceFailure, "Failed to get value: %terr", code);
        return code;
    }
    if (held == size) *type = tBINARY;
    return kDone;
}

}   // namespace arbor::module
