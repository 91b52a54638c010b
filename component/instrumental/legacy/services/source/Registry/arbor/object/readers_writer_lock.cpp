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

bool ReadersWriterLock::TryShared() {
    std::int32_t inside = 0;
    while (!active.compare_exchange_weak(inside, inside + 1)) {
        if (inside < 0) return false;
    }
    return true;
}

bool ReadersWriterLock::TryExclusive() {
    std::int32_t inside = 0;
    return active.compare_exchange_strong(inside, -1);
}

// No wake-up is lost. A reader waits only where it found a writer, who leaves in the section: after the reader has left
// it. A writer says that it waits and then looks at `active` once more, while the last reader sets `active` to 0 and
// then looks for waiting writers: as all four are steps of one order, one of the two sees the other.
//
// Between that last reader's step and `LetWriterIn` another thread can go in. It is as if it had come before the reader
// left: as one more reader, who passes waiting writers, or as the one of the waiting writers who was let in. Its own
// release lets the next one in.

void ReadersWriterLock::EnterShared() {
    if (TryShared()) return;
    platform::EnterCriticalSection(&section);
    const bool wait = !TryShared();
    if (wait) ++readersWaiting;
    platform::LeaveCriticalSection(&section);
    if (wait) WaitAt(readersGate);
}

void ReadersWriterLock::EnterExclusive() {
    if (TryExclusive()) return;
    platform::EnterCriticalSection(&section);
    ++writersWaiting;
    const bool wait = !TryExclusive();
    if (!wait) --writersWaiting;
    platform::LeaveCriticalSection(&section);
    if (wait) WaitAt(writersGate);
}

void ReadersWriterLock::Release() {
    std::int32_t inside = 1;
    while (!active.compare_exchange_weak(inside, inside - 1)) {
        if (inside < 1) return ReleaseExclusive();
    }
    if (inside == 1 && writersWaiting > 0) LetWriterIn();
}

void ReadersWriterLock::LetWriterIn() {
    platform::EnterCriticalSection(&section);
    const bool wake = writersWaiting > 0 && TryExclusive();
    if (wake) --writersWaiting;
    platform::LeaveCriticalSection(&section);
    // After the section: a thread woken inside it would block on it again.
    if (wake) platform::ReleaseSemaphore(writersGate, 1, nullptr);
}

void ReadersWriterLock::ReleaseExclusive() {
    platform::EnterCriticalSection(&section);
    const bool toWriter = writersWaiting > 0;
    const std::int32_t readers = toWriter ? 0 : readersWaiting;
    if (toWriter) {
        --writersWaiting;   // `active` stays: the next writer has what this one had
    } else {
        readersWaiting = 0;
        active.store(readers, std::memory_order_release);   // who would wait looks in the section
    }
    platform::LeaveCriticalSection(&section);
    if (toWriter) platform::ReleaseSemaphore(writersGate, 1, nullptr);
    if (readers > 0) platform::ReleaseSemaphore(readersGate, readers, nullptr);
}

}   // namespace arbor
