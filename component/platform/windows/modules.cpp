// The calls of Windows for loaded images.

#include <component/platform/modules.h>

#include "text.h"

namespace platform {

static_assert(kModuleUnchangedRefcount == GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT);
static_assert(kModuleFromAddress == GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS);

bool GetModuleHandleExA(std::uint32_t flags, const void* address, Handle* module) {
    HMODULE found = nullptr;
    const bool succeeded = ::GetModuleHandleExA(flags, static_cast<const char*>(address), &found) != 0;
    *module = found;
    return succeeded;
}

std::uint32_t GetModuleFileNameA(Handle module, char* path, std::uint32_t size) {
    return ::GetModuleFileNameA(static_cast<HMODULE>(module), path, size);
}

Handle GetModuleHandleW(const char16_t* name) { return ::GetModuleHandleW(Wide(name)); }

void* GetProcAddress(Handle module, const char* name) {
    return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(module), name));
}

}   // namespace platform
