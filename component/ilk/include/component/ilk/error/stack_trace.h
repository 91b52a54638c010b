/// The call stack of a thread, and the modules that its frames lie in.
#pragma once

#include <component/ilk/error/result_code.h>
#include <component/ilk/rtl/basic_string.h>
#include <component/ilk/rtl/compact_string.h>
#include <component/ilk/rtl/vector.h>
#include <component/ilk/system/functions.h>

namespace ilk {

struct StackModule {
    basic_string_t<char> name;   // the file's name without its directory
    basic_string_t<char> id;     // its debug identity; empty if it can't have one
    std::uint64_t base = 0;      // load address
    std::uint64_t size = 0;      // bytes in memory
};

struct StackTrace {
    vector_t<std::uint64_t> frames;   // return addresses, innermost first
    vector_t<StackModule> modules;    // sorted by `base`, each once
};

/// The calling thread's stack without its innermost `skip` frames, of which `Capture` itself is the first. It is empty
/// if `functions` can't walk a stack; a frame in a module that can't be told is kept without one. Throws
/// `std::bad_alloc` without memory.
[[nodiscard]] StackTrace Capture(std::uint32_t skip, const NtFunctions& functions = GetNtFunctions());

/// Tells the module that `address` lies in. A failure means that there is none to be told; `base` and `size`, if they
/// are set nevertheless, say for which addresses.
using ModuleLookup = ResultCode (*)(std::uint64_t address, StackModule& module);

/// Asks the system, and the image's headers where it is loaded.
[[nodiscard]] ResultCode LookUpModule(std::uint64_t address, StackModule& module);

/// Fills in the modules of the trace's frames. Each module is looked up once, a refused one too if its size is known.
void ResolveModules(StackTrace& trace, ModuleLookup lookUp);

/// Appends one line for each frame: its number, then module, identity and offset, or the bare address.
void PrintStack(const StackTrace& trace, CompactString& target);

}   // namespace ilk
