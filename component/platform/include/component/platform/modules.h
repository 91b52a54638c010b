/// The loaded images of the process, and their functions by name.
#pragma once

#include <component/platform/system_call.h>
#include <component/platform/types.h>

namespace platform {

inline constexpr std::uint32_t kModuleUnchangedRefcount = 2;
inline constexpr std::uint32_t kModuleFromAddress = 4;

/// Finds the image that contains `address`. `flags` are both bits above. The handle is the load address; the reference
/// count doesn't change. An address in no image is error 126.
[[nodiscard]] bool GetModuleHandleExA(std::uint32_t flags, const void* address, Handle* module);

/// Writes the image's path, in the locale's encoding and with a terminator, and returns its length. `size` is at
/// least 1. A path that doesn't fit is truncated: the result is `size`, with error 122. 0 is a failure.
[[nodiscard]] std::uint32_t GetModuleFileNameA(Handle module, char* path, std::uint32_t size);

/// Returns the loaded library of that name, which must be in lower case, or null; loads nothing. On Linux this layer
/// implements a few functions of "ntdll.dll" and "kernel32.dll" and finds them under these names.
[[nodiscard]] Handle GetModuleHandleW(const char16_t* name);

/// Returns the function of that name, or null.
[[nodiscard]] void* GetProcAddress(Handle module, const char* name);

/// The type of "RtlCaptureStackBackTrace" in "ntdll.dll": writes at most `limit` return addresses of the calling
/// thread, innermost first and without the first `skip`, and returns their number. `hash` may be null; on Linux it
/// isn't set.
using CaptureStackBackTrace =
    SystemFunction<std::uint16_t(std::uint32_t skip, std::uint32_t limit, void** frames, std::uint32_t* hash)>;

}   // namespace platform
