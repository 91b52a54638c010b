/// A lock between processes, held by a file of its own that exists as long as the lock is held.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>

namespace host {

/// Advisory: only those who take the same lock are kept out. The system releases it with the process, however that
/// ends; on Linux a process that is killed leaves the file, which then locks nothing and is removed by the next owner.
class TimedFileLock {
public:
    /// Waits while another owner holds the lock, up to `wait` for each owner in turn. `IsHeld` says whether the lock
    /// was acquired. Throws `std::filesystem::filesystem_error` if `file` can't be made.
    TimedFileLock(std::filesystem::path file, std::chrono::milliseconds wait);
    /// Removes the file and releases the lock.
    ~TimedFileLock();
    TimedFileLock(const TimedFileLock&) = delete;
    TimedFileLock& operator=(const TimedFileLock&) = delete;

    [[nodiscard]] bool IsHeld() const { return handle != kNoHandle; }

private:
    static constexpr std::intptr_t kNoHandle = -1;

    /// False if another owner holds the lock.
    [[nodiscard]] bool TryAcquire();

    const std::filesystem::path path;
    std::intptr_t handle = kNoHandle;   // the open file of the system
};

}   // namespace host
