/// The lock of one object: many readers or one writer, switched on per object.
///
/// A new reader goes in past waiting writers while readers are inside; at the moment of a release a waiting writer goes
/// before waiting readers. Not recursive for a writer, and a thread that is inside shared must not ask for exclusive
/// entry. Neither a missing gate nor a failed wait fails an operation.
///
/// Who needn't wait goes in by one atomic step on `active`, and a reader goes out by one. All else happens under the
/// critical section: to wait, to leave exclusive entry, to let others in. For an instant `active` may be 0 while a
/// writer still counts as waiting.
///
/// Readers who keep meeting on `active` wait for its cache line more than for anything else. They get seats then:
/// places of the module, a cache line each, where a reader writes the lock that it is in. All seats together count as
/// one reader in `active`. A writer closes the seats and counts each of their readers in `active` before it looks, so
/// that whoever waits waits for `active` alone.
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

    /// `place` is an address on the caller's stack, the same one at the release. It chooses the seat.
    void EnterShared(const void* place);
    void EnterExclusive();
    void Release(const void* place);

private:
    friend struct ArborLayout;

    using Seat = std::atomic<const ReadersWriterLock*>;

    static Seat& SeatAt(const void* place);
    bool TakeSeat(Seat& seat);
    bool LeaveSeat(Seat& seat) const;
    void CountMeeting();
    void OpenSeats();
    void CloseSeats();
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
    std::atomic<std::uint16_t> meetings;        // of readers, since the seats were last opened; some go uncounted
    std::atomic<bool> seatsOpen;                // changed in the section; never while a writer waits or is inside
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
            lock.EnterShared(this);
        }
    }
    ~LockGuard() {
        if (!IsIdle()) lock.Release(this);
    }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

private:
    [[nodiscard]] bool IsIdle() const { return synchronised == 0 || !lock.HasGates(); }

    ReadersWriterLock& lock;
    std::uint32_t synchronised;
};

}   // namespace arbor
