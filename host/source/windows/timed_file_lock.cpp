// Acquires and releases the lock by an exclusive open of the lock file.

#include <host/timed_file_lock.h>

#include <windows.h>

namespace host {

/// Opening the file without sharing is the lock. The system removes the file with its last handle; until the removal is
/// complete, opening it fails with ERROR_ACCESS_DENIED.
bool TimedFileLock::TryAcquire() {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, 0, nullptr, OPEN_ALWAYS,
                                    FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
        handle = reinterpret_cast<std::intptr_t>(file);
        return true;
    }
    const DWORD error = GetLastError();
    if (error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED) return false;
    throw std::filesystem::filesystem_error("can't lock", path,
                                            std::error_code(static_cast<int>(error), std::system_category()));
}

TimedFileLock::~TimedFileLock() {
    if (IsHeld()) CloseHandle(reinterpret_cast<HANDLE>(handle));
}

}   // namespace host
