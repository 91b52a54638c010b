/// Trace lines: their contents, their receiver, and the formatter that the host's trace function uses.
#pragma once

#include <component/kernel/trace.h>

#include <functional>
#include <string>

namespace host {

struct TraceLine {
    std::uint32_t level;
    std::string text;
    const kernel::HostObject* object;   // the writer, or null; compare it, never dereference it
};

/// Receives the lines. Called in the tracing thread while a lock is held, so calls don't overlap; it must not trace.
using TraceSink = std::function<void(const TraceLine&)>;

/// Formats as printf does, with these differences: "%terr" formats a `ResultCode` as its number and text, "%S" formats
/// 16-bit text as UTF-8, "l" means 32 bits on every system ("ll" and "I64" mean 64), and null text gives "(null)".
/// Supports the conversions s S c d i u x X p f terr and %. At any other conversion formatting stops, and the rest of
/// the format is appended as it is. May throw `std::bad_alloc`.
[[nodiscard]] std::string FormatTrace(const char* format, std::va_list arguments);

}   // namespace host
