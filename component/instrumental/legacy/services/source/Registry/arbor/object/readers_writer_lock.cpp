// The system calls of the lock: creation and destruction of the section and the gates, waiting and waking.

#include "object/readers_writer_lock.h"

#include <component/platform/files.h>

namespace arbor::module {

namespace {

constexpr std::int32_t kMaxPermits = 0x7FFFFFFF;

platform::Handle CreateGate() {
    const platform::Handle gate = platform::CreateSemaphoreW(nullptr, 0, kMaxPermits, nullptr);
    return gate != nullptr ? gate : platform::kInvalidHandle;
}

}   // namespace

template class LockAlgorithm<LockSystem>;

void LockSystem::Wait(Gate gate) {
    static_cast<void>(platform::WaitForSingleObjectEx(gate, platform::kInfinite, false));
}

void LockSystem::Open(Gate gate, std::int32_t threads) { platform::ReleaseSemaphore(gate, threads, nullptr); }

ReadersWriterLock::ReadersWriterLock() : LockAlgorithm(platform::kInvalidHandle, platform::kInvalidHandle) {
    platform::InitializeCriticalSection(&section);
}

ReadersWriterLock::~ReadersWriterLock() {
    CloseGates();
    platform::DeleteCriticalSection(&section);
}

void ReadersWriterLock::CloseGates() {
    if (!HasGates()) return;
    platform::CloseHandle(readersGate);
    platform::CloseHandle(writersGate);
    readersGate = platform::kInvalidHandle;
    writersGate = platform::kInvalidHandle;
}

void ReadersWriterLock::Initialise() {
    CloseGates();
    readersWaiting = 0;
    writersWaiting = 0;
    active = 0;
    const platform::Handle newReadersGate = CreateGate();
    if (newReadersGate == platform::kInvalidHandle) return;
    const platform::Handle newWritersGate = CreateGate();
    if (newWritersGate == platform::kInvalidHandle) {
        platform::CloseHandle(newReadersGate);
        return;
    }
    readersGate = newReadersGate;
    writersGate = newWritersGate;
}

}   // namespace arbor::module
