/// How the client calls the interface for one key or one value, and how it reads data of any size. Not for components.
#pragma once

#include <component/client/datum.h>
#include <component/client/text.h>
#include <component/kernel/interface.h>

#include <cstdint>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

namespace arbor::detail {

using kernel::HostObject;
using kernel::KeyHandle;

inline constexpr std::uint32_t kDontCreate = 0;
inline constexpr std::uint32_t kCreate = 1;

/// A key of an object, or the failure that prevented opening it, which every call then returns.
struct KeyAddress {
    HostObject* object = nullptr;   // null after a failure
    KeyHandle handle = kernel::kNoKey;
    ResultCode failure = kernel::kNoKeyThere;

    /// Calls a method of the object with `arguments`. No method throws; to say so spares callers the code for it.
    template <auto method, class... Arguments>
    [[nodiscard]] ResultCode Call(Arguments... arguments) const noexcept {
        if (object == nullptr) return failure;
        return (kernel::Registry(object).*method)(object, arguments...);
    }
    /// This key; after a failure of `text`, an address that returns its code from every call.
    [[nodiscard]] KeyAddress UnlessFailed(const Terminated& text) const {
        return kernel::IsSuccess(text.Code()) ? *this : KeyAddress{nullptr, kernel::kNoKey, text.Code()};
    }
};

/// A value identified by key and name.
struct SlotByName {
    KeyAddress key;
    const char* name;

    /// As `Registry::GetValue`.
    [[nodiscard]] ResultCode Read(std::uint32_t* count, TypeCode* type, void* buffer, std::uint32_t size) const {
        return key.Call<&kernel::Registry::GetValue>(count, key.handle, name, type, buffer, size);
    }
    /// As `Registry::SetValue`.
    [[nodiscard]] ResultCode Write(TypeCode type, const void* data, std::uint32_t size, std::uint32_t create) const {
        return key.Call<&kernel::Registry::SetValue>(key.handle, name, type, data, size, create);
    }
    [[nodiscard]] ResultCode Remove() const { return key.Call<&kernel::Registry::DeleteValue>(key.handle, name); }
};

/// The same, identified by key and index.
struct SlotByIndex {
    KeyAddress key{};
    std::uint32_t index = 0;

    [[nodiscard]] ResultCode Read(std::uint32_t* count, TypeCode* type, void* buffer, std::uint32_t size) const {
        return key.Call<&kernel::Registry::GetValueByIndex>(count, key.handle, index, type, buffer, size);
    }
    /// Never creates a value: its name would be the store's choice.
    [[nodiscard]] ResultCode Write(TypeCode type, const void* data, std::uint32_t size, std::uint32_t) const {
        return key.Call<&kernel::Registry::SetValueByIndex>(key.handle, index, type, data, size, kDontCreate);
    }
    [[nodiscard]] ResultCode Remove() const { return key.Call<&kernel::Registry::DeleteValueByInd>(key.handle, index); }
};

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
    if (read && !read->empty()) read->pop_back();
    return read;
}

template <class Slot>
Result<TypeCode> ReadType(const Slot& slot) {
    TypeCode type = 0;
    const ResultCode code = slot.Read(nullptr, &type, nullptr, 0);
    if (kernel::IsFailure(code)) return Status(code);
    return type;
}

}   // namespace arbor::detail
