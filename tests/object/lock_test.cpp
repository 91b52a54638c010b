#include "object/readers_writer_lock.h"

#include "store_test.h"

#include <component/kernel/properties.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <latch>
#include <optional>
#include <random>
#include <string>
#include <thread>

namespace test {
namespace {

using arbor::LockGuard;
using arbor::ReadersWriterLock;
using namespace std::chrono_literals;

/// A thread that takes a guard, says so, and holds it until it is told to let go.
class Holder {
public:
    Holder(ReadersWriterLock& lock, bool exclusive)
        : thread([this, &lock, exclusive] {
              const LockGuard guard(lock, 1, exclusive);
              inside = true;
              WaitFor(leave);
          }) {}
    ~Holder() {
        Leave();
        thread.join();
    }

    void WaitInside() const { WaitFor(inside); }
    /// Whether it got in within a time in which it would have, had it been let.
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

/// More meetings with a reader inside than it takes until readers get seats.
void MeetOften(ReadersWriterLock& lock) {
    for (int i = 0; i < 1000; ++i) const LockGuard guard = LockGuard::Shared(lock, 1);
}

TEST(LockTest, AReaderPassesWaitingWritersWhileReadersAreInside) {
    for (const bool seated : {false, true}) {
        SCOPED_TRACE(seated);
        ReadersWriterLock lock;
        lock.Initialise();
        Holder first(lock, false);
        first.WaitInside();
        if (seated) MeetOften(lock);
        Holder second(lock, false);
        second.WaitInside();
        Holder writer(lock, true);
        EXPECT_FALSE(writer.IsInside());
        Holder third(lock, false);
        third.WaitInside();
        if (seated) MeetOften(lock);   // no seats while a writer waits: it would wait for nobody
        first.Leave();
        EXPECT_FALSE(writer.IsInside());
        third.Leave();
        EXPECT_FALSE(writer.IsInside());
        second.Leave();
        writer.WaitInside();
    }
}

TEST(LockTest, AReleasePrefersAWriterAndThenLetsAllReadersIn) {
    ReadersWriterLock lock;
    lock.Initialise();
    Holder first(lock, true);
    first.WaitInside();
    Holder reader(lock, false);
    Holder another(lock, false);
    Holder third(lock, false);
    EXPECT_FALSE(reader.IsInside());
    Holder second(lock, true);
    EXPECT_FALSE(second.IsInside());
    first.Leave();
    second.WaitInside();
    EXPECT_FALSE(reader.IsInside() || another.IsInside() || third.IsInside());
    second.Leave();
    reader.WaitInside();
    another.WaitInside();
    third.WaitInside();
    Holder last(lock, true);
    EXPECT_FALSE(last.IsInside());
    reader.Leave();
    another.Leave();
    third.Leave();
    last.WaitInside();
}

// A wake-up that is lost, or one too many, stops this test or shows in the counts.
// Few writers among many readers let the readers be seated again and again.
struct Entries {
    unsigned oneWriteIn;
    int rounds;
    bool shareSeat;   // all threads the same one, and readers of another lock too
};
class LockEntriesTest : public testing::TestWithParam<Entries> {};

TEST_P(LockEntriesTest, LeaveNobodyWaitingAndEveryWriterAlone) {
    const Entries entries = GetParam();
    ReadersWriterLock lock;
    lock.Initialise();
    ReadersWriterLock other;
    other.Initialise();
    struct {
        int first = 0;
        int second = 0;
    } changes;
    std::atomic<int> written{0};
    std::vector<std::thread> threads;
    for (unsigned seed = 0; seed < 4; ++seed) {
        threads.emplace_back([&, seed] {
            std::minstd_rand random(seed + 1);
            int own = 0;
            for (int round = 0; round < entries.rounds; ++round) {
                const bool writes = random() % entries.oneWriteIn == 0;
                const void* place = entries.shareSeat ? static_cast<const void*>(&lock) : &own;
                const bool seatsOther = entries.shareSeat && round % 2 == 0;
                if (seatsOther) other.EnterShared(place);
                writes ? lock.EnterExclusive() : lock.EnterShared(place);
                own += writes ? 1 : 0;
                if (writes) ++changes.first;
                if (random() % 16 == 0) std::this_thread::yield();
                if (writes) ++changes.second;
                EXPECT_EQ(changes.first, changes.second);
                lock.Release(place);
                if (seatsOther) other.Release(place);
            }
            written += own;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(changes.first, written);
    const LockGuard last = LockGuard::Exclusive(lock, 1);
    const LockGuard lastOfOther = LockGuard::Exclusive(other, 1);
}
INSTANTIATE_TEST_SUITE_P(OneWriteIn, LockEntriesTest,
                         testing::Values(Entries{4, 20'000, false}, Entries{100, 200'000, false},
                                         Entries{100, 200'000, true}, Entries{1000, 500'000, false},
                                         Entries{1000, 500'000, true}));

TEST(LockTest, AWriterWhoFoundReadersLooksAgainBeforeItWaits) {
    ReadersWriterLock lock;
    lock.Initialise();
    std::optional<Holder> reader(std::in_place, lock, false);
    reader->WaitInside();
    auto* section = reinterpret_cast<platform::CriticalSection*>(&lock);   // the record's first field
    platform::EnterCriticalSection(section);
    Holder writer(lock, true);
    EXPECT_FALSE(writer.IsInside());
    reader.reset();   // goes out while the writer can't say yet that it waits, and nobody comes after
    platform::LeaveCriticalSection(section);
    writer.WaitInside();
}

TEST(LockTest, AWriterWaitsForReadersAfterASecondStartToo) {
    ReadersWriterLock lock;
    lock.Initialise();
    {
        const LockGuard first = LockGuard::Shared(lock, 1);
        MeetOften(lock);
    }
    lock.Initialise();   // an object that is made ready twice
    Holder reader(lock, false);
    reader.WaitInside();
    Holder writer(lock, true);
    EXPECT_FALSE(writer.IsInside());
    reader.Leave();
    writer.WaitInside();
}

TEST(LockTest, WithoutGatesOrWithoutTheSwitchItDoesNothing) {
    ReadersWriterLock lock;
    const LockGuard outer = LockGuard::Exclusive(lock, 1);
    const LockGuard inner = LockGuard::Exclusive(lock, 1);
    ReadersWriterLock armed;
    armed.Initialise();
    const LockGuard off = LockGuard::Exclusive(armed, 0);
    const LockGuard on = LockGuard::Exclusive(armed, 1);
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
    std::latch start(kWriters + kReaders);
    std::vector<std::thread> threads;
    for (int writer = 0; writer < kWriters; ++writer) {
        threads.emplace_back([&, writer] {
            const std::string own = "own" + std::to_string(writer);
            start.arrive_and_wait();
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
            start.arrive_and_wait();
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
