/// How the module comes to life: the host's call of the entry point, and the three tables that it is handed.
#pragma once

#include <component/kernel/host_object.h>

#include <cstdint>

/// The module's one entry point, in the form that the system's loader has for its own calls.
/// With the host's reason, `first` is its root object and `third` the address of the `ResultCode` of the registration;
/// returns 0 if that failed. With any other reason nothing happens and the answer is 1.
extern "C" int ModuleEntry(void* first, std::uint32_t reason, void* third);
