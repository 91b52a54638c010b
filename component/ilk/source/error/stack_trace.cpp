#include <component/ilk/error/stack_trace.h>

#include <component/ilk/error/image.h>
#include <component/ilk/rtl/format.h>

namespace ilk {
namespace {

constexpr std::uint32_t kMostFrames = 62;
constexpr std::uint32_t kUsualModules = 10;
constexpr std::uint32_t kFirstPathBytes = 260;
constexpr std::uint32_t kMostPathBytes = 32768;

/// The first module that doesn't end below `frame`; the address right behind an image still counts as inside it.
const StackModule* FirstNotBelow(const vector_t<StackModule>& modules, std::uint64_t frame) {
    return std::partition_point(modules.begin(), modules.end(),
                                [frame](const StackModule& module) { return module.base + module.size < frame; });
}

/// The one of `modules` that `frame` lies in, or null.
const StackModule* ModuleOf(const vector_t<StackModule>& modules, std::uint64_t frame) {
    const StackModule* module = FirstNotBelow(modules, frame);
    return module != modules.end() && frame >= module->base ? module : nullptr;
}

std::uint32_t ReadModulePath(Handle module, basic_string_t<char>& path, std::uint32_t sizeBytes) {
    path.resize(sizeBytes);
    const std::uint32_t length = platform::GetModuleFileNameA(module, path.data(), sizeBytes);
    if (length == 0) return platform::GetLastError();
    if (length == sizeBytes) return platform::kErrorInsufficientBuffer;
    path.resize(length);
    return platform::kErrorSuccess;
}

/// Stores the file name of `module`. Returns a system error number.
std::uint32_t ReadModuleName(Handle module, basic_string_t<char>& name) noexcept {
    try {
        basic_string_t<char> path;
        std::uint32_t sizeBytes = kFirstPathBytes;
        std::uint32_t error = ReadModulePath(module, path, sizeBytes);
        while (error == platform::kErrorInsufficientBuffer) {
            sizeBytes *= 2;
            if (sizeBytes > kMostPathBytes) return platform::kErrorOutOfMemory;
            error = ReadModulePath(module, path, sizeBytes);
        }
        if (error == platform::kErrorSuccess) name.append(path.view().substr(path.view().rfind('\\') + 1));
        return error;
    } catch (...) {
        return platform::kErrorOutOfMemory;
    }
}

/// Whether the system's trace leaves out the function that asks for it, as Wine's does and that of Windows doesn't.
[[gnu::noinline]] bool LeavesOutTheAsker(platform::CaptureStackBackTrace capture) {
    void* first = nullptr;
    return capture(0, 1, &first, nullptr) == 1 && first == __builtin_extract_return_addr(__builtin_return_address(0));
}

}   // namespace

[[gnu::noinline]] StackTrace Capture(std::uint32_t skip, const NtFunctions& functions) {
    StackTrace trace;
    const platform::CaptureStackBackTrace capture = functions.RtlCaptureStackBackTrace;
    if (capture == nullptr) return trace;
    if (skip > 0 && LeavesOutTheAsker(capture)) --skip;
    void* frames[kMostFrames];
    const std::uint16_t count = capture(skip, kMostFrames, frames, nullptr);
    trace.frames.reserve(count);
    for (const void* const frame : std::span(frames, count)) {
        if (frame != nullptr) trace.frames.append(reinterpret_cast<std::uintptr_t>(frame));
    }
    ResolveModules(trace, &LookUpModule);
    return trace;
}

ResultCode LookUpModule(std::uint64_t address, StackModule& module) {
    Handle handle = nullptr;
    constexpr std::uint32_t kFlags = platform::kModuleFromAddress | platform::kModuleUnchangedRefcount;
    const auto* const place = reinterpret_cast<const void*>(static_cast<std::uintptr_t>(address));
    if (!platform::GetModuleHandleExA(kFlags, place, &handle)) return ResultFromLastError();
    const std::uint32_t error = ReadModuleName(handle, module.name);
    if (error != platform::kErrorSuccess) return ResultFromPlatformError(error);

    const auto* const image = static_cast<const std::byte*>(handle);
    std::uint32_t sizeBytes = 0;
    const ResultCode code = ReadImageSize({image, kLeastImageBytes}, sizeBytes);
    if (IsFailure(code)) return code;
    module.base = reinterpret_cast<std::uintptr_t>(image);
    module.size = sizeBytes;
    return ReadDebugIdentity({image, sizeBytes}, module.id);
}

void ResolveModules(StackTrace& trace, ModuleLookup lookUp) {
    trace.modules.reserve(kUsualModules);
    vector_t<StackModule> refused;
    for (const std::uint64_t frame : trace.frames) {
        if (ModuleOf(trace.modules, frame) != nullptr || ModuleOf(refused, frame) != nullptr) continue;
        StackModule module;
        const bool isTold = IsSuccess(lookUp(frame, module));
        if (!isTold && module.size == 0) continue;
        vector_t<StackModule>& modules = isTold ? trace.modules : refused;
        modules.insert(FirstNotBelow(modules, frame), std::move(module));
    }
}

void PrintStack(const StackTrace& trace, CompactString& target) {
    constexpr FormatSpec kNumber{.width = 2};
    constexpr FormatSpec kAddress{.base = 16};
    for (std::uint32_t number = 0; number < trace.frames.size(); ++number) {
        const std::uint64_t frame = trace.frames[number];
        Print(target, kNumber, number);
        target.append("# ");
        if (const StackModule* module = ModuleOf(trace.modules, frame)) {
            target.append(module->name).append('!').append(module->id).append('!');
            Print(target, kAddress, frame - module->base);
        } else {
            Print(target, kAddress, frame);
        }
        target.append('\n');
    }
}

}   // namespace ilk
