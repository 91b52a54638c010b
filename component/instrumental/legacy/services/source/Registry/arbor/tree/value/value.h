/// The interface of all values: one typed datum in two forms. The binary form, in the machine's byte order, is what
/// callers exchange; the text form is what documents contain and what conversions between types use.
///
/// A value is owned by one entry of a key. Not synchronised: the caller holds the object's lock. No operation throws,
/// and one that fails leaves the datum unchanged.
#pragma once

#include "tree/contract.h"

#include <cstdint>

namespace arbor::module {

/// Returned by a `Set` of the datum that the value already has; a success.
inline constexpr ResultCode ResultUnchanged = 71;

/// The reads, `Get` and `ToText`, share one contract. `*size`, which may be null, is set to the bytes needed, on
/// failures too. A null `dst` with a `cap` of 0 only measures, and is `kInvalidArgument` with any other `cap`. A `cap`
/// below the bytes needed is `kBufferTooSmall`, with `dst` unchanged. More bytes than 32 bits can count are
/// `kOutOfMemory`, with `*size` 0xFFFFFFFF. A type that needs no bytes succeeds with any buffer.
class Value {
public:
    Value() = default;
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;

    [[nodiscard]] virtual TypeCode GetType() const = 0;

    /// Copies the datum to `dst`. Texts include their terminator, except the empty text, which needs 0 bytes.
    virtual ResultCode Get(void* dst, std::uint32_t cap, std::uint32_t* size) const = 0;

    /// Sets the datum from `size` bytes. Returns 0, `ResultUnchanged`, `kInvalidArgument` for a null pointer or for
    /// fewer bytes than the type has, or the code of a failed allocation.
    virtual ResultCode Set(const void* data, std::uint32_t size) = 0;

    /// Writes the text form to `dst`. Numbers have no terminator; a caller that needs one adds it.
    /// `kUnspecified` for a type without a text form, with `*size` unchanged.
    virtual ResultCode ToText(void* dst, std::uint32_t cap, std::uint32_t* size) const = 0;

    /// Sets the datum from its text form. Returns `kInvalidArgument` for a text that the type can't parse,
    /// `kUnspecified` for a type without a text form, or the code of a failed allocation.
    virtual ResultCode FromText(const char* text) = 0;

    virtual ~Value() = default;
};

/// Creates a value, zero or empty, in a host block; `ReleaseValue` frees it. Returns null for a type that can't be
/// stored, or if the host has no memory. `host` provides the value's memory and must outlive it.
[[nodiscard]] Value* CreateValue(const HostObject* host, TypeCode code);

/// Destroys a value of `CreateValue` and frees its block; null is allowed.
void ReleaseValue(const HostObject* host, Value* value);

}   // namespace arbor::module
