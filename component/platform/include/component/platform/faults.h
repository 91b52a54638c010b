/// Access to memory that may fault, such as a mapped file on a disk that fails.
#pragma once

#include <component/platform/types.h>

namespace platform {

inline constexpr std::uint32_t kExceptionInPageError = 0xC0000006;
inline constexpr std::uint32_t kExceptionFileCorrupt = 0xC0000102;

/// Calls `touch(context)`. Returns 0, or the number of the exception if one of the two above ended the call at the
/// faulting instruction. Other exceptions pass through. On Linux, which has no such exceptions, it only makes the call.
/// `touch` must own nothing that needs a destructor and must not throw.
[[nodiscard]] std::uint32_t CallGuarded(void (*touch)(void* context), void* context);

}   // namespace platform
