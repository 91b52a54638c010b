#include <component/platform/threads.h>

#include <component/platform/errors.h>
#include <component/platform/files.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <set>
#include <thread>
#include <vector>

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

class Semaphore {
public:
    Semaphore(std::int32_t initial, std::int32_t maximum)
        : handle(platform::CreateSemaphoreW(nullptr, initial, maximum, nullptr)) {}
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;
    ~Semaphore() {
        if (handle != nullptr) platform::CloseHandle(handle);
    }

    [[nodiscard]] std::uint32_t Wait(std::uint32_t waitMilliseconds) const {
        return platform::WaitForSingleObjectEx(handle, waitMilliseconds, false);
    }

    const platform::Handle handle;
};

TEST(SemaphoreTest, RefusesCountsThatMakeNoSense) {
    struct Row {
        std::int32_t initial, maximum;
    };
    for (const Row& row : {Row{-1, 1}, Row{0, 0}, Row{2, 1}}) {
        EXPECT_EQ(Semaphore(row.initial, row.maximum).handle, nullptr);
        EXPECT_EQ(platform::GetLastError(), platform::kErrorInvalidParameter);
    }
}

TEST(SemaphoreTest, ReleaseAddsAllOrNothing) {
    const Semaphore semaphore(1, 3);
    std::int32_t previous = 77;
    EXPECT_FALSE(platform::ReleaseSemaphore(semaphore.handle, 3, &previous));
    EXPECT_EQ(platform::GetLastError(), platform::kErrorTooManyPosts);
    EXPECT_EQ(previous, 77);
    EXPECT_TRUE(platform::ReleaseSemaphore(semaphore.handle, 2, &previous));
    EXPECT_EQ(previous, 1);
    for (int count = 0; count < 3; ++count) EXPECT_EQ(semaphore.Wait(0), platform::kWaitObject0);
    EXPECT_EQ(semaphore.Wait(0), platform::kWaitTimeout);

    const Semaphore full(0x7FFFFFFF, 0x7FFFFFFF);
    EXPECT_FALSE(platform::ReleaseSemaphore(full.handle, 0x7FFFFFFF, nullptr)) << "the sum doesn't fit the count";
}

TEST(SemaphoreTest, WaitLastsItsTimeAndNoLess) {
    const Semaphore semaphore(0, 1);
    const steady_clock::time_point start = steady_clock::now();
    EXPECT_EQ(semaphore.Wait(60), platform::kWaitTimeout);
    EXPECT_GE(steady_clock::now() - start, milliseconds(50));   // a system's tick may end a wait a little early
}

TEST(SemaphoreTest, OneReleaseLetsThatManyIn) {
    constexpr int kWaiters = 6;
    const Semaphore semaphore(0, kWaiters);
    const Semaphore passed(0, kWaiters);
    std::vector<std::jthread> threads;
    for (int count = 0; count < kWaiters; ++count) {
        threads.emplace_back([&] {
            EXPECT_EQ(semaphore.Wait(platform::kInfinite), platform::kWaitObject0);
            EXPECT_TRUE(platform::ReleaseSemaphore(passed.handle, 1, nullptr));
        });
    }
    EXPECT_TRUE(platform::ReleaseSemaphore(semaphore.handle, kWaiters - 1, nullptr));
    for (int count = 0; count < kWaiters - 1; ++count) EXPECT_EQ(passed.Wait(10'000), platform::kWaitObject0);
    EXPECT_EQ(passed.Wait(30), platform::kWaitTimeout) << "one is still outside";
    EXPECT_TRUE(platform::ReleaseSemaphore(semaphore.handle, 1, nullptr));
}

TEST(SemaphoreTest, WaiterMayCloseItAsSoonAsItIsThrough) {
    for (int round = 0; round < 300; ++round) {
        const platform::Handle handle = platform::CreateSemaphoreW(nullptr, 0, 1, nullptr);
        const std::jthread waiter([handle] {
            EXPECT_EQ(platform::WaitForSingleObjectEx(handle, platform::kInfinite, false), platform::kWaitObject0);
            platform::CloseHandle(handle);
        });
        EXPECT_TRUE(platform::ReleaseSemaphore(handle, 1, nullptr));
    }
}

TEST(CriticalSectionTest, KeepsOthersOutAndLetsItsOwnThreadInAgain) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 5000;
    platform::CriticalSection section;
    platform::InitializeCriticalSection(&section);
    int count = 0;
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([&section, &count] {
                for (int round = 0; round < kRounds; ++round) {
                    platform::EnterCriticalSection(&section);
                    platform::EnterCriticalSection(&section);
                    ++count;
                    platform::LeaveCriticalSection(&section);
                    ++count;
                    platform::LeaveCriticalSection(&section);
                }
            });
        }
    }
    platform::DeleteCriticalSection(&section);
    EXPECT_EQ(count, 2 * kThreads * kRounds);
}

TEST(ThreadTest, HasItsOwnNumberAndItsOwnLastError) {
    std::atomic<int> turn = 0;   // nothing but the turns lies between an error and the look at it
    std::uint32_t number = 0;
    std::jthread other([&turn, &number] {
        number = platform::GetCurrentThreadId();
        while (turn != 1) std::this_thread::yield();
        platform::SetLastError(22);
        turn = 2;
    });
    platform::SetLastError(11);
    turn = 1;
    while (turn != 2) {
    }
    EXPECT_EQ(platform::GetLastError(), 11U);
    other.join();
    EXPECT_NE(number, 0U);
    EXPECT_NE(number, platform::GetCurrentThreadId());
}

}   // namespace
