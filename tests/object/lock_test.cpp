#include "object/readers_writer_lock.h"

#include "lock_explorer.h"
#include "store_test.h"
#include "support/latch.h"

#include <component/kernel/properties.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>

namespace test {
namespace {

using arbor::module::LockGuard;
using arbor::module::LockMode;
using arbor::module::ReadersWriterLock;
using namespace std::chrono_literals;

/// A thread that enters the lock and stays inside until `Leave`.
class Holder {
public:
    Holder(ReadersWriterLock& lock, LockMode mode)
        : thread([this, &lock, mode] {
              const LockGuard guard(lock, 1, mode);
              inside = true;
              WaitFor(leave);
          }) {}
    ~Holder() {
        Leave();
        thread.join();
    }

    void WaitInside() const { WaitFor(inside); }
    /// Whether the thread is inside after a delay that suffices for an entry without a wait.
    [[nodiscard]] bool IsInside() const {
        std::this_thread::sleep_for(30ms);
        return inside;
    }
    void Leave() { leave = true; }

private:
    static void WaitFor(const std::atomic<bool>& flag) {
        while (!flag) std::this_thread::sleep_for(1ms);
    }

    std::atomic<bool> inside{false};
    std::atomic<bool> leave{false};
    std::thread thread;
};

// The explorer covers the algorithm; this test covers the system's gates and section, before and after the gates are
// created anew.
TEST(LockTest, AReleaseWakesAWriterFirstAndThenAllReaders) {
    ReadersWriterLock lock;
    for (const char* start : {"first", "second"}) {
        SCOPED_TRACE(start);
        lock.Initialise();
        Holder first(lock, LockMode::Shared);
        first.WaitInside();
        Holder writer(lock, LockMode::Exclusive);
        EXPECT_FALSE(writer.IsInside());
        Holder passing(lock, LockMode::Shared);
        passing.WaitInside();
        first.Leave();
        EXPECT_FALSE(writer.IsInside());
        passing.Leave();
        writer.WaitInside();
        Holder reader(lock, LockMode::Shared);
        Holder another(lock, LockMode::Shared);
        Holder third(lock, LockMode::Shared);
        Holder nextWriter(lock, LockMode::Exclusive);
        EXPECT_FALSE(nextWriter.IsInside());
        writer.Leave();
        nextWriter.WaitInside();
        EXPECT_FALSE(reader.IsInside() || another.IsInside() || third.IsInside());
        nextWriter.Leave();
        reader.WaitInside();
        another.WaitInside();
        third.WaitInside();
    }
}

struct EntersInTwoSteps : SimulatedLock {
    void EnterShared() { active < 0 ? SimulatedLock::EnterShared() : ++active; }
};

struct ChecksForWritersTooEarly : SimulatedLock {
    void Release() { active == 1 && writersWaiting == 0 ? active = 0 : SimulatedLock::Release(); }
};

struct CountsAReaderAsWaiting : SimulatedLock {
    void EnterShared() { TryEnterShared() ? ++readersWaiting : SimulatedLock::EnterShared(); }
};

struct WakesReadersFirst : SimulatedLock {
    void Release() {
        if (active > 0 || readersWaiting == 0) return SimulatedLock::Release();
        const int readers = readersWaiting;
        readersWaiting = 0;
        active = readers;
        SimulatedSystem::Open(readersGate, readers);
    }
};

TEST(LockExplorerTest, NoInterleavingOfReadersAndWritersHasAFault) {
    for (std::size_t writers = 0; writers <= 3; ++writers) {
        EXPECT_THAT(LockExplorer<SimulatedLock>(writers, 4).faults, testing::IsEmpty()) << writers << " writers";
    }
}

TEST(LockExplorerTest, FindsAPlantedFaultOfEachKind) {
    EXPECT_THAT(LockExplorer<EntersInTwoSteps>(1, 3).faults, testing::Contains("exclusion"));
    EXPECT_THAT(LockExplorer<ChecksForWritersTooEarly>(1, 3).faults, testing::Contains("lost wake-up"));
    EXPECT_THAT(LockExplorer<CountsAReaderAsWaiting>(1, 3).faults, testing::Contains("counts"));
    EXPECT_THAT(LockExplorer<WakesReadersFirst>(2, 3).faults, testing::Contains("order"));
}

TEST(LockTest, WithoutGatesOrWithoutTheSwitchItDoesNothing) {
    ReadersWriterLock lock;
    const LockGuard outer(lock, 1, LockMode::Exclusive);
    const LockGuard inner(lock, 1, LockMode::Exclusive);
    ReadersWriterLock armed;
    armed.Initialise();
    const LockGuard off(armed, 0, LockMode::Exclusive);
    const LockGuard on(armed, 1, LockMode::Exclusive);
    EXPECT_TRUE(armed.HasGates());
    EXPECT_FALSE(lock.HasGates());
}

using SharedStoreTest = StoreTest;

TEST_F(SharedStoreTest, ReadersNeverSeeHalfAChange) {
    constexpr int kWriters = 2;
    constexpr int kReaders = 3;
    constexpr int kMaxRounds = 5000;
    const auto deadline = std::chrono::steady_clock::now() + 3s;   // under emulation a wait costs 300 times as much
    Store& s = MakeStore(true);
    HostObject* object = s.object.Get();
    const KeyHandle counters = s.Make("counters");
    for (int i = 0; i < 16; ++i) s.SetNumber(counters, ("n" + std::to_string(i)).c_str(), tDWORD, 0U);
    std::atomic<int> writing{kWriters};
    testing_support::Latch start(kWriters + kReaders);
    std::vector<std::thread> threads;
    for (int writer = 0; writer < kWriters; ++writer) {
        threads.emplace_back([&, writer] {
            const std::string own = "own" + std::to_string(writer);
            start.ArriveAndWait();
            const auto isOver = [&] { return std::chrono::steady_clock::now() > deadline; };
            for (int round = 0; round < 2 || (round < kMaxRounds && !isOver()); ++round) {
                KeyHandle key = kNoKey;
                EXPECT_TRUE(IsSuccess(s.methods.OpenKey(object, &key, 0, (own + "/below").c_str(), 1)));
                const std::string text(static_cast<std::size_t>(round % 50), 'x');
                EXPECT_EQ(s.methods.SetValue(object, counters, "text", tSTRING, text.data(),
                                             static_cast<std::uint32_t>(text.size()), 1),
                          kDone);
                EXPECT_EQ(s.methods.SetValueByIndex(object, counters, static_cast<std::uint32_t>(round % 16), tDWORD,
                                                    &round, sizeof round, 0),
                          kDone);
                // Two of each writer's marks stand at a time, and one key: the totals tell of a lost change.
                const auto mark = [&](int of) { return own + "-" + std::to_string(of); };
                EXPECT_EQ(s.methods.SetValue(object, counters, mark(round).c_str(), tDWORD, &round, sizeof round, 1),
                          kDone);
                EXPECT_EQ(s.methods.DeleteValue(object, counters, mark(round - 2).c_str()),
                          round < 2 ? kNoSuchEntry : kDone);
                EXPECT_EQ(s.methods.DeleteKey(object, 0, (own + "/below").c_str()), kDone);
            }
            --writing;
        });
    }
    for (int reader = 0; reader < kReaders; ++reader) {
        threads.emplace_back([&] {
            char text[64];
            start.ArriveAndWait();
            while (writing.load() != 0) {
                std::this_thread::sleep_for(50us);   // readers who never leave at once keep the writers out for good
                std::uint32_t count = 0;
                KeyHandle key = kNoKey;
                for (std::uint32_t i = 0; IsSuccess(s.methods.OpenKeyByIndex(object, &key, 0, i)); ++i) {
                }
                EXPECT_EQ(s.methods.OpenKeyByIndex(object, &key, 0, 0), kDone);
                while (IsSuccess(s.methods.OpenNextKey(object, &key, key))) ++count;
                EXPECT_LE(count, static_cast<std::uint32_t>(kWriters));
                count = 0;
                const ResultCode code =
                    s.methods.GetValue(object, &count, counters, "text", nullptr, text, sizeof text);
                EXPECT_TRUE(code == kNoSuchEntry || count == 0 ||
                            std::string(text, count - 1).find_first_not_of('x') == std::string::npos);
                for (std::uint32_t i = 0; i < 16; ++i) {
                    EXPECT_EQ(s.methods.GetValueByIndex(object, &count, counters, i, nullptr, text, 4), kDone);
                }
                EXPECT_EQ(s.methods.GetValueCount(object, &count, counters), kDone);
                EXPECT_TRUE(count >= 16 && count <= 17 + 3 * kWriters) << count;
                EXPECT_EQ(s.methods.CloseKey(object, key), kDone);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(s.KeyCount(), 1U + kWriters);
    EXPECT_EQ(s.ValueCount(counters), 17U + 2 * kWriters);
}

TEST_F(SharedStoreTest, ObjectsWithoutTheLockServeAThreadEach) {
    constexpr std::uint32_t kRounds = 500;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this] {
            Store s(kernel);
            EXPECT_EQ(s.object.Ready(), kDone);
            for (std::uint32_t round = 0; round < kRounds; ++round) {
                s.SetNumber(s.Make(("k" + std::to_string(round % 7)).c_str()), "n", tDWORD, round);
                s.SetText(0, std::to_string(round).c_str(), "text");
                KeyHandle key = s.Open("k0");
                for (std::uint32_t step = 1; step < std::min(round + 1, 7U); ++step) {
                    EXPECT_EQ(s.methods.OpenNextKey(s.object.Get(), &key, key), kDone);
                }
                if (round % 8 == 7) {
                    s.Make("gone");
                    EXPECT_EQ(s.methods.DeleteKey(s.object.Get(), 0, "gone"), kDone);
                }
                if (round % 3 != 0) continue;
                EXPECT_EQ(s.methods.DeleteValueByInd(s.object.Get(), 0, 0), kDone);
            }
            EXPECT_EQ(s.KeyCount(), 7U);
            EXPECT_EQ(s.ValueCount(), kRounds - (kRounds + 2) / 3);
            EXPECT_EQ(s.Number<std::uint32_t>(s.Open("k0"), "n", tDWORD), kRounds - 1 - (kRounds - 1) % 7);
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST_F(SharedStoreTest, TheSwitchCountsBeforeTheObjectIsReady) {
    Store& s = MakeStore(false);
    EXPECT_EQ(s.object.SetNumber(PropertySynchronised, 1), kDone);
    EXPECT_NE(s.Make("a"), kNoKey);
}

}   // namespace
}   // namespace test
