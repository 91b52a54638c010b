/// The header at the start of an object, and the placeholder tables that it refers to until the host installs its own.
#pragma once

#include "tree/contract.h"

namespace arbor::module {

/// A table of system calls that return constants: for an object under construction, or without a host.
[[nodiscard]] MethodTable PlaceholderSystemFace();

struct HostObjectHeader : HostObject {
    /// Sets both faces to placeholder tables and doesn't write `hostWord`.
    HostObjectHeader();

    HostWord hostWord;   // used by the host alone
};

}   // namespace arbor::module
