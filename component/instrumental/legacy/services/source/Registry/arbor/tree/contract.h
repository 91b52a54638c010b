/// The module speaks the host's words: handles, codes, host memory and trace, without a prefix.
#pragma once

#include <component/kernel/host_memory.h>
#include <component/kernel/host_object.h>
#include <component/kernel/result_codes.h>
#include <component/kernel/types.h>
#include <component/kernel/value_types.h>

namespace arbor::module {

using namespace kernel;

}   // namespace arbor::module
