// The wrappers of the system calls: each fails if the active fault says so, otherwise makes the call and notifies the
// observer of the test.
#include "system_faults.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace testing_support {
namespace {

/// Returns -1 with the error of the fault, 0 if the fault is an early success, else the result of `call`.
template <class Call>
int Pass(const SystemEvent& event, Call call) {
    if (const SystemFault* const fault = SystemFaults::NextFault(event.call)) {
        if (fault->error != 0) errno = static_cast<int>(fault->error);
        return fault->error != 0 ? -1 : 0;
    }
    const int result = call();
    SystemFaults::Notify(result >= 0, event);
    return result;
}

template <class Move>
ssize_t PassBytes(SystemCall kind, std::size_t size, Move move) {
    const SystemFault* const fault = SystemFaults::NextFault(kind);
    if (fault == nullptr) return move(size);
    if (fault->error == 0) return move(std::min<std::size_t>(size, fault->bytes));
    errno = static_cast<int>(fault->error);
    return -1;
}

}   // namespace

// The linker requires these names. Declares the call itself and begins the definition of its wrapper.
#define WRAPPER(result, name, ...)     \
    result __real_##name(__VA_ARGS__); \
    result __wrap_##name(__VA_ARGS__)

extern "C" {

WRAPPER(int, open, const char* path, int flags, mode_t mode) {
    const SystemFault* const fault = SystemFaults::NextFault(SystemCall::Open);
    if (fault != nullptr) errno = static_cast<int>(fault->error);
    const int file = fault != nullptr ? -1 : __real_open(path, flags, mode);
    SystemFaults::Notify(file >= 0, {.call = SystemCall::Open, .file = file, .path = path});
    return file;
}
WRAPPER(ssize_t, read, int file, void* buffer, std::size_t size) {
    return PassBytes(SystemCall::Read, size, [&](std::size_t count) { return __real_read(file, buffer, count); });
}
WRAPPER(ssize_t, write, int file, const void* buffer, std::size_t size) {
    return PassBytes(SystemCall::Write, size, [&](std::size_t count) {
        SystemFaults::Notify(
            true, {.call = SystemCall::Write, .file = file, .bytes{static_cast<const char*>(buffer), count}});
        return __real_write(file, buffer, count);
    });
}
WRAPPER(int, fsync, int file) {
    return Pass({.call = SystemCall::Sync, .file = file}, [] { return 0; });
}
WRAPPER(int, ftruncate, int file, off_t size) {
    return Pass({.call = SystemCall::Truncate, .file = file}, [&] { return __real_ftruncate(file, size); });
}
WRAPPER(int, fchmod, int file, mode_t mode) {
    return Pass({.call = SystemCall::Permissions}, [&] { return __real_fchmod(file, mode); });
}
WRAPPER(int, fchown, int file, uid_t owner, gid_t group) {
    return Pass({.call = SystemCall::Owner}, [&] { return __real_fchown(file, owner, group); });
}
WRAPPER(int, fsetxattr, int file, const char* name, const void* value, std::size_t size, int flags) {
    return Pass({.call = SystemCall::AccessList}, [&] { return __real_fsetxattr(file, name, value, size, flags); });
}
WRAPPER(int, fcntl, int file, int command, void* argument) {
    if (command != F_OFD_SETLK && command != F_OFD_GETLK) return __real_fcntl(file, command, argument);
    return Pass({.call = command == F_OFD_SETLK ? SystemCall::ByteLock : SystemCall::QueryByteLock},
                [&] { return __real_fcntl(file, command, argument); });
}
WRAPPER(int, flock, int file, int operation) {
    return Pass({.call = SystemCall::FileLock}, [&] { return __real_flock(file, operation); });
}
WRAPPER(int, rename, const char* from, const char* to) {
    return Pass({.call = SystemCall::Rename, .path = from, .target = to}, [&] { return __real_rename(from, to); });
}
WRAPPER(int, renameat2, int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
    return Pass({.call = SystemCall::Rename, .path = from, .target = to},
                [&] { return __real_renameat2(fromFolder, from, toFolder, to, flags); });
}
WRAPPER(int, link, const char* from, const char* to) {
    return Pass({.call = SystemCall::Rename, .path = from, .target = to}, [&] { return __real_link(from, to); });
}
WRAPPER(int, unlink, const char* path) {
    return Pass({.call = SystemCall::Unlink, .path = path}, [&] { return __real_unlink(path); });
}

}   // extern "C"

}   // namespace testing_support
