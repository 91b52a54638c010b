#include "system_error.h"
#include "system_object.h"

#include <component/platform/threads.h>

#include <pthread.h>

#include <ctime>
#include <new>

namespace platform {
namespace {

class MutexHold {
public:
    explicit MutexHold(pthread_mutex_t& held) : mutex(held) { pthread_mutex_lock(&mutex); }
    ~MutexHold() { pthread_mutex_unlock(&mutex); }
    MutexHold(const MutexHold&) = delete;
    MutexHold& operator=(const MutexHold&) = delete;

private:
    pthread_mutex_t& mutex;
};

/// Everything is done inside the mutex, the wake-up too: a waiter that has been let through may close the semaphore at
/// once, and the releaser must be out of it by then.
class Semaphore final : public SystemObject {
public:
    static constexpr ObjectKind kKind = ObjectKind::Semaphore;

    Semaphore(std::int32_t initial, std::int32_t most) : SystemObject(kKind), count(initial), maximum(most) {
        pthread_condattr_t steady;
        pthread_condattr_init(&steady);
        pthread_condattr_setclock(&steady, CLOCK_MONOTONIC);
        pthread_cond_init(&raised, &steady);
        pthread_condattr_destroy(&steady);
    }

    ~Semaphore() override {
        pthread_cond_destroy(&raised);
        pthread_mutex_destroy(&mutex);
    }

    [[nodiscard]] bool Release(std::int32_t more, std::int32_t* previous) {
        const MutexHold hold(mutex);
        if (more > maximum - count) return false;
        if (previous != nullptr) *previous = count;
        count += more;
        if (more == 1) {
            pthread_cond_signal(&raised);
        } else {
            pthread_cond_broadcast(&raised);
        }
        return true;
    }

    /// Waits until `deadline`, without end if there is none. False: the time is over.
    [[nodiscard]] bool Take(const timespec* deadline) {
        const MutexHold hold(mutex);
        while (count == 0) {
            const int ended = deadline == nullptr ? pthread_cond_wait(&raised, &mutex)
                                                  : pthread_cond_timedwait(&raised, &mutex, deadline);
            if (ended != 0 && count == 0) return false;
        }
        --count;
        return true;
    }

private:
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t raised;
    std::int32_t count;
    const std::int32_t maximum;
};

timespec DeadlineIn(std::uint32_t milliseconds) {
    constexpr long kNanosecondsASecond = 1'000'000'000;
    timespec deadline{};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += static_cast<time_t>(milliseconds / 1000);
    deadline.tv_nsec += static_cast<long>(milliseconds % 1000) * 1'000'000;
    if (deadline.tv_nsec >= kNanosecondsASecond) {
        deadline.tv_nsec -= kNanosecondsASecond;
        ++deadline.tv_sec;
    }
    return deadline;
}

}   // namespace

Handle CreateSemaphoreW(const void* /*security*/, std::int32_t initial, std::int32_t maximum, const char16_t* name) {
    if (initial < 0 || maximum < 1 || initial > maximum || name != nullptr) {
        SetLastError(kErrorInvalidParameter);
        return nullptr;
    }
    SystemObject* const semaphore = new (std::nothrow) Semaphore(initial, maximum);
    if (semaphore == nullptr) SetLastError(kErrorNotEnoughMemory);
    return semaphore;
}

bool ReleaseSemaphore(Handle semaphore, std::int32_t count, std::int32_t* previous) {
    Semaphore* const object = ObjectOf<Semaphore>(semaphore);
    if (object == nullptr) return false;
    if (count < 1) return FailWith(kErrorInvalidParameter);
    return object->Release(count, previous) || FailWith(kErrorTooManyPosts);
}

std::uint32_t WaitForSingleObjectEx(Handle handle, std::uint32_t milliseconds, bool /*alertable*/) {
    Semaphore* const object = ObjectOf<Semaphore>(handle);
    if (object == nullptr) return kWaitFailed;
    if (milliseconds == kInfinite) return object->Take(nullptr) ? kWaitObject0 : kWaitFailed;
    const timespec deadline = DeadlineIn(milliseconds);
    return object->Take(&deadline) ? kWaitObject0 : kWaitTimeout;
}

}   // namespace platform
