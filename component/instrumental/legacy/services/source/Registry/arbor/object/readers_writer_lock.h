/// The lock of one object: many readers or one writer, switched on per object.
///
/// A new reader goes in past waiting writers while readers are inside; at the moment of a release a waiting writer goes
/// before waiting readers. Not recursive for a writer, and a thread that is inside shared must not ask for exclusive
/// entry. Neither a missing gate nor a failed wait fails an operation.
///
/// Who needn't wait goes in by one atomic step on `active`, and a reader goes out by one. All else happens under the
/// critical section: to wait, to leave exclusive entry, to let others in. For an instant `active` may be 0 while a
/// writer still counts as waiting.
#pragma once

#include <component/platform/threads.h>

#include <atomic>
#include <cstdint>

namespace arbor {

class ReadersWriterLock {
public:
    ReadersWriterLock();
    ~ReadersWriterLock();
    ReadersWriterLock(const ReadersWriterLock&) = delete;
    ReadersWriterLock& operator=(const ReadersWriterLock&) = delete;

    /// Makes the gates. If the system has none the lock stays without.
    void Initialise();

    [[nodiscard]] bool HasGates() const { return readersGate != platform::kInvalidHandle; }

    void EnterShared();
    void EnterExclusive();
    void Release();

private:
    friend struct ArborLayout;

    bool TryShared();
    bool TryExclusive();
    void LetWriterIn();
    void ReleaseExclusive();

    platform::CriticalSection section;   // guards the counts of those that wait
    platform::Handle readersGate;
    platform::Handle writersGate;
    std::int32_t readersWaiting;
    std::atomic<std::int32_t> writersWaiting;   // changed in the section
    std::atomic<std::int32_t> active;           // readers inside, or -1: a writer
};

/// Holds the lock for a scope. Does nothing at either end if `synchronised` is 0 or the lock has no gates.
class LockGuard {
public:
    static LockGuard Shared(ReadersWriterLock& lock, std::uint32_t synchronised) { return {lock, synchronised, false}; }
    static LockGuard Exclusive(ReadersWriterLock& lock, std::uint32_t synchronised) {
        return {lock, synchronised, true};
    }

    /// The form that `exclusive` chooses.
    LockGuard(ReadersWriterLock& guarded, std::uint32_t synchronisedValue, bool exclusive)
        : lock(guarded), synchronised(synchronisedValue) {
        if (IsIdle()) return;
        if (exclusive) {
            lock.EnterExclusive();
        } else {
            lock.EnterShared();
        }
    }
    ~LockGuard() {
        if (!IsIdle()) lock.Release();
    }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

private:
    [[nodiscard]] bool IsIdle() const { return synchronised == 0 || !lock.HasGates(); }

    ReadersWriterLock& lock;
    std::uint32_t synchronised;
};

}   // namespace arbor
