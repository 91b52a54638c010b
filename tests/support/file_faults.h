/// The platform's file calls, failing where a test asks for it: the linker puts them between a program that links
/// `file_faults` and the platform. Long waits take no time there and are counted.
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

inline constexpr FileFault kNoFault{.nth = kFromThereOn};

/// How many waits of the calling thread were left out since the last call: those of 200 milliseconds.
[[nodiscard]] int TakeWaits();

}   // namespace testing_support
