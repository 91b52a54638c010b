/// The lines that the module traces, formatted.
#pragma once

#include <component/kernel/trace.h>

#include <functional>
#include <string>

namespace host {

struct TraceLine {
    std::uint32_t level;
    std::string text;
    const kernel::HostObject* object;   // who wrote it, or null; only to compare
};

/// Where lines go. Called from the thread that traces, one line at a time.
using TraceSink = std::function<void(const TraceLine&)>;

/// Prints as printf does, with these differences: "%terr" takes a `ResultCode` and shows the number and its text, "%S"
/// takes 16-bit text and shows UTF-8, a `long` is 32 bits wide on every system ("ll" and "I64" are 64), and a null text
/// shows as
/// "(null)". Knows the conversions s S c d i u x X p f terr and %; from any other one on the format stands as it came.
/// May throw `std::bad_alloc`.
[[nodiscard]] std::string FormatTrace(const char* format, std::va_list arguments);

}   // namespace host
