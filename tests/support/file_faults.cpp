#include "file_faults.h"

#include <component/platform/errors.h>

#include <algorithm>
#include <utility>

// The linker turns each reference to a wrapped function to `__wrap_` and its name, and `__real_` and its name to the
// function itself. Both go by the names that the compiler gives.
#define TEXT_OF(name) #name
#define EXPANDED_TEXT_OF(name) TEXT_OF(name)
#define PLATFORM_SYMBOL(role, name) asm(EXPANDED_TEXT_OF(__USER_LABEL_PREFIX__) role "_ZN8platform" name)
#define WRAPPED(name) PLATFORM_SYMBOL("__wrap_", name)
#define REAL(name) PLATFORM_SYMBOL("__real_", name)

namespace testing_support {
namespace {

constexpr std::uint32_t kSkippedMilliseconds = 200;

thread_local int waits = 0;

/// Whether a call that takes no bytes goes on to the system; `succeeds` is its outcome if it doesn't.
bool GoesOn(FileCall call, bool& succeeds) {
    const FileFault* const fault = FileFaults::Take(call);
    succeeds = fault == nullptr || fault->error == 0;
    if (!succeeds) platform::SetLastError(fault->error);
    return fault == nullptr;
}

/// Lets a call that takes bytes move all of them, or as many as the order says.
template <class Move>
bool MoveBytes(FileCall call, std::uint32_t size, Move move) {
    const FileFault* const fault = FileFaults::Take(call);
    if (fault == nullptr) return move(size);
    const bool moved = move(std::min(size, fault->bytes));
    if (fault->error != 0) platform::SetLastError(fault->error);
    return moved && fault->error == 0;
}

}   // namespace

using platform::Handle;
using platform::SecurityAttributes;

Handle RealOpen(const char16_t*, std::uint32_t, std::uint32_t, const SecurityAttributes*, std::uint32_t, std::uint32_t,
                Handle) REAL("11CreateFileWEPKDsjjPKNS_18SecurityAttributesEjjPv");
Handle Open(const char16_t*, std::uint32_t, std::uint32_t, const SecurityAttributes*, std::uint32_t, std::uint32_t,
            Handle) WRAPPED("11CreateFileWEPKDsjjPKNS_18SecurityAttributesEjjPv");
Handle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, const SecurityAttributes* security,
            std::uint32_t creation, std::uint32_t flags, Handle templateFile) {
    bool succeeds = false;
    if (!GoesOn(FileCall::Open, succeeds) && !succeeds) return platform::kInvalidHandle;
    const Handle file = RealOpen(path, access, share, security, creation, flags, templateFile);
    FileFaults::Tell(file != platform::kInvalidHandle, {.call = FileCall::Open, .file = file, .path = path});
    return file;
}

Handle RealReplacement(const char16_t*, const char16_t*, const char16_t*, Handle*)
    REAL("21CreateReplacementFileEPKDsS1_S1_PPv");
Handle Replacement(const char16_t*, const char16_t*, const char16_t*, Handle*)
    WRAPPED("21CreateReplacementFileEPKDsS1_S1_PPv");
Handle Replacement(const char16_t* path, const char16_t* original, const char16_t* backup, Handle* reservation) {
    bool succeeds = false;
    if (!GoesOn(FileCall::Open, succeeds) && !succeeds) return *reservation = platform::kInvalidHandle;
    const Handle file = RealReplacement(path, original, backup, reservation);
    FileFaults::Tell(file != platform::kInvalidHandle, {.call = FileCall::Open, .file = file, .path = path});
    return file;
}

bool RealRead(Handle, void*, std::uint32_t, std::uint32_t*) REAL("8ReadFileEPvS0_jPj");
bool Read(Handle, void*, std::uint32_t, std::uint32_t*) WRAPPED("8ReadFileEPvS0_jPj");
bool Read(Handle file, void* buffer, std::uint32_t size, std::uint32_t* done) {
    return MoveBytes(FileCall::Read, size, [&](std::uint32_t count) { return RealRead(file, buffer, count, done); });
}

bool RealWrite(Handle, const void*, std::uint32_t, std::uint32_t*) REAL("9WriteFileEPvPKvjPj");
bool Write(Handle, const void*, std::uint32_t, std::uint32_t*) WRAPPED("9WriteFileEPvPKvjPj");
bool Write(Handle file, const void* buffer, std::uint32_t size, std::uint32_t* done) {
    return MoveBytes(FileCall::Write, size, [&](std::uint32_t count) {
        return FileFaults::Tell(
            RealWrite(file, buffer, count, done),
            {.call = FileCall::Write, .file = file, .bytes{static_cast<const char*>(buffer), count}});
    });
}

// A count of 64 bits isn't spelled alike on all systems.
bool RealSize(Handle, std::uint64_t*) REAL(GET_FILE_SIZE_SYMBOL);
bool Size(Handle, std::uint64_t*) WRAPPED(GET_FILE_SIZE_SYMBOL);
bool Size(Handle file, std::uint64_t* sizeBytes) {
    bool succeeds = false;
    return GoesOn(FileCall::Size, succeeds) ? RealSize(file, sizeBytes) : succeeds;
}

bool RealFlush(Handle) REAL("16FlushFileBuffersEPv");
bool Flush(Handle) WRAPPED("16FlushFileBuffersEPv");
bool Flush(Handle file) {
    bool succeeds = false;
    if (!GoesOn(FileCall::Flush, succeeds)) return succeeds;
    return FileFaults::Tell(RealFlush(file), {.call = FileCall::Flush, .file = file});
}

std::uint32_t RealAttributes(const char16_t*) REAL("18GetFileAttributesWEPKDs");
std::uint32_t Attributes(const char16_t*) WRAPPED("18GetFileAttributesWEPKDs");
std::uint32_t Attributes(const char16_t* path) {
    bool succeeds = false;
    return GoesOn(FileCall::Attributes, succeeds) || succeeds ? RealAttributes(path) : platform::kInvalidAttributes;
}

bool RealMakeFolder(const char16_t*, const SecurityAttributes*)
    REAL("16CreateDirectoryWEPKDsPKNS_18SecurityAttributesE");
bool MakeFolder(const char16_t*, const SecurityAttributes*)
    WRAPPED("16CreateDirectoryWEPKDsPKNS_18SecurityAttributesE");
bool MakeFolder(const char16_t* path, const SecurityAttributes* security) {
    bool succeeds = false;
    return GoesOn(FileCall::MakeFolder, succeeds) ? RealMakeFolder(path, security) : succeeds;
}

std::uint32_t RealCurrentFolder(std::uint32_t, char16_t*) REAL("20GetCurrentDirectoryWEjPDs");
std::uint32_t CurrentFolder(std::uint32_t, char16_t*) WRAPPED("20GetCurrentDirectoryWEjPDs");
std::uint32_t CurrentFolder(std::uint32_t sizeChars, char16_t* buffer) {
    bool succeeds = false;
    return GoesOn(FileCall::CurrentFolder, succeeds) || succeeds ? RealCurrentFolder(sizeChars, buffer) : 0;
}

bool RealCopy(const char16_t*, const char16_t*, bool) REAL("9CopyFileWEPKDsS1_b");
bool Copy(const char16_t*, const char16_t*, bool) WRAPPED("9CopyFileWEPKDsS1_b");
bool Copy(const char16_t* source, const char16_t* target, bool failIfExists) {
    bool succeeds = false;
    if (!GoesOn(FileCall::Copy, succeeds)) return succeeds;
    return FileFaults::Tell(RealCopy(source, target, failIfExists),
                            {.call = FileCall::Copy, .path = source, .target = target});
}

bool RealMove(const char16_t*, const char16_t*, std::uint32_t) REAL("11MoveFileExWEPKDsS1_j");
bool Move(const char16_t*, const char16_t*, std::uint32_t) WRAPPED("11MoveFileExWEPKDsS1_j");
bool Move(const char16_t* source, const char16_t* target, std::uint32_t flags) {
    bool succeeds = false;
    if (!GoesOn(FileCall::Move, succeeds)) return succeeds;
    return FileFaults::Tell(RealMove(source, target, flags),
                            {.call = FileCall::Move, .path = source, .target = target});
}

bool RealRemove(const char16_t*) REAL("11DeleteFileWEPKDs");
bool Remove(const char16_t*) WRAPPED("11DeleteFileWEPKDs");
bool Remove(const char16_t* path) {
    bool succeeds = false;
    if (!GoesOn(FileCall::Remove, succeeds)) return succeeds;
    return FileFaults::Tell(RealRemove(path), {.call = FileCall::Remove, .path = path});
}

void RealSleep(std::uint32_t) REAL("5SleepEj");
void Sleep(std::uint32_t) WRAPPED("5SleepEj");
void Sleep(std::uint32_t milliseconds) {
    if (milliseconds != kSkippedMilliseconds) return RealSleep(milliseconds);   // the platform's own are shorter
    ++waits;
}

int TakeWaits() { return std::exchange(waits, 0); }

}   // namespace testing_support
