/// The methods as tables of plain functions in the host's convention: the one that every object has at its start, and
/// the one that the module registers. Both come from one list.
#pragma once

#include <component/kernel/interface.h>

#include <array>

namespace arbor::module {

using MethodAddresses = std::array<void*, kernel::kRegistryMethods>;

/// What an object's `MethodFace` points at: the 22 methods of `Registry` in the interface's order, and `Save` behind
/// them.
[[nodiscard]] const MethodAddresses& ObjectMethods();

/// What a host calls: forwarders that jump to the slot of the same number in the called object's own table, with every
/// argument in place, so that one table serves all objects. The last entry is null: `Save` is the module's own.
[[nodiscard]] MethodAddresses MakeForwarders();

}   // namespace arbor::module
