// The wrappers of the platform's file functions: each fails if the active fault says so, otherwise calls the function
// and notifies the observer of the test.
#include "file_faults.h"

#include <component/platform/errors.h>

#include <algorithm>
#include <utility>

// The linker turns each reference to a wrapped function to `__wrap_` and its name, and `__real_` and its name to the
// function itself. Both use the names that the compiler gives. Declares both and begins the definition of the wrapper.
#define TEXT_OF(name) #name
#define EXPANDED_TEXT_OF(name) TEXT_OF(name)
#define PLATFORM_SYMBOL(role, symbol) asm(EXPANDED_TEXT_OF(__USER_LABEL_PREFIX__) role "_ZN8platform" symbol)
#define WRAPPER(result, name, symbol, ...)                             \
    result Real##name(__VA_ARGS__) PLATFORM_SYMBOL("__real_", symbol); \
    result name(__VA_ARGS__) PLATFORM_SYMBOL("__wrap_", symbol);       \
    result name(__VA_ARGS__)

namespace testing_support {
namespace {

constexpr std::uint32_t kSkippedMilliseconds = 200;

thread_local int waits = 0;

/// True if the call must fail; sets the last error.
bool Fails(FileCall call) {
    const FileFault* const fault = FileFaults::NextFault(call);
    if (fault == nullptr || fault->error == 0) return false;
    platform::SetLastError(fault->error);
    return true;
}

/// Makes a call without a byte count, unless it must fail or only report success.
template <class Real>
bool Pass(const FileEvent& event, Real real) {
    if (const FileFault* const fault = FileFaults::NextFault(event.call)) {
        if (fault->error != 0) platform::SetLastError(fault->error);
        return fault->error == 0;
    }
    return FileFaults::Notify(real(), event);
}

/// Reads or writes all bytes, or as many as the fault allows.
template <class Move>
bool MoveBytes(FileCall call, std::uint32_t size, Move move) {
    const FileFault* const fault = FileFaults::NextFault(call);
    if (fault == nullptr) return move(size);
    const bool moved = move(std::min(size, fault->bytes));
    if (fault->error != 0) platform::SetLastError(fault->error);
    return moved && fault->error == 0;
}

}   // namespace

using platform::Handle;
using platform::SecurityAttributes;

/// Opens a file by `open`, unless the call must fail.
template <class OpenFile>
Handle OpenOrFail(const char16_t* path, OpenFile open) {
    const Handle file = Fails(FileCall::Open) ? platform::kInvalidHandle : open();
    FileFaults::Notify(file != platform::kInvalidHandle, {.call = FileCall::Open, .file = file, .path = path});
    return file;
}

WRAPPER(Handle, Open, "11CreateFileWEPKDsjjPKNS_18SecurityAttributesEjjPv", const char16_t* path, std::uint32_t access,
        std::uint32_t share, const SecurityAttributes* security, std::uint32_t creation, std::uint32_t flags,
        Handle templateFile) {
    return OpenOrFail(path, [&] { return RealOpen(path, access, share, security, creation, flags, templateFile); });
}

WRAPPER(Handle, Replacement, "21CreateReplacementFileEPKDsS1_S1_PPv", const char16_t* path, const char16_t* original,
        const char16_t* backup, Handle* reservation) {
    *reservation = platform::kInvalidHandle;
    return OpenOrFail(path, [&] { return RealReplacement(path, original, backup, reservation); });
}

WRAPPER(bool, Read, "8ReadFileEPvS0_jPj", Handle file, void* buffer, std::uint32_t size, std::uint32_t* done) {
    return MoveBytes(FileCall::Read, size, [&](std::uint32_t count) { return RealRead(file, buffer, count, done); });
}

WRAPPER(bool, Write, "9WriteFileEPvPKvjPj", Handle file, const void* buffer, std::uint32_t size, std::uint32_t* done) {
    return MoveBytes(FileCall::Write, size, [&](std::uint32_t count) {
        return FileFaults::Notify(
            RealWrite(file, buffer, count, done),
            {.call = FileCall::Write, .file = file, .bytes{static_cast<const char*>(buffer), count}});
    });
}

// The name of a count of 64 bits isn't the same on all systems.
WRAPPER(bool, Size, GET_FILE_SIZE_SYMBOL, Handle file, std::uint64_t* sizeBytes) {
    return Pass({.call = FileCall::Size}, [&] { return RealSize(file, sizeBytes); });
}

WRAPPER(bool, Flush, "16FlushFileBuffersEPv", Handle file) {
    return Pass({.call = FileCall::Flush, .file = file}, [&] { return RealFlush(file); });
}

WRAPPER(std::uint32_t, Attributes, "18GetFileAttributesWEPKDs", const char16_t* path) {
    return Fails(FileCall::Attributes) ? platform::kInvalidAttributes : RealAttributes(path);
}

WRAPPER(bool, MakeFolder, "16CreateDirectoryWEPKDsPKNS_18SecurityAttributesE", const char16_t* path,
        const SecurityAttributes* security) {
    return Pass({.call = FileCall::MakeFolder}, [&] { return RealMakeFolder(path, security); });
}

WRAPPER(std::uint32_t, CurrentFolder, "20GetCurrentDirectoryWEjPDs", std::uint32_t sizeChars, char16_t* buffer) {
    return Fails(FileCall::CurrentFolder) ? 0 : RealCurrentFolder(sizeChars, buffer);
}

WRAPPER(bool, Copy, "9CopyFileWEPKDsS1_b", const char16_t* source, const char16_t* target, bool failIfExists) {
    return Pass({.call = FileCall::Copy, .path = source, .target = target},
                [&] { return RealCopy(source, target, failIfExists); });
}

WRAPPER(bool, Move, "11MoveFileExWEPKDsS1_j", const char16_t* source, const char16_t* target, std::uint32_t flags) {
    return Pass({.call = FileCall::Move, .path = source, .target = target},
                [&] { return RealMove(source, target, flags); });
}

WRAPPER(bool, Remove, "11DeleteFileWEPKDs", const char16_t* path) {
    return Pass({.call = FileCall::Remove, .path = path}, [&] { return RealRemove(path); });
}

WRAPPER(void, Sleep, "5SleepEj", std::uint32_t milliseconds) {
    if (milliseconds != kSkippedMilliseconds) return RealSleep(milliseconds);   // a short wait of the platform itself
    ++waits;
}

int TakeWaits() { return std::exchange(waits, 0); }

}   // namespace testing_support
