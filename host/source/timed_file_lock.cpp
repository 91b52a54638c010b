#include <host/timed_file_lock.h>

#include <random>
#include <thread>
#include <utility>

namespace host {
namespace {

using Clock = std::chrono::steady_clock;

/// Waiting owners poll at random intervals, so that they don't collide again and again.
class PollInterval {
public:
    std::chrono::milliseconds Next() { return std::chrono::milliseconds(milliseconds(engine)); }

private:
    std::minstd_rand engine{std::random_device{}()};
    std::uniform_int_distribution<int> milliseconds{2, 20};
};

/// Each owner makes the file anew, so its time tells owners apart; on Windows it counts whole seconds.
std::filesystem::file_time_type TimeOfOwner(const std::filesystem::path& path) {
    std::error_code gone;
    return std::filesystem::last_write_time(path, gone);
}

}   // namespace

TimedFileLock::TimedFileLock(std::filesystem::path file, std::chrono::milliseconds wait) : path(std::move(file)) {
    PollInterval interval;
    auto owner = TimeOfOwner(path);
    auto deadline = Clock::now() + wait;
    while (!TryAcquire()) {
        const auto newest = TimeOfOwner(path);
        if (newest != std::exchange(owner, newest)) deadline = Clock::now() + wait;
        if (Clock::now() >= deadline) return;
        std::this_thread::sleep_for(interval.Next());
    }
}

}   // namespace host
