// Captures a call stack, finds the module of each frame and prints both.

#include <component/ilk/error/stack_trace.h>

#include <component/ilk/error/image.h>
#include <component/ilk/rtl/format.h>

namespace ilk {
namespace {

constexpr std::uint32_t kMaxFrames = 62;
constexpr std::uint32_t kReservedModules = 10;
constexpr std::uint32_t kInitialPathBytes = 260;
constexpr std::uint32_t kMaxPathBytes = 32768;

/// Returns the first module that doesn't end before `frame`, or the end. The address directly after a module counts as
/// part of it: it is the return address of a call that is the module's last instruction.
const StackModule* FirstNotBefore(const vector_t<StackModule>& modules, std::uint64_t frame) {
    return std::partition_point(modules.begin(), modules.end(),
                                [frame](const StackModule& module) { return module.base + module.size < frame; });
}

const StackModule* FindModule(const vector_t<StackModule>& modules, std::uint64_t frame) {
    const StackModule* module = FirstNotBefore(modules, frame);
    return module != modules.end() && frame >= module->base ? module : nullptr;
}

/// Whether `capture` omits the frame of the function that calls it. On Windows it doesn't, under Wine it does.
[[gnu::noinline]] bool OmitsCallingFunction(platform::CaptureStackBackTrace capture) {
    void* first = nullptr;
    return capture(0, 1, &first, nullptr) == 1 && first == __builtin_extract_return_addr(__builtin_return_address(0));
}

}   // namespace

[[gnu::noinline]] StackTrace Capture(std::uint32_t skip, const NtFunctions& functions) {
    StackTrace trace;
    const platform::CaptureStackBackTrace capture = functions.RtlCaptureStackBackTrace;
    if (capture == nullptr) return trace;
    if (skip > 0 && OmitsCallingFunction(capture)) --skip;
    void* frames[kMaxFrames];
    const std::uint16_t count = capture(skip, kMaxFrames, frames, nullptr);
    trace.frames.reserve(count);
    for (const void* const frame : std::span(frames, count)) {
        if (frame != nullptr) trace.frames.append(reinterpret_cast<std::uintptr_t>(frame));
    }
    ResolveModules(trace, &LookUpModule);
    return trace;
}

std::uint32_t ReadModuleName(Handle module, ModulePathFunction readPath, basic_string_t<char>& name) noexcept {
    try {
        basic_string_t<char> path;
        for (std::uint32_t sizeBytes = kInitialPathBytes; sizeBytes <= kMaxPathBytes; sizeBytes *= 2) {
            path.resize(sizeBytes);
            const std::uint32_t length = readPath(module, path.data(), sizeBytes);
            const std::uint32_t error = length == 0 ? platform::GetLastError() : platform::kErrorSuccess;
            if (length == sizeBytes || error == platform::kErrorInsufficientBuffer) continue;
            const std::string_view pathText = path.view().substr(0, length);
            name.append(pathText.substr(pathText.rfind('\\') + 1));
            return error;
        }
    } catch (...) {
        // Without memory: the same error as for a path that is too long.
    }
    return platform::kErrorOutOfMemory;
}

ResultCode LookUpModule(std::uint64_t address, StackModule& module) {
    Handle handle = nullptr;
    constexpr std::uint32_t kFlags = platform::kModuleFromAddress | platform::kModuleUnchangedRefcount;
    const auto* const pointer = reinterpret_cast<const void*>(static_cast<std::uintptr_t>(address));
    if (!platform::GetModuleHandleExA(kFlags, pointer, &handle)) return ResultFromLastError();
    const std::uint32_t error = ReadModuleName(handle, &platform::GetModuleFileNameA, module.name);
    if (error != platform::kErrorSuccess) return ResultFromPlatformError(error);

    const auto* const image = static_cast<const std::byte*>(handle);
    std::uint32_t sizeBytes = 0;
    const ResultCode code = ReadImageSize({image, kMinImageBytes}, sizeBytes);
    if (IsFailure(code)) return code;
    module.base = reinterpret_cast<std::uintptr_t>(image);
    module.size = sizeBytes;
    return ReadDebugIdentity({image, sizeBytes}, module.id);
}

void ResolveModules(StackTrace& trace, ModuleLookup lookUp) {
    trace.modules.reserve(kReservedModules);
    vector_t<StackModule> unidentified;
    for (const std::uint64_t frame : trace.frames) {
        if (FindModule(trace.modules, frame) != nullptr || FindModule(unidentified, frame) != nullptr) continue;
        StackModule module;
        const bool isIdentified = IsSuccess(lookUp(frame, module));
        if (!isIdentified && module.size == 0) continue;
        vector_t<StackModule>& modules = isIdentified ? trace.modules : unidentified;
        modules.insert(FirstNotBefore(modules, frame), std::move(module));
    }
}

void PrintStack(const StackTrace& trace, CompactString& target) {
    constexpr FormatSpec kNumber{.width = 2};
    constexpr FormatSpec kAddress{.base = 16};
    for (std::uint32_t number = 0; number < trace.frames.size(); ++number) {
        const std::uint64_t frame = trace.frames[number];
        Print(target, kNumber, number);
        target.append("# ");
        if (const StackModule* module = FindModule(trace.modules, frame)) {
            target.append(module->name).append('!').append(module->id).append('!');
            Print(target, kAddress, frame - module->base);
        } else {
            Print(target, kAddress, frame);
        }
        target.append('\n');
    }
}

}   // namespace ilk
