#include "object/readers_writer_lock.h"

#include <component/platform/files.h>

#include <array>
#include <cstddef>

namespace arbor {

namespace {

constexpr std::int32_t kMostWaiters = 0x7FFFFFFF;

// A writer who closes the seats looks at each of them: by then as many meetings have cost more. Two threads find the
// same seat once in so many times, and go on meeting.
constexpr unsigned kSeatBits = 8;
constexpr std::int32_t kSeats = 1 << kSeatBits;
constexpr std::uint16_t kMeetingsBeforeSeats = 256;
constexpr std::size_t kCacheLineBytes = 64;

struct alignas(kCacheLineBytes) SeatLine {
    std::atomic<const ReadersWriterLock*> seat;
};

/// The seats of all locks: a reader writes its lock into one.
constinit std::array<SeatLine, kSeats> seatLines{};

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
      active(0),
      meetings(0),
      seatsOpen(false) {
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
    meetings = 0;
    seatsOpen = false;
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

/// `others` gets the number that it found in `active`.
bool ReadersWriterLock::TryShared(std::int32_t& others) {
    others = 0;
    while (!active.compare_exchange_weak(others, others + 1)) {
        if (others < 0) return false;
    }
    return true;
}

bool ReadersWriterLock::TryExclusive() {
    std::int32_t inside = 0;
    return active.compare_exchange_strong(inside, -1);
}

// No wake-up is lost. A reader waits only where it found a writer, who leaves in the section: after the reader has left
// it. A writer says that it waits and then looks at `active` once more, while the last reader sets `active` to 0 and
// then looks for waiting writers: as all four are steps of one order, one of the two sees the other. Who leaves a seat
// needn't look: an open one has no writer waiting, and the writer who closes it looks itself.
//
// Between that last reader's step and `LetWriterIn` another thread can go in. It is as if it had come before the reader
// left: as one more reader, who passes waiting writers, or as the one of the waiting writers who was let in. Its own
// release lets the next one in.

void ReadersWriterLock::EnterShared(const void* place) {
    if (seatsOpen && TakeSeat(SeatAt(place))) return;
    std::int32_t others = 0;
    if (TryShared(others)) {
        if (others > 0) CountMeeting();
        return;
    }
    platform::EnterCriticalSection(&section);
    const bool wait = !TryShared(others);
    if (wait) ++readersWaiting;
    platform::LeaveCriticalSection(&section);
    if (wait) WaitAt(readersGate);
}

void ReadersWriterLock::EnterExclusive() {
    if (TryExclusive()) return;
    platform::EnterCriticalSection(&section);
    ++writersWaiting;
    if (seatsOpen) CloseSeats();
    const bool wait = !TryExclusive();
    if (!wait) --writersWaiting;
    platform::LeaveCriticalSection(&section);
    if (wait) WaitAt(writersGate);
}

void ReadersWriterLock::Release(const void* place) {
    if (active < 1) return ReleaseExclusive();
    if (LeaveSeat(SeatAt(place))) return;
    if (active.fetch_sub(1) == 1 && writersWaiting > 0) LetWriterIn();
}

// Seats. At each moment `active` is the readers inside, less the seats that hold this lock, plus the readers who have
// written their seat and not yet looked at `seatsOpen` again, plus one while the seats are open. So a reader may leave
// by any seat that holds its lock: where two share one, the other finds it empty and leaves by `active`, and the sum is
// the same. A reader writes its seat and then looks at `seatsOpen`, while a writer clears `seatsOpen` and then empties
// the seats: one of the two sees the other. `active` is never below 1 while a reader is inside, so that none takes
// itself for a writer: the one for all seats goes last.

/// Each thread has a stack of its own: an address on it tells threads apart, and no system call is needed.
ReadersWriterLock::Seat& ReadersWriterLock::SeatAt(const void* place) {
    constexpr unsigned kStackBits = 16;   // the stacks of two threads mostly lie further apart
    constexpr std::uint32_t kSpread = 0x9E3779B9;
    const auto stack = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(place) >> kStackBits);
    return seatLines[stack * kSpread >> (32 - kSeatBits)].seat;
}

bool ReadersWriterLock::TakeSeat(Seat& seat) {
    const ReadersWriterLock* nobody = nullptr;
    if (seat != nobody || !seat.compare_exchange_strong(nobody, this)) return false;
    // Closed meanwhile: who finds the seat empty is inside all the same. A writer has counted it in `active`, or a
    // reader who was counted there has left by it.
    return seatsOpen || !LeaveSeat(seat);
}

bool ReadersWriterLock::LeaveSeat(Seat& seat) const {
    const ReadersWriterLock* taken = seat;
    return taken == this && seat.compare_exchange_strong(taken, nullptr);
}

/// For a reader inside who found another one there.
void ReadersWriterLock::CountMeeting() {
    if (seatsOpen) return;
    meetings = static_cast<std::uint16_t>(meetings + 1);
    if (meetings >= kMeetingsBeforeSeats) OpenSeats();
}

void ReadersWriterLock::OpenSeats() {
    platform::EnterCriticalSection(&section);
    meetings = 0;
    if (!seatsOpen && writersWaiting == 0) {
        ++active;
        seatsOpen = true;
    }
    platform::LeaveCriticalSection(&section);
}

void ReadersWriterLock::CloseSeats() {
    seatsOpen = false;
    active += kSeats;   // a reader counts there before its seat is empty
    std::int32_t free = 0;
    for (SeatLine& line : seatLines) {
        if (!LeaveSeat(line.seat)) ++free;
    }
    active -= free + 1;
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
