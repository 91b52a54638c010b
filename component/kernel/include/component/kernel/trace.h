/// Writing of trace lines through the host, which formats and shows them.
#pragma once

#include <component/kernel/host_object.h>

#include <atomic>
#include <cstdarg>

namespace kernel {

enum TraceLevel : std::uint32_t {
    TraceRegistration = 200,
    TraceFailure = 300,
    TraceWarning = 350,
    TraceProgress = 400,
    TraceDetail = 500,
    TraceCall = 600,
};

inline constexpr std::uint32_t kTraceImportKind = 1;
inline constexpr std::uint32_t kTraceImportNumber = 0x5EC5256C;
inline constexpr std::uint32_t kTraceImportMode = 2;

using HostTraceCall = ResultCode (*)(const HostObject* object, std::uint32_t level, const char* format,
                                     std::va_list arguments);

/// Returns the host's `HostTrace`; null while the host doesn't offer it. The first call that finds it caches it;
/// concurrent first calls store the same address.
[[nodiscard]] inline HostTraceCall BoundHostTrace() {
    static std::atomic<HostTraceCall> bound{nullptr};
    HostTraceCall call = bound.load(std::memory_order_relaxed);
    if (call == nullptr) {
        call = BindImport<HostTraceCall>(HostRoot, kTraceImportKind, kTraceImportNumber, kTraceImportMode);
        bound.store(call, std::memory_order_relaxed);
    }
    return call;
}

/// Writes one line. `object` may be null. `format` is that of printf, plus "%terr" for a `ResultCode` and "%S" for
/// 16-bit text; every argument is at most 32 bits wide or a pointer, unless a comment at the call says otherwise.
/// Returns the host's code, or `kUnexpected` without a host or without its function. Callers may ignore the result: a
/// lost line has no other effect.
inline ResultCode Trace(const HostObject* object, std::uint32_t level, const char* format, ...) {
    if (HostRoot == nullptr) return kUnexpected;
    const HostTraceCall call = BoundHostTrace();
    if (call == nullptr) return kUnexpected;
    std::va_list arguments;
    va_start(arguments, format);
    const ResultCode code = call(object, level, format, arguments);
    va_end(arguments);
    return code;
}

}   // namespace kernel
