/// Critical sections, semaphores and waits. All calls may come from any thread.
#pragma once

#include <component/platform/system_sizes.h>
#include <component/platform/types.h>

namespace platform {

inline constexpr std::uint32_t kInfinite = 0xFFFFFFFF;
inline constexpr std::uint32_t kWaitObject0 = 0;
inline constexpr std::uint32_t kWaitTimeout = 258;
inline constexpr std::uint32_t kWaitFailed = 0xFFFFFFFF;

/// Room for the system's own record. It must not move between `Initialize` and `Delete`; a thread may enter it again.
struct CriticalSection {
    alignas(void*) std::byte record[kCriticalSectionBytes];
};

void InitializeCriticalSection(CriticalSection* section);
void EnterCriticalSection(CriticalSection* section);
void LeaveCriticalSection(CriticalSection* section);
void DeleteCriticalSection(CriticalSection* section);

/// An unnamed semaphore, closed with `CloseHandle`. Null on a failure; a null `security` is the default.
[[nodiscard]] Handle CreateSemaphoreW(const void* security, std::int32_t initial, std::int32_t maximum,
                                      const char16_t* name);

/// Adds `count` at once, or nothing: above the maximum it is error 298. `previous` may be null.
bool ReleaseSemaphore(Handle semaphore, std::int32_t count, std::int32_t* previous);

/// Takes one from the semaphore, waiting up to `milliseconds`. `kWaitObject0`, `kWaitTimeout` or `kWaitFailed`.
std::uint32_t WaitForSingleObjectEx(Handle handle, std::uint32_t milliseconds, bool alertable);

void Sleep(std::uint32_t milliseconds);

/// The system's number of the calling thread; unique among the threads that run now, and never 0.
[[nodiscard]] std::uint32_t GetCurrentThreadId();

}   // namespace platform
