/// The module's entry point, through which a host starts the module.
#pragma once

#include <component/kernel/host_object.h>

#include <cstdint>

/// Registers the interface `Registry` if `reason` is `kHostStartReason`: `first` is then the host's root object,
/// `third` points to a `ResultCode` that gets the result, and a failure returns 0. For every other reason, such as
/// those of the system's loader, does nothing and returns 1.
extern "C" int ModuleEntry(void* first, std::uint32_t reason, void* third);
