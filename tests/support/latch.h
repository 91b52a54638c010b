/// A latch for tests. `std::latch` isn't used: without a futex, as on Windows, the wait of GCC 12's library can miss
/// its wake-up and then never ends.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>

namespace testing_support {

class Latch {
public:
    explicit Latch(std::size_t expected) : count(expected) {}

    void CountDown() {
        const std::lock_guard guard(mutex);
        if (--count == 0) isOpen.notify_all();
    }
    void Wait() {
        std::unique_lock guard(mutex);
        isOpen.wait(guard, [this] { return count == 0; });
    }
    void ArriveAndWait() {
        CountDown();
        Wait();
    }

private:
    std::mutex mutex;
    std::condition_variable isOpen;
    std::size_t count;
};

}   // namespace testing_support
