/// Makes the names of the kernel contract (handles, result codes, type codes, host memory, trace) usable in the module
/// without the prefix `kernel::`.
#pragma once

#include <component/kernel/host_memory.h>
#include <component/kernel/host_object.h>
#include <component/kernel/result_codes.h>
#include <component/kernel/types.h>
#include <component/kernel/value_types.h>

namespace arbor::module {

using namespace kernel;

}   // namespace arbor::module
