/// Makes file functions of the platform fail where a test wants it: wrappers to which the linker redirects the calls of
/// a program that links `file_faults`. In such a program a wait of 200 milliseconds takes no time and is counted.
#pragma once

#include "call_faults.h"

#include <component/platform/files.h>

#include <string_view>

namespace testing_support {

enum class FileCall {
    Any,
    Open,
    Read,
    Write,
    Size,
    Flush,
    Attributes,
    MakeFolder,
    CurrentFolder,
    Copy,
    Move,
    Remove,
};

/// Views live as long as the call.
struct FileEvent {
    FileCall call;
    platform::Handle file = nullptr;   // of Open, Write and Flush
    std::u16string_view path{};        // of Open, Copy, Move and Remove
    std::u16string_view target{};      // of Copy and Move
    std::string_view bytes{};          // of Write
};

using FileFault = CallFault<FileCall>;
using FileFaults = CallFaults<FileCall, FileEvent>;

inline constexpr FileFault kNoFault{.nth = kAllFurtherCalls};

/// The number of waits of 200 milliseconds that the calling thread has skipped since the last call.
[[nodiscard]] int TakeWaits();

}   // namespace testing_support
