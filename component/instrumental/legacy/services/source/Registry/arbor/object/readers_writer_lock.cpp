#include "object/readers_writer_lock.h"

#include <component/platform/files.h>

namespace arbor {

namespace {

constexpr std::int32_t kMostWaiters = 0x7FFFFFFF;

platform::Handle MakeGate() {
    const platform::Handle gate = platform::CreateSemaphoreW(nullptr, 0, kMostWaiters, nullptr);
    return gate != nullptr ? gate : platform::kInvalidHandle;
}

void WaitAt(platform::Handle gate) {
    // A wait that fails lets its thread in: the lock fails no operation.
    static_cast<void>(platform::WaitForSingleObjectEx(gate, platform::kInfinite, false));
}

}   // namespace

ReadersWriterLock::ReadersWriterLock()
    : readersGate(platform::kInvalidHandle),
      writersGate(platform::kInvalidHandle),
      readersWaiting(0),
      writersWaiting(0),
      active(0) {
    platform::InitializeCriticalSection(&section);
}

ReadersWriterLock::~ReadersWriterLock() {
    if (HasGates()) {
        platform::CloseHandle(readersGate);
        platform::CloseHandle(writersGate);
    }
    platform::DeleteCriticalSection(&section);
}

void ReadersWriterLock::Initialise() {
    readersWaiting = 0;
    writersWaiting = 0;
    active = 0;
    const platform::Handle readers = MakeGate();
    if (readers == platform::kInvalidHandle) return;
    const platform::Handle writers = MakeGate();
    if (writers == platform::kInvalidHandle) {
        platform::CloseHandle(readers);
        return;
    }
    readersGate = readers;
    writersGate = writers;
}

void ReadersWriterLock::EnterShared() {
    platform::EnterCriticalSection(&section);
    const bool wait = active < 0;
    ++(wait ? readersWaiting : active);
    platform::LeaveCriticalSection(&section);
    if (wait) WaitAt(readersGate);
}

void ReadersWriterLock::EnterExclusive() {
    platform::EnterCriticalSection(&section);
    const bool wait = active != 0;
    if (wait) {
        ++writersWaiting;
    } else {
        active = -1;
    }
    platform::LeaveCriticalSection(&section);
    if (wait) WaitAt(writersGate);
}

void ReadersWriterLock::Release() {
    platform::Handle gate = platform::kInvalidHandle;
    std::int32_t wake = 0;
    platform::EnterCriticalSection(&section);
    active += active < 1 ? 1 : -1;
    if (active == 0 && writersWaiting > 0) {
        active = -1;
        --writersWaiting;
        gate = writersGate;
        wake = 1;
    } else if (active == 0 && readersWaiting > 0) {
        active = readersWaiting;
        readersWaiting = 0;
        gate = readersGate;
        wake = active;
    }
    platform::LeaveCriticalSection(&section);
    // After the section: a thread woken inside it would block on it again.
    if (wake > 0) platform::ReleaseSemaphore(gate, wake, nullptr);
}

}   // namespace arbor
