/// The levels between `Value` and its leaf classes: `ValueHolder` keeps the datum and serves its bytes, `TextValue` its
/// text form, `TypedValue` says which type it is. Storage classes of fixed size share the general templates; nothing,
/// the two texts and the block have holders of their own.
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
        return DeliverBytes(&value, sizeof value, dst, cap, size);
    }

    /// Compares bytes, not numbers, hence the plain pointer: a NaN equals itself, and the two zeros differ.
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

struct Nothing {};
struct ByteString {};
struct WideString {};
struct ByteBlock {};

template <>
class ValueHolder<Nothing> : public Value {
public:
    explicit ValueHolder(const HostObject*) {}

    ResultCode Get(void*, std::uint32_t, std::uint32_t* size) const override { return DeliverNothing(size); }
    ResultCode Set(const void*, std::uint32_t) override { return ResultUnchanged; }
};

template <>
class TextValue<Nothing> : public ValueHolder<Nothing> {
public:
    using ValueHolder<Nothing>::ValueHolder;

    ResultCode ToText(void*, std::uint32_t, std::uint32_t* size) const override { return DeliverNothing(size); }
    ResultCode FromText(const char*) override { return kDone; }
};

/// 8-bit text, whatever its encoding, up to its first 0 byte.
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

/// 16-bit text up to its first 0 unit. Its text form is UTF-8 on the way out and hexadecimal digits, two for each byte,
/// on the way in; `SetFromUtf8` is the road for UTF-8.
template <>
class ValueHolder<WideString> : public Value {
public:
    explicit ValueHolder(const HostObject* hostObject) : host(hostObject) {}
    ~ValueHolder() override { HostFree(host, text); }

    ResultCode Get(void* dst, std::uint32_t cap, std::uint32_t* size) const override;
    ResultCode Set(const void* data, std::uint32_t size) override;

    /// Takes UTF-8 by `DecodeUtf8`. Returns 0 or the code of a failed allocation.
    ResultCode SetFromUtf8(const char* source);

protected:
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

    /// A text that isn't hexadecimal gives the empty string.
    ResultCode FromText(const char* source) override;
};

/// Bytes of any number; the text form has two hexadecimal digits for each.
template <>
class ValueHolder<ByteBlock> : public Value {
public:
    explicit ValueHolder(const HostObject* hostObject) : host(hostObject) {}
    ~ValueHolder() override { HostFree(host, data); }

    ResultCode Get(void* dst, std::uint32_t cap, std::uint32_t* size) const override;
    ResultCode Set(const void* source, std::uint32_t sizeBytes) override;

protected:
    void Replace(HostBlock<std::uint8_t>& block, std::uint32_t sizeBytes);

    std::uint8_t* data = nullptr;   // owned
    std::uint32_t size = 0;         // bytes
    const HostObject* host;
};

template <>
class TextValue<ByteBlock> : public ValueHolder<ByteBlock> {
public:
    using ValueHolder<ByteBlock>::ValueHolder;

    /// Asks for one byte more than it writes.
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
