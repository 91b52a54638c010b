// Counting semaphores.

#include "system_error.h"
#include "system_object.h"

#include <component/platform/threads.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>

namespace platform {
namespace {

/// `Release` notifies while it holds the mutex: a waiter that returns may destroy the semaphore at once, and must not
/// return before the releasing thread has finished with the condition variable.
class Semaphore final : public SystemObject {
public:
    static constexpr ObjectKind kKind = ObjectKind::Semaphore;

    Semaphore(std::int32_t initialCount, std::int32_t maxCount)
        : SystemObject(kKind), count(initialCount), max(maxCount) {}

    /// Adds `added`, or returns false if the sum is above the maximum.
    [[nodiscard]] bool Release(std::int32_t added, std::int32_t* previous) {
        const std::lock_guard guard(mutex);
        if (added > max - count) return false;
        if (previous != nullptr) *previous = count;
        count += added;
        if (added == 1) {
            isPositive.notify_one();
        } else {
            isPositive.notify_all();
        }
        return true;
    }

    /// Subtracts 1 from the count as soon as that is above 0. Returns false if it isn't within the time.
    [[nodiscard]] bool Acquire(std::uint32_t milliseconds) {
        std::unique_lock guard(mutex);
        const auto canAcquire = [this] { return count > 0; };
        if (milliseconds == kInfinite) {
            isPositive.wait(guard, canAcquire);
        } else if (!isPositive.wait_for(guard, std::chrono::milliseconds(milliseconds), canAcquire)) {
            return false;
        }
        --count;
        return true;
    }

private:
    std::mutex mutex;
    std::condition_variable isPositive;
    std::int32_t count;
    const std::int32_t max;
};

}   // namespace

Handle CreateSemaphoreW(const void* /*security*/, std::int32_t initial, std::int32_t maximum,
                        const char16_t* /*name*/) {
    if (initial < 0 || maximum < 1 || initial > maximum) {
        SetLastError(kErrorInvalidParameter);
        return nullptr;
    }
    SystemObject* const semaphore = new (std::nothrow) Semaphore(initial, maximum);
    if (semaphore == nullptr) SetLastError(kErrorNotEnoughMemory);
    return semaphore;
}

bool ReleaseSemaphore(Handle semaphore, std::int32_t count, std::int32_t* previous) {
    Semaphore* const object = ObjectOf<Semaphore>(semaphore);
    return object != nullptr && (object->Release(count, previous) || FailWith(kErrorTooManyPosts));
}

std::uint32_t WaitForSingleObjectEx(Handle handle, std::uint32_t milliseconds, bool /*alertable*/) {
    Semaphore* const object = ObjectOf<Semaphore>(handle);
    if (object == nullptr) return kWaitFailed;
    return object->Acquire(milliseconds) ? kWaitObject0 : kWaitTimeout;
}

}   // namespace platform
