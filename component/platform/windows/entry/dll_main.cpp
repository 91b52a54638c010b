// Passes the calls of the system's loader to `ModuleEntry`: the C runtime calls `DllMain` for every reason. Only the
// module links this source: a program has no `ModuleEntry`.
#include <windows.h>

#include <cstdint>

extern "C" int ModuleEntry(void* first, std::uint32_t reason, void* third);

extern "C" BOOL WINAPI DllMain(HINSTANCE first, DWORD reason, LPVOID third) {
    return ModuleEntry(first, reason, third);
}
