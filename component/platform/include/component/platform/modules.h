/// The loaded images of the process, and the functions that they offer by name.
#pragma once

#include <component/platform/system_call.h>
#include <component/platform/types.h>

namespace platform {

inline constexpr std::uint32_t kModuleUnchangedRefcount = 2;
inline constexpr std::uint32_t kModuleFromAddress = 4;

/// The image that holds `address` (flags 6 are both bits above); its handle is its load address. Takes no reference.
/// An address in no image is error 126.
[[nodiscard]] bool GetModuleHandleExA(std::uint32_t flags, const void* address, Handle* module);

/// The image's path in the narrow form, up to `size` bytes with the terminator, and its length. A path that doesn't fit
/// is cut, gives `size` and error 122; 0 is a failure.
[[nodiscard]] std::uint32_t GetModuleFileNameA(Handle module, char* path, std::uint32_t size);

/// The loaded library of that name, or null; nothing is loaded. On Linux "ntdll.dll" and "kernel32.dll" are the layer
/// itself, which answers for the functions that it has.
[[nodiscard]] Handle GetModuleHandleW(const char16_t* name);

/// The function of that name, or null.
[[nodiscard]] void* GetProcAddress(Handle module, const char* name);

/// The return addresses of the calling thread, innermost first, without the first `skip`; gives their number. The type
/// is that of the function that `GetProcAddress` gives under the name "RtlCaptureStackBackTrace".
using CaptureStackBackTrace =
    SystemFunction<std::uint16_t(std::uint32_t skip, std::uint32_t limit, void** frames, std::uint32_t* hash)>;

}   // namespace platform
