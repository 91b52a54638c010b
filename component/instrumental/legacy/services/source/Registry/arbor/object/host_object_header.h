/// The header that every object of this module starts with, and the placeholder tables that serve it until the host has
/// put its own in place.
#pragma once

#include "tree/contract.h"

#include <array>

namespace arbor::module {

/// Constant answers for every slot of a host's system table: what an object under construction, or one without a host,
/// gets from a system call.
using SystemTable = std::array<void*, kSystemSlots>;

[[nodiscard]] SystemTable MakePlaceholderSystemTable();

struct HostObjectHeader : HostObject {
    /// Sets both faces to placeholders and leaves the host's word alone.
    HostObjectHeader();

    HostWord hostWord;   // the host's; neither read nor written here
};

}   // namespace arbor::module
