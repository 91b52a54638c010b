/// Reading memory that may fault on its first touch, as a mapped file does whose disk has gone.
#pragma once

#include <component/platform/types.h>

namespace platform {

inline constexpr std::uint32_t kExceptionInPageError = 0xC0000006;
inline constexpr std::uint32_t kExceptionFileCorrupt = 0xC0000102;

/// Runs `touch(context)`. Gives 0, or the number of the one of the two exceptions above that ended it: then nothing
/// after the faulting instruction has run. All other exceptions pass through. Where the system has no such exceptions
/// it only calls. `touch` must own nothing that needs a destructor and must not throw.
[[nodiscard]] std::uint32_t CallGuarded(void (*touch)(void* context), void* context);

}   // namespace platform
