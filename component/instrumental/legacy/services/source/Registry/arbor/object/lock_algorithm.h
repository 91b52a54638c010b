/// The algorithm of an object's lock: many readers or one writer. `System` supplies the counts, the critical section
/// and the gates (counting semaphores), so that a test can run this code under a scheduler of its own.
///
/// While readers are inside, a new reader enters at once, even if writers wait. A release by a writer prefers a waiting
/// writer to waiting readers. Not recursive for a writer; a thread inside shared must not enter exclusively.
///
/// | State at rest          | Event                           | Next state                                      |
/// |------------------------|---------------------------------|-------------------------------------------------|
/// | free: active = 0       | shared entry                    | shared, active = 1                              |
/// |                        | exclusive entry                 | exclusive                                       |
/// | shared: active = n > 0 | shared entry                    | shared, active = n + 1                          |
/// |                        | exclusive entry                 | the same, writersWaiting + 1; the writer waits  |
/// |                        | release, n > 1                  | shared, active = n - 1                          |
/// |                        | release, n = 1, a writer waits  | exclusive, writersWaiting - 1; wakes one writer |
/// |                        | release, n = 1, no writer waits | free                                            |
/// | exclusive: active = -1 | shared entry                    | the same, readersWaiting + 1; the reader waits  |
/// |                        | exclusive entry                 | the same, writersWaiting + 1; the writer waits  |
/// |                        | release, a writer waits         | exclusive, writersWaiting - 1; wakes one writer |
/// |                        | release, only readers wait      | shared by all of them, readersWaiting = 0       |
/// |                        | release, no thread waits        | free                                            |
///
/// An entry that needn't wait is one compare-exchange on `active`, and a reader's exit that wakes no thread is one
/// subtraction. Everything else happens in the critical section: waiting, waking, and each exit of a writer. Between a
/// last reader's subtraction and its entry to the section `active` is 0 while `writersWaiting` is above 0.
#pragma once

#include <atomic>
#include <cstdint>

namespace arbor::module {

template <class System>
class LockAlgorithm {
public:
    void EnterShared();
    void EnterExclusive();
    /// Ends the calling thread's shared or exclusive entry.
    void Release();

protected:
    friend struct ArborLayout;

    /// Starts free. The gates and the section are the derived class's to create and to destroy.
    LockAlgorithm(typename System::Gate readers, typename System::Gate writers)
        : readersGate(readers), writersGate(writers) {}

    bool TryEnterShared();
    bool TryEnterExclusive();
    void ReleaseExclusive();
    void WakeWriter();

    typename System::Section section;   // guards the counts of waiting threads
    typename System::Gate readersGate;
    typename System::Gate writersGate;
    typename System::GuardedCount readersWaiting{0};   // read and changed only in the section
    typename System::AtomicCount writersWaiting{0};    // changed only in the section
    typename System::AtomicCount active{0};            // number of readers inside, or -1: a writer is inside
};

template <class System>
bool LockAlgorithm<System>::TryEnterShared() {
    std::int32_t readers = 0;   // no load of `active`: when readers contend, it would fetch the cache line twice
    while (!active.compare_exchange_weak(readers, readers + 1)) {
        if (readers < 0) return false;
    }
    return true;
}

template <class System>
bool LockAlgorithm<System>::TryEnterExclusive() {
    std::int32_t expected = 0;
    return active.compare_exchange_strong(expected, -1);
}

// A reader can't miss its wake-up: a negative `active` becomes 0 or more only in the section. A reader that finds it
// negative there is counted before the writer's exit reads the count.
template <class System>
void LockAlgorithm<System>::EnterShared() {
    if (TryEnterShared()) return;
    System::Enter(section);
    const bool wait = !TryEnterShared();
    if (wait) ++readersWaiting;
    System::Leave(section);
    if (wait) System::Wait(readersGate);
}

// A writer can't miss its wake-up: it increments `writersWaiting` and then tries `active` again, while the last reader
// sets `active` to 0 and then reads `writersWaiting`. The four steps are sequentially consistent, so either the writer
// finds 0 or the reader finds the writer.
template <class System>
void LockAlgorithm<System>::EnterExclusive() {
    if (TryEnterExclusive()) return;
    System::Enter(section);
    ++writersWaiting;
    const bool wait = !TryEnterExclusive();
    if (!wait) --writersWaiting;
    System::Leave(section);
    if (wait) System::Wait(writersGate);
}

// A load before the subtraction would fetch the cache line twice when readers contend, so a writer's exit subtracts
// too: `active` is -2 until the section sets it, which excludes other threads as -1 does.
template <class System>
void LockAlgorithm<System>::Release() {
    const std::int32_t before = active.fetch_sub(1);
    if (before < 1) return ReleaseExclusive();
    if (before == 1 && writersWaiting > 0) WakeWriter();
}

/// Called by the last reader after its subtraction. If another thread has entered since, this call wakes no writer;
/// that thread's release does.
template <class System>
void LockAlgorithm<System>::WakeWriter() {
    System::Enter(section);
    const bool wake = writersWaiting > 0 && TryEnterExclusive();   // enters on the writer's behalf
    if (wake) --writersWaiting;
    System::Leave(section);
    if (wake) System::Open(writersGate, 1);   // outside the section: a thread woken inside it would block on it
}

template <class System>
void LockAlgorithm<System>::ReleaseExclusive() {
    System::Enter(section);
    const bool wakeWriter = writersWaiting > 0;
    const std::int32_t readersToWake = wakeWriter ? 0 : static_cast<std::int32_t>(readersWaiting);
    if (wakeWriter) --writersWaiting;
    if (readersToWake > 0) readersWaiting = 0;
    // The woken threads are inside from here on. Release order suffices: a thread about to wait rechecks `active`
    // inside the section.
    active.store(wakeWriter ? -1 : readersToWake, std::memory_order_release);
    System::Leave(section);
    if (wakeWriter) System::Open(writersGate, 1);
    if (readersToWake > 0) System::Open(readersGate, readersToWake);
}

}   // namespace arbor::module
