/// The words that the module and its host exchange.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kernel {

/// One machine word of the host's tables: 32 bits on the product's target.
using HostWord = std::uintptr_t;

/// The result of every call across the module's edge. Negative is a failure; there are successes other than 0, so that
/// only the sign tells.
using ResultCode = std::int32_t;

[[nodiscard]] constexpr bool IsFailure(ResultCode code) { return code < 0; }
[[nodiscard]] constexpr bool IsSuccess(ResultCode code) { return code >= 0; }

/// The number of a value's type; 0 is no type.
using TypeCode = std::uint32_t;

/// What names a key to callers: 0 is the current root, `kNoKey` is no key, anything else is a key's address.
using KeyHandle = HostWord;
inline constexpr KeyHandle kNoKey = ~KeyHandle{0};

}   // namespace kernel
