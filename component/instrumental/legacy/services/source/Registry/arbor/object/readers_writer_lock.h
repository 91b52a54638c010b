/// The lock of one object: many readers or one writer, switched on per object. `lock_algorithm.h` has the rules of
/// entry and the state table. A missing gate or a failed wait never fails an operation.
#pragma once

#include "object/lock_algorithm.h"

#include <component/platform/threads.h>

#include <atomic>
#include <cstdint>

namespace arbor::module {

/// Supplies the system's objects to the algorithm.
struct LockSystem {
    using Section = platform::CriticalSection;
    using Gate = platform::Handle;
    using GuardedCount = std::int32_t;
    using AtomicCount = std::atomic<std::int32_t>;

    static void Enter(Section& section) { platform::EnterCriticalSection(&section); }
    static void Leave(Section& section) { platform::LeaveCriticalSection(&section); }
    /// If the wait fails, the thread goes on without the lock.
    static void Wait(Gate gate);
    /// Lets `threads` waiting threads, or the next ones to wait, through the gate.
    static void Open(Gate gate, std::int32_t threads);
};

extern template class LockAlgorithm<LockSystem>;

class ReadersWriterLock : public LockAlgorithm<LockSystem> {
public:
    ReadersWriterLock();
    ~ReadersWriterLock();
    ReadersWriterLock(const ReadersWriterLock&) = delete;
    ReadersWriterLock& operator=(const ReadersWriterLock&) = delete;

    /// Sets the counts to 0 and creates the gates, after closing those of an earlier call. No thread may be inside.
    /// If the system refuses a gate, the lock stays without gates.
    void Initialise();

    [[nodiscard]] bool HasGates() const { return readersGate != platform::kInvalidHandle; }

private:
    void CloseGates();
};

enum class LockMode {
    Shared,
    Exclusive,
};

/// Holds the lock for a scope. Does nothing at either end if `synchronised` is 0 or the lock has no gates.
class LockGuard {
public:
    LockGuard(ReadersWriterLock& guarded, std::uint32_t synchronisedValue, LockMode mode)
        : lock(guarded), synchronised(synchronisedValue) {
        if (IsDisabled()) return;
        if (mode == LockMode::Exclusive) {
            lock.EnterExclusive();
        } else {
            lock.EnterShared();
        }
    }
    ~LockGuard() {
        if (!IsDisabled()) lock.Release();
    }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

private:
    [[nodiscard]] bool IsDisabled() const { return synchronised == 0 || !lock.HasGates(); }

    ReadersWriterLock& lock;
    std::uint32_t synchronised;
};

}   // namespace arbor::module
