/// One typed datum of the store, in two forms: the bytes that callers exchange, in the machine's order, and the text
/// that a document holds and that conversions go through.
///
/// A value belongs to one key entry and knows no lock: the object's lock guards it through its key. No operation
/// throws, and one that fails leaves the datum as it was.
#pragma once

#include "tree/contract.h"

#include <cstdint>

namespace arbor::module {

/// The success of a `Set` that found the same datum already there.
inline constexpr ResultCode ResultUnchanged = 71;

/// The reads share one contract: `*size` gets the bytes needed, even on a failure; a null `dst` with a `cap` of 0 only
/// asks for that; a null `dst` with any other `cap` is `kInvalidArgument`, a `cap` below the need `kBufferTooSmall`
/// with `dst` untouched. `size` may be null. A need that 32 bits can't say is `kOutOfMemory`, with `*size` all ones.
/// A type that needs no bytes at all succeeds with any buffer.
class Value {
public:
    Value() = default;
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;

    [[nodiscard]] virtual TypeCode GetType() const = 0;

    /// Copies the datum out. Texts bring their terminator, but for the empty one, which needs 0 bytes.
    virtual ResultCode Get(void* dst, std::uint32_t cap, std::uint32_t* size) const = 0;

    /// Takes the datum from `size` bytes. Returns 0, `ResultUnchanged`, `kInvalidArgument` for a null pointer or for
    /// fewer bytes than the type has, or the code of a failed allocation.
    virtual ResultCode Set(const void* data, std::uint32_t size) = 0;

    /// Gives the text form. Numbers bring no terminator: callers leave room for one and set it.
    /// `kUnspecified` for a type without a text form, with `*size` left alone.
    virtual ResultCode ToText(void* dst, std::uint32_t cap, std::uint32_t* size) const = 0;

    /// Takes the datum from its text form. `kInvalidArgument` for a text that the type can't read, `kUnspecified` for a
    /// type that reads none, or the code of a failed allocation.
    virtual ResultCode FromText(const char* text) = 0;

    virtual ~Value() = default;
};

/// A new value in a host block: zero or empty. Null for a type that can't be stored, and if the host has no memory.
/// `host` serves the value's memory and must outlive it. `ReleaseValue` takes it back.
[[nodiscard]] Value* CreateValue(const HostObject* host, TypeCode code);

/// Destroys a value of `CreateValue` and frees its block; null is allowed.
void ReleaseValue(const HostObject* host, Value* value);

}   // namespace arbor::module
