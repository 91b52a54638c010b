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
#include <string_view>

namespace platform {
namespace {

std::uint64_t MillisecondsSinceStart() {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000 + static_cast<std::uint64_t>(now.tv_nsec) / 1'000'000;
}

/// The libraries that the layer stands for. The address of a row's name is its handle.
struct LibraryRow {
    std::u16string_view name;
};

constexpr LibraryRow kLibraries[] = {
    {u"ntdll.dll"},
    {u"kernel32.dll"},
};

struct FunctionRow {
    const LibraryRow* library;
    std::string_view name;
    void* function;
};

/// A walk over the stack in progress.
struct Walk {
    std::uint32_t skip;
    std::uint32_t limit;
    void** frames;
    std::uint32_t count;
    std::uint32_t hash;
};

_Unwind_Reason_Code TakeFrame(_Unwind_Context* context, void* argument) {
    Walk& walk = *static_cast<Walk*>(argument);
    const std::uintptr_t address = _Unwind_GetIP(context);
    if (address == 0 || walk.count == walk.limit) return _URC_END_OF_STACK;
    if (walk.skip > 0) {
        --walk.skip;
        return _URC_NO_REASON;
    }
    walk.frames[walk.count++] = reinterpret_cast<void*>(address);
    walk.hash += static_cast<std::uint32_t>(address);
    return _URC_NO_REASON;
}

[[gnu::noinline]] std::uint16_t CaptureStack(std::uint32_t skip, std::uint32_t limit, void** frames,
                                             std::uint32_t* hash) {
    constexpr std::uint32_t kMost = 0xFFFF;
    if (skip >= kMost) return 0;
    Walk walk{skip + 1, std::min(limit, kMost), frames, 0,
              0};   // the walk begins in this function, the trace in its caller
    _Unwind_Backtrace(TakeFrame, &walk);
    if (hash != nullptr) *hash = walk.hash;
    return static_cast<std::uint16_t>(walk.count);
}

char16_t LowerOf(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit - u'A' + u'a') : unit;
}

/// The path of the loaded image at that address; empty where there is none. The loader knows no path of the program.
std::string_view PathOfImage(Handle module, char (&room)[PATH_MAX]) {
    Dl_info information{};
    link_map* image = nullptr;
    if (module != nullptr && dladdr1(module, &information, reinterpret_cast<void**>(&image), RTLD_DL_LINKMAP) == 0)
        return {};
    if (image != nullptr && image->l_name[0] != '\0') return image->l_name;
    const ssize_t lengthBytes = readlink("/proc/self/exe", room, sizeof(room));
    return {room, lengthBytes < 0 ? 0 : static_cast<std::size_t>(lengthBytes)};
}

}   // namespace

bool GetModuleHandleExA(std::uint32_t flags, const void* address, Handle* module) {
    *module = nullptr;
    if (flags != (kModuleUnchangedRefcount | kModuleFromAddress)) return FailWith(kErrorInvalidParameter);
    Dl_info information{};
    if (dladdr(address, &information) == 0) return FailWith(kErrorModuleNotFound);
    *module = information.dli_fbase;
    return true;
}

std::uint32_t GetModuleFileNameA(Handle module, char* path, std::uint32_t size) {
    char room[PATH_MAX];
    char drivePath[kDriveFormBytes];
    const std::size_t lengthBytes = ToDriveForm(PathOfImage(module, room), drivePath);
    if (lengthBytes == 0 || size == 0) {
        SetLastError(lengthBytes == 0 ? kErrorModuleNotFound : kErrorInsufficientBuffer);
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
    const std::u16string_view asked = name == nullptr ? std::u16string_view() : name;
    for (const LibraryRow& library : kLibraries) {
        const bool isIt = std::equal(asked.begin(), asked.end(), library.name.begin(), library.name.end(),
                                     [](char16_t one, char16_t other) { return LowerOf(one) == other; });
        if (isIt) return const_cast<LibraryRow*>(&library);
    }
    SetLastError(kErrorModuleNotFound);
    return nullptr;
}

void* GetProcAddress(Handle module, const char* name) {
    // Inside the function, since the first calls come while other sources are still being initialised.
    static const FunctionRow kFunctions[] = {
        {&kLibraries[0], "RtlCaptureStackBackTrace", reinterpret_cast<void*>(&CaptureStack)},
        {&kLibraries[1], "GetTickCount64", reinterpret_cast<void*>(&MillisecondsSinceStart)},
    };
    for (const FunctionRow& row : kFunctions) {
        if (row.library == module && row.name == name) return row.function;
    }
    SetLastError(kErrorProcNotFound);
    return nullptr;
}

}   // namespace platform
