/// The basic types of the calls between the module and its host.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kernel {

/// One machine word of the host's tables: 32 bits on the product's target.
using HostWord = std::uintptr_t;

/// The result of every call between module and host. A failure is negative. Some successes aren't 0, so test with the
/// two functions below.
using ResultCode = std::int32_t;

[[nodiscard]] constexpr bool IsFailure(ResultCode code) { return code < 0; }
[[nodiscard]] constexpr bool IsSuccess(ResultCode code) { return code >= 0; }

/// The number of a value's type; 0 is no type.
using TypeCode = std::uint32_t;

/// How callers refer to a key: 0 is the current root, `kNoKey` is no key, anything else is the address of a key.
using KeyHandle = HostWord;
inline constexpr KeyHandle kNoKey = ~KeyHandle{0};

}   // namespace kernel
