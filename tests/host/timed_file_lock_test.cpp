#include "support/temporary_folder.h"

#include <host/timed_file_lock.h>

#include <atomic>
#include <fstream>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

class TimedFileLockTest : public testing::Test {
protected:
    const testing_support::TemporaryFolder owned;
    const std::filesystem::path file = owned.Folder() / "lock";
};

TEST_F(TimedFileLockTest, TheFileLastsAsLongAsTheLock) {
    {
        const host::TimedFileLock lock(file, 0s);
        EXPECT_TRUE(lock.IsHeld());
        EXPECT_TRUE(std::filesystem::exists(file));
        EXPECT_FALSE(host::TimedFileLock(file, 0s).IsHeld());
        EXPECT_TRUE(std::filesystem::exists(file));   // the one that was refused leaves it
    }
    EXPECT_FALSE(std::filesystem::exists(file));
    std::ofstream(file) << "";   // as a killed owner leaves it
    EXPECT_TRUE(host::TimedFileLock(file, 0s).IsHeld());
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_THROW(host::TimedFileLock(owned.Folder() / "none" / "lock", 0s), std::filesystem::filesystem_error);
}

TEST_F(TimedFileLockTest, AQueueThatMovesOutlastsTheWait) {
    constexpr int kOwners = 10;
    constexpr auto kHeld = 200ms;
    constexpr auto kWait = 1500ms;   // a file's time may count whole seconds
    static_assert(kWait < (kOwners - 1) * kHeld);
    std::atomic<int> inside = 0;
    std::atomic<int> total = 0;
    std::vector<std::thread> owners;
    for (int i = 0; i < kOwners; ++i) {
        owners.emplace_back([&] {
            const host::TimedFileLock lock(file, kWait);
            EXPECT_TRUE(lock.IsHeld());
            if (!lock.IsHeld()) return;
            EXPECT_EQ(++inside, 1);
            std::this_thread::sleep_for(kHeld);
            --inside;
            ++total;
        });
    }
    for (std::thread& owner : owners) owner.join();
    EXPECT_EQ(total, kOwners);
    EXPECT_FALSE(std::filesystem::exists(file));
}

}   // namespace
