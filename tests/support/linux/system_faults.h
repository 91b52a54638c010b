/// Makes system calls fail where a test wants it: wrappers of the C library's functions that the Linux half of the
/// platform calls. The linker redirects the calls of a program that links `system_faults` to them. In such a program a
/// sync does nothing and succeeds, so that no test waits for the disk.
#pragma once

#include "support/call_faults.h"

#include <string_view>

namespace testing_support {

enum class SystemCall {
    Any,
    Open,
    Read,
    Write,
    Sync,
    Truncate,
    Permissions,   // the mode
    Owner,         // or the group
    AccessList,
    ByteLock,        // sets or removes a lock of a byte range
    QueryByteLock,   // asks who holds one
    FileLock,        // flock: a lock of the whole file
    Rename,          // or a hard link, its substitute
    Unlink,
};

/// Views live as long as the call.
struct SystemEvent {
    SystemCall call;
    int file = -1;               // of Open, Write, Sync and Truncate
    std::string_view path{};     // of Open, Rename and Unlink
    std::string_view target{};   // of Rename
    std::string_view bytes{};    // of Write
};

/// The error is a value of `errno`.
using SystemFault = CallFault<SystemCall>;
using SystemFaults = CallFaults<SystemCall, SystemEvent>;

}   // namespace testing_support
