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

/// -1 with the error of the order, 0 where it says that it was done; else what `call` gives.
template <class Call>
int Pass(SystemCall kind, const SystemEvent& event, Call call) {
    if (const SystemFault* const fault = SystemFaults::Take(kind)) {
        if (fault->error != 0) errno = static_cast<int>(fault->error);
        return fault->error != 0 ? -1 : 0;
    }
    const int result = call();
    SystemFaults::Tell(result >= 0, event);
    return result;
}

template <class Move>
ssize_t PassBytes(SystemCall kind, std::size_t size, Move move) {
    const SystemFault* const fault = SystemFaults::Take(kind);
    if (fault == nullptr) return move(size);
    if (fault->error == 0) return move(std::min<std::size_t>(size, fault->bytes));
    errno = static_cast<int>(fault->error);
    return -1;
}

}   // namespace

extern "C" {

// The linker asks for these names.
int __real_open(const char*, int, mode_t);
int __wrap_open(const char* path, int flags, mode_t mode) {
    const SystemFault* const fault = SystemFaults::Take(SystemCall::Open);
    if (fault != nullptr) errno = static_cast<int>(fault->error);
    const int file = fault != nullptr ? -1 : __real_open(path, flags, mode);
    SystemFaults::Tell(file >= 0, {.call = SystemCall::Open, .file = file, .path = path});
    return file;
}

ssize_t __real_read(int, void*, std::size_t);
ssize_t __wrap_read(int file, void* buffer, std::size_t size) {
    return PassBytes(SystemCall::Read, size, [&](std::size_t count) { return __real_read(file, buffer, count); });
}

ssize_t __real_write(int, const void*, std::size_t);
ssize_t __wrap_write(int file, const void* buffer, std::size_t size) {
    return PassBytes(SystemCall::Write, size, [&](std::size_t count) {
        SystemFaults::Tell(true,
                           {.call = SystemCall::Write, .file = file, .bytes{static_cast<const char*>(buffer), count}});
        return __real_write(file, buffer, count);
    });
}

int __wrap_fsync(int file) {
    return Pass(SystemCall::Sync, {.call = SystemCall::Sync, .file = file}, [] { return 0; });
}

int __real_ftruncate(int, off_t);
int __wrap_ftruncate(int file, off_t size) {
    return Pass(SystemCall::Truncate, {.call = SystemCall::Truncate, .file = file},
                [&] { return __real_ftruncate(file, size); });
}

int __real_fchmod(int, mode_t);
int __wrap_fchmod(int file, mode_t mode) {
    return Pass(SystemCall::Permissions, {.call = SystemCall::Permissions}, [&] { return __real_fchmod(file, mode); });
}

int __real_fchown(int, uid_t, gid_t);
int __wrap_fchown(int file, uid_t owner, gid_t group) {
    return Pass(SystemCall::Owner, {.call = SystemCall::Owner}, [&] { return __real_fchown(file, owner, group); });
}

int __real_fsetxattr(int, const char*, const void*, std::size_t, int);
int __wrap_fsetxattr(int file, const char* name, const void* value, std::size_t size, int flags) {
    return Pass(SystemCall::AccessList, {.call = SystemCall::AccessList},
                [&] { return __real_fsetxattr(file, name, value, size, flags); });
}

int __real_fcntl(int, int, void*);
int __wrap_fcntl(int file, int command, void* argument) {
    if (command != F_OFD_SETLK && command != F_OFD_GETLK) return __real_fcntl(file, command, argument);
    const SystemCall call = command == F_OFD_SETLK ? SystemCall::Mark : SystemCall::MarkQuery;
    return Pass(call, {.call = call}, [&] { return __real_fcntl(file, command, argument); });
}

int __real_flock(int, int);
int __wrap_flock(int file, int operation) {
    return Pass(SystemCall::Turn, {.call = SystemCall::Turn}, [&] { return __real_flock(file, operation); });
}

int __real_rename(const char*, const char*);
int __wrap_rename(const char* from, const char* to) {
    return Pass(SystemCall::Rename, {.call = SystemCall::Rename, .path = from, .target = to},
                [&] { return __real_rename(from, to); });
}

int __real_renameat2(int, const char*, int, const char*, unsigned);
int __wrap_renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
    return Pass(SystemCall::Rename, {.call = SystemCall::Rename, .path = from, .target = to},
                [&] { return __real_renameat2(fromFolder, from, toFolder, to, flags); });
}

int __real_link(const char*, const char*);
int __wrap_link(const char* from, const char* to) {
    return Pass(SystemCall::Rename, {.call = SystemCall::Any}, [&] { return __real_link(from, to); });
}

int __real_unlink(const char*);
int __wrap_unlink(const char* path) {
    return Pass(SystemCall::Unlink, {.call = SystemCall::Unlink, .path = path}, [&] { return __real_unlink(path); });
}

}   // extern "C"

}   // namespace testing_support
