// The calls of Windows for threads.

#include <component/platform/threads.h>

#include "text.h"

namespace platform {

static_assert(kInfinite == INFINITE && kWaitObject0 == WAIT_OBJECT_0);
static_assert(kWaitTimeout == WAIT_TIMEOUT && kWaitFailed == WAIT_FAILED);
static_assert(sizeof(CRITICAL_SECTION) == kCriticalSectionBytes);
static_assert(alignof(CRITICAL_SECTION) <= alignof(CriticalSection));

namespace {

CRITICAL_SECTION* ToSystem(CriticalSection* section) { return reinterpret_cast<CRITICAL_SECTION*>(section->record); }

}   // namespace

void InitializeCriticalSection(CriticalSection* section) { ::InitializeCriticalSection(ToSystem(section)); }
void EnterCriticalSection(CriticalSection* section) { ::EnterCriticalSection(ToSystem(section)); }
void LeaveCriticalSection(CriticalSection* section) { ::LeaveCriticalSection(ToSystem(section)); }
void DeleteCriticalSection(CriticalSection* section) { ::DeleteCriticalSection(ToSystem(section)); }

Handle CreateSemaphoreW(const void* security, std::int32_t initial, std::int32_t maximum, const char16_t* name) {
    auto* const record = static_cast<SECURITY_ATTRIBUTES*>(const_cast<void*>(security));
    return ::CreateSemaphoreW(record, initial, maximum, Wide(name));
}

bool ReleaseSemaphore(Handle semaphore, std::int32_t count, std::int32_t* previous) {
    LONG before = 0;
    if (::ReleaseSemaphore(semaphore, count, &before) == 0) return false;
    if (previous != nullptr) *previous = before;
    return true;
}

std::uint32_t WaitForSingleObjectEx(Handle handle, std::uint32_t milliseconds, bool alertable) {
    return ::WaitForSingleObjectEx(handle, milliseconds, alertable);
}

void Sleep(std::uint32_t milliseconds) { ::Sleep(milliseconds); }

std::uint32_t GetCurrentThreadId() { return ::GetCurrentThreadId(); }

}   // namespace platform
