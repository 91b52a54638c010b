// Passes the calls of the system's loader to `ModuleEntry`: the C runtime calls `DllMain` for every reason. Only the
// module links this source: a program has no `ModuleEntry`.
#include <windows.h>

#include <cstdint>
#include <cstdlib>

extern "C" int ModuleEntry(void* first, std::uint32_t reason, void* third);

extern "C" BOOL WINAPI DllMain(HINSTANCE first, DWORD reason, LPVOID third) {
    return ModuleEntry(first, reason, third);
}

// Replaces the runtime's handler of a fatal exception, which prints the exception's type and brings the code that
// decodes it, 74 KB, for a text that a host without a console never shows.
namespace __gnu_cxx {
void __verbose_terminate_handler();
void __verbose_terminate_handler() { std::abort(); }
}   // namespace __gnu_cxx
