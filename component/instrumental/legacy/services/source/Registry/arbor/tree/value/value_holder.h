/// The classes of values, in three levels: `ValueHolder` stores the datum and implements the binary form, `TextValue`
/// adds the text form, `TypedValue` the type code. Types with the same storage class share the first two. The general
/// templates serve storage classes of fixed size; `Nothing`, `ByteString`, `WideString` and `ByteBlock` are
/// specialised.
#pragma once

#include "tree/value/scalar_storage.h"
#include "tree/value/value.h"

#include <component/kernel/host_memory.h>

#include <cstring>

namespace arbor::module {

template <class Storage>
class ValueHolder : public Value {
public:
    explicit ValueHolder(const HostObject*) {}

    ResultCode Get(void* dst, std::uint32_t cap, std::uint32_t* size) const override {
        return CopyBytesOut(&value, sizeof value, dst, cap, size);
    }

    /// Returns `ResultUnchanged` if the stored bytes equal `data`. Compares bytes, not numbers: a NaN equals itself,
    /// and the two zeros differ. The cast to `void*` avoids a compiler warning.
    ResultCode Set(const void* data, std::uint32_t size) override {
        if (data == nullptr || size < sizeof value) return kInvalidArgument;
        if (std::memcmp(static_cast<const void*>(&value), data, sizeof value) == 0) return ResultUnchanged;
        std::memcpy(&value, data, sizeof value);
        return kDone;
    }

protected:
    typename Storage::Type value{};
};

template <class Storage>
class TextValue : public ValueHolder<Storage> {
public:
    using ValueHolder<Storage>::ValueHolder;

    ResultCode ToText(void* dst, std::uint32_t cap, std::uint32_t* size) const override {
        return Storage::ToText(this->value, dst, cap, size);
    }

    ResultCode FromText(const char* text) override { return Storage::FromText(text, this->value); }
};

// Storage classes without a fixed size: tags that select the specialisations below.
struct Nothing {};
struct ByteString {};
struct WideString {};
struct ByteBlock {};

template <>
class ValueHolder<Nothing> : public Value {
public:
    explicit ValueHolder(const HostObject*) {}

    ResultCode Get(void*, std::uint32_t, std::uint32_t* size) const override { return ReportNoBytes(size); }
    ResultCode Set(const void*, std::uint32_t) override { return ResultUnchanged; }
};

template <>
class TextValue<Nothing> : public ValueHolder<Nothing> {
public:
    using ValueHolder<Nothing>::ValueHolder;

    ResultCode ToText(void*, std::uint32_t, std::uint32_t* size) const override { return ReportNoBytes(size); }
    ResultCode FromText(const char*) override { return kDone; }
};

/// 8-bit text of any encoding, up to its first 0 byte.
template <>
class ValueHolder<ByteString> : public Value {
public:
    explicit ValueHolder(const HostObject* hostObject) : host(hostObject) {}
    ~ValueHolder() override { HostFree(host, text); }

    ResultCode Get(void* dst, std::uint32_t cap, std::uint32_t* size) const override;
    ResultCode Set(const void* data, std::uint32_t size) override;

    [[nodiscard]] bool TextIs(const char* other) const { return text != nullptr && std::strcmp(text, other) == 0; }

private:
    char* text = nullptr;   // owned; null until the first set
    const HostObject* host;
};

using ByteStringHolder = ValueHolder<ByteString>;

template <>
class TextValue<ByteString> : public ValueHolder<ByteString> {
public:
    using ValueHolder<ByteString>::ValueHolder;

    ResultCode ToText(void* dst, std::uint32_t cap, std::uint32_t* size) const override { return Get(dst, cap, size); }
    ResultCode FromText(const char* source) override;
};

/// 16-bit text up to its first 0 unit. `ToText` writes UTF-8, but `FromText` reads hexadecimal digits, two a byte;
/// `SetFromUtf8` reads UTF-8.
template <>
class ValueHolder<WideString> : public Value {
public:
    explicit ValueHolder(const HostObject* hostObject) : host(hostObject) {}
    ~ValueHolder() override { HostFree(host, text); }

    ResultCode Get(void* dst, std::uint32_t cap, std::uint32_t* size) const override;
    ResultCode Set(const void* data, std::uint32_t size) override;

    /// Sets the text from UTF-8, decoded by `DecodeUtf8`. Returns 0 or the code of a failed allocation.
    ResultCode SetFromUtf8(const char* source);

protected:
    /// Frees the text and takes ownership of `block`.
    void Replace(HostBlock<char16_t>& block);

    char16_t* text = nullptr;   // owned; null until the first set
    const HostObject* host;
};

using WideStringHolder = ValueHolder<WideString>;

template <>
class TextValue<WideString> : public ValueHolder<WideString> {
public:
    using ValueHolder<WideString>::ValueHolder;

    ResultCode ToText(void* dst, std::uint32_t cap, std::uint32_t* size) const override;

    /// A text that isn't hexadecimal sets the empty text.
    ResultCode FromText(const char* source) override;
};

/// A block of bytes; the text form has two hexadecimal digits for each.
template <>
class ValueHolder<ByteBlock> : public Value {
public:
    explicit ValueHolder(const HostObject* hostObject) : host(hostObject) {}
    ~ValueHolder() override { HostFree(host, data); }

    ResultCode Get(void* dst, std::uint32_t cap, std::uint32_t* size) const override;
    ResultCode Set(const void* source, std::uint32_t sizeBytes) override;

protected:
    /// Frees the data and takes ownership of `block`, which has `sizeBytes` bytes.
    void Replace(HostBlock<std::uint8_t>& block, std::uint32_t sizeBytes);

    std::uint8_t* data = nullptr;   // owned
    std::uint32_t size = 0;         // bytes
    const HostObject* host;
};

template <>
class TextValue<ByteBlock> : public ValueHolder<ByteBlock> {
public:
    using ValueHolder<ByteBlock>::ValueHolder;

    /// Requires and reports one byte more than it writes.
    ResultCode ToText(void* dst, std::uint32_t cap, std::uint32_t* needed) const override;
    ResultCode FromText(const char* source) override;
};

template <TypeCode Code, class Storage>
class TypedValue final : public TextValue<Storage> {
public:
    using TextValue<Storage>::TextValue;

    [[nodiscard]] TypeCode GetType() const override { return Code; }
};

}   // namespace arbor::module
