/// A lock between processes with a limited waiting time. Releasing the lock removes its lock file.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>

namespace host {

/// The lock is advisory: it excludes only processes that acquire the same lock. The system releases it when its process
/// ends in any way. A process that is killed on Linux leaves the file, which locks nothing then; the next owner removes
/// it. On a Linux file system that has no file locks every process acquires the lock at once.
class TimedFileLock {
public:
    /// Waits until the lock is free, but gives up after `wait` without a change of the owner. `IsHeld` returns whether
    /// the lock was acquired. Throws `std::filesystem::filesystem_error` if `file` can't be created.
    TimedFileLock(std::filesystem::path file, std::chrono::milliseconds wait);
    /// Removes the file and releases the lock.
    ~TimedFileLock();
    TimedFileLock(const TimedFileLock&) = delete;
    TimedFileLock& operator=(const TimedFileLock&) = delete;

    [[nodiscard]] bool IsHeld() const { return handle != kNoHandle; }

private:
    static constexpr std::intptr_t kNoHandle = -1;

    /// Returns false if another owner holds the lock.
    [[nodiscard]] bool TryAcquire();

    const std::filesystem::path path;
    std::intptr_t handle = kNoHandle;   // descriptor on Linux, HANDLE on Windows
};

}   // namespace host
