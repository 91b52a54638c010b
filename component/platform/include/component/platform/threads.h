/// Critical sections, semaphores and waits. All calls may come from any thread.
#pragma once

#include <component/platform/system_sizes.h>
#include <component/platform/types.h>

namespace platform {

inline constexpr std::uint32_t kInfinite = 0xFFFFFFFF;
inline constexpr std::uint32_t kWaitObject0 = 0;
inline constexpr std::uint32_t kWaitTimeout = 258;
inline constexpr std::uint32_t kWaitFailed = 0xFFFFFFFF;

/// Storage for the system's critical section, which is recursive and must not move after its initialisation.
struct CriticalSection {
    alignas(void*) std::byte record[kCriticalSectionBytes];
};

void InitializeCriticalSection(CriticalSection* section);
void EnterCriticalSection(CriticalSection* section);
void LeaveCriticalSection(CriticalSection* section);
void DeleteCriticalSection(CriticalSection* section);

/// Creates a semaphore, which the caller closes by `CloseHandle`. `security` and `name` must be null. Null on failure.
[[nodiscard]] Handle CreateSemaphoreW(const void* security, std::int32_t initial, std::int32_t maximum,
                                      const char16_t* name);

/// Adds `count`, which is above 0. If the sum is above the maximum, it adds nothing and fails with error 298.
/// `previous`, which may be null, gets the count before.
bool ReleaseSemaphore(Handle semaphore, std::int32_t count, std::int32_t* previous);

/// Subtracts 1 from the semaphore's count, after waiting until it is above 0. Returns `kWaitObject0`, `kWaitTimeout` or
/// `kWaitFailed`. `alertable` must be false.
std::uint32_t WaitForSingleObjectEx(Handle handle, std::uint32_t milliseconds, bool alertable);

void Sleep(std::uint32_t milliseconds);

/// Returns the system's number of the calling thread: unique among the running threads of the system, and never 0.
[[nodiscard]] std::uint32_t GetCurrentThreadId();

}   // namespace platform
