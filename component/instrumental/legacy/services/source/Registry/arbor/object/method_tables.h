/// The methods as tables of plain functions in the host's calling convention: the table that each object points to, and
/// the table of forwarders that the module registers. Both are generated from one list.
#pragma once

#include <component/kernel/interface.h>

#include <array>

namespace arbor::module {

using MethodAddresses = std::array<void*, kernel::kRegistryMethods>;

/// The table for an object's `MethodFace`: the 22 methods of `Registry` in the interface's order, then `Save`.
[[nodiscard]] const MethodAddresses& ObjectMethods();

/// The table for registration: each forwarder jumps to the same slot of the called object's own table with its
/// arguments in place, so that one table serves all objects. The last entry is null: `Save` has no forwarder.
[[nodiscard]] MethodAddresses MakeForwarders();

}   // namespace arbor::module
