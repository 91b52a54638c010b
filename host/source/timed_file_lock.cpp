// The wait for the lock, common to all systems; `linux/` and `windows/` acquire and release it.

#include <host/timed_file_lock.h>

#include <random>
#include <thread>
#include <utility>

namespace host {
namespace {

using Clock = std::chrono::steady_clock;

/// Random intervals between two attempts keep waiting processes from colliding repeatedly.
class PollInterval {
public:
    std::chrono::milliseconds Next() { return std::chrono::milliseconds(milliseconds(engine)); }

private:
    std::minstd_rand engine{std::random_device{}()};
    std::uniform_int_distribution<int> milliseconds{2, 20};
};

/// The time of the lock file. Each owner creates the file, so a new time means a new owner. On Windows the time has a
/// resolution of a second, so a change of the owner within a second goes unnoticed.
std::filesystem::file_time_type FileTime(const std::filesystem::path& path) {
    std::error_code ignored;   // for a missing file the result is `file_time_type::min()`
    return std::filesystem::last_write_time(path, ignored);
}

}   // namespace

TimedFileLock::TimedFileLock(std::filesystem::path file, std::chrono::milliseconds wait) : path(std::move(file)) {
    PollInterval interval;
    auto fileTime = FileTime(path);
    auto deadline = Clock::now() + wait;
    while (!TryAcquire()) {
        const auto newest = FileTime(path);
        if (newest != std::exchange(fileTime, newest)) deadline = Clock::now() + wait;
        if (Clock::now() >= deadline) return;
        std::this_thread::sleep_for(interval.Next());
    }
}

}   // namespace host
