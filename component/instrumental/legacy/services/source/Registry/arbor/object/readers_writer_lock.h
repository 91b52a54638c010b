/// The lock of one object: many readers or one writer, switched on per object.
///
/// A new reader goes in past waiting writers while readers are inside; at the moment of a release a waiting writer goes
/// before waiting readers. Not recursive for a writer, and a thread that is inside shared must not ask for exclusive
/// entry. Neither a missing gate nor a failed wait fails an operation.
///
/// Who needn't wait goes in by one atomic step on `active`, and a reader goes out by one. To wait, to leave exclusive
/// entry and to let others in happens under the critical section. For an instant `active` may be 0 while a writer still
/// counts as waiting.
///
/// Readers who keep meeting on `active` wait for its cache line more than for anything else. They get seats then:
/// places of the module, a cache line each, where a reader writes the lock that it is in. In `active` one stands for
/// all seats, also while nobody sits. A writer that can't go in at once closes the seats and counts each of their
/// readers in `active` before it tries again, so that whoever waits waits for `active` alone.
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

    /// Makes the gates, anew if there were some; nobody may be inside. If the system has none the lock stays without.
    void Initialise();

    [[nodiscard]] bool HasGates() const { return readersGate != platform::kInvalidHandle; }

    /// `place` chooses the seat and must be the same one at the release. On the caller's own stack it chooses well.
    void EnterShared(const void* place);
    void EnterExclusive();
    void Release(const void* place);

private:
    friend struct ArborLayout;

    using Seat = std::atomic<const ReadersWriterLock*>;

    void CloseGates();
    static Seat& SeatAt(const void* place);
    bool TakeSeat(Seat& seat);
    bool LeaveSeat(Seat& seat) const;
    void CountMeeting();
    void OpenSeats();
    void CloseSeats();
    bool TryShared(std::int32_t& others);
    bool TryExclusive();
    void LetWriterIn();
    void ReleaseExclusive();

    platform::CriticalSection section;   // guards the counts of those that wait
    platform::Handle readersGate;
    platform::Handle writersGate;
    std::int32_t readersWaiting;
    std::atomic<std::int32_t> writersWaiting;   // changed in the section
    std::atomic<std::int32_t> active;           // readers inside, one for all open seats; or -1: a writer
    std::atomic<std::uint16_t> meetings;        // of readers, towards the next opening; some go uncounted
    std::atomic<bool> seatsOpen;                // changed in the section; not set while a writer waits or is inside
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
