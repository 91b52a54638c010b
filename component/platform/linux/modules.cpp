// Loaded images, and the functions that this layer offers under the names of two system libraries.

#include <component/platform/modules.h>

#include "native_path.h"
#include "system_error.h"

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>
#include <unwind.h>

#include <algorithm>
#include <cstring>
#include <ctime>

namespace platform {
namespace {

std::uint64_t MillisecondsSinceBoot() {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000 + static_cast<std::uint64_t>(now.tv_nsec) / 1'000'000;
}

/// A stack walk in progress.
struct StackWalk {
    std::uint32_t skip;
    std::span<void*> frames;
    std::uint16_t count;
};

_Unwind_Reason_Code VisitFrame(_Unwind_Context* context, void* argument) {
    StackWalk& walk = *static_cast<StackWalk*>(argument);
    const std::uintptr_t address = _Unwind_GetIP(context);
    if (address == 0 || walk.count == walk.frames.size()) return _URC_END_OF_STACK;
    if (walk.skip > 0) {
        --walk.skip;
    } else {
        walk.frames[walk.count++] = reinterpret_cast<void*>(address);
    }
    return _URC_NO_REASON;
}

/// Implements `CaptureStackBackTrace`. The unwinder starts at this function, so its own frame is skipped too.
[[gnu::noinline]] std::uint16_t CaptureStack(std::uint32_t skip, std::uint32_t limit, void** frames,
                                             std::uint32_t* /*hash*/) {
    StackWalk walk{skip + 1, {frames, limit}, 0};
    _Unwind_Backtrace(VisitFrame, &walk);
    return walk.count;
}

/// The address of an element is the library's handle.
constexpr std::u16string_view kLibraries[] = {u"ntdll.dll", u"kernel32.dll"};

struct FunctionRow {
    const std::u16string_view* library;
    std::string_view name;
    void* function;
};

/// The path of the image that is loaded at `module`, empty if there is none. The loader has no path for the program
/// itself; that one is read into `programPath`.
std::string_view PathOfImage(Handle module, std::span<char> programPath) {
    Dl_info information{};
    link_map* image = nullptr;
    if (dladdr1(module, &information, reinterpret_cast<void**>(&image), RTLD_DL_LINKMAP) == 0) return {};
    if (image->l_name[0] != '\0') return image->l_name;
    const ssize_t lengthBytes = readlink("/proc/self/exe", programPath.data(), programPath.size());
    return {programPath.data(), lengthBytes < 0 ? 0 : static_cast<std::size_t>(lengthBytes)};
}

}   // namespace

bool GetModuleHandleExA(std::uint32_t /*flags*/, const void* address, Handle* module) {
    *module = nullptr;
    Dl_info information{};
    if (dladdr(address, &information) == 0) return FailWith(kErrorModuleNotFound);
    *module = information.dli_fbase;
    return true;
}

std::uint32_t GetModuleFileNameA(Handle module, char* path, std::uint32_t size) {
    char programPath[PATH_MAX];
    char drivePath[kDriveFormBytes];
    const std::size_t lengthBytes = ToDriveForm(PathOfImage(module, programPath), drivePath);
    if (lengthBytes == 0) {
        SetLastError(kErrorModuleNotFound);
        return 0;
    }
    const std::size_t copied = std::min<std::size_t>(lengthBytes, size - 1);
    std::memcpy(path, drivePath, copied);
    path[copied] = '\0';
    if (copied == lengthBytes) return static_cast<std::uint32_t>(copied);
    SetLastError(kErrorInsufficientBuffer);
    return size;
}

Handle GetModuleHandleW(const char16_t* name) {
    const auto* const library = std::find(std::begin(kLibraries), std::end(kLibraries), name);
    return library != std::end(kLibraries) ? const_cast<std::u16string_view*>(library) : nullptr;
}

void* GetProcAddress(Handle module, const char* name) {
    // A local variable, since the first calls come while the variables of other sources are being initialised.
    static const FunctionRow kFunctions[] = {
        {&kLibraries[0], "RtlCaptureStackBackTrace", reinterpret_cast<void*>(&CaptureStack)},
        {&kLibraries[1], "GetTickCount64", reinterpret_cast<void*>(&MillisecondsSinceBoot)},
    };
    for (const FunctionRow& row : kFunctions) {
        if (row.library == module && row.name == name) return row.function;
    }
    return nullptr;
}

}   // namespace platform
