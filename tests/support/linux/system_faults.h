/// The system's calls under the platform's Linux half, failing where a test asks for it: the linker puts them between a
/// program that links `system_faults` and the C library. Such a program never waits for the disk: a sync only says so.
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
    Mark,        // a lock of single bytes, set or removed
    MarkQuery,   // the question for such a lock
    Turn,        // a lock of the whole file
    Rename,      // or a hard link, its substitute
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
