/// Captures the call stack of a thread, finds the modules that its frames lie in, and prints both.
#pragma once

#include <component/ilk/error/result_code.h>
#include <component/ilk/rtl/basic_string.h>
#include <component/ilk/rtl/compact_string.h>
#include <component/ilk/rtl/vector.h>
#include <component/ilk/system/functions.h>

namespace ilk {

struct StackModule {
    basic_string_t<char> name;   // file name without directory
    basic_string_t<char> id;     // debug identity, see `image.h`; empty if the image has no debug directory
    std::uint64_t base = 0;      // load address
    std::uint64_t size = 0;      // bytes in memory
};

struct StackTrace {
    vector_t<std::uint64_t> frames;   // return addresses, innermost first
    vector_t<StackModule> modules;    // sorted by `base`, without duplicates
};

/// Returns the calling thread's stack without its innermost `skip` frames, the first of which is `Capture` itself. At
/// most 62 frames; none if `functions` lacks `RtlCaptureStackBackTrace`. A frame whose module can't be identified is
/// kept. Throws `std::bad_alloc` without memory.
[[nodiscard]] StackTrace Capture(std::uint32_t skip, const NtFunctions& functions = GetNtFunctions());

/// Identifies the module that `address` lies in. After a failure a non-zero `size` means that the lookup fails for all
/// addresses from `base` to `base + size`.
using ModuleLookup = ResultCode (*)(std::uint64_t address, StackModule& module);

/// The `ModuleLookup` that reads the system's list of modules and the headers of the loaded image.
[[nodiscard]] ResultCode LookUpModule(std::uint64_t address, StackModule& module);

/// Has the contract of `platform::GetModuleFileNameA`.
using ModulePathFunction = std::uint32_t (*)(Handle module, char* path, std::uint32_t sizeBytes);

/// Appends the file name of `module` to `name`. The buffer for the path starts at 260 bytes and is doubled, up to
/// 32,768, while it is too small. Returns a system error number; 14 if the path needs more or there is no memory.
[[nodiscard]] std::uint32_t ReadModuleName(Handle module, ModulePathFunction readPath,
                                           basic_string_t<char>& name) noexcept;

/// Fills `trace.modules` for the frames. Calls `lookUp` once for each module; if it fails without setting the size,
/// once for each frame.
void ResolveModules(StackTrace& trace, ModuleLookup lookUp);

/// Appends one line for each frame: its number, then either module name, debug identity and offset in the module, or
/// the address if the module is unknown.
void PrintStack(const StackTrace& trace, CompactString& target);

}   // namespace ilk
