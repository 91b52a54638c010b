// The placeholder tables of an object without a host: functions that ignore their arguments and return a constant.

#include "object/host_object_header.h"

#include <component/kernel/interface.h>

#include <array>

namespace arbor::module {

namespace {

ResultCode ReturnDone() { return kDone; }
std::uint64_t ReturnWideZero() { return 0; }
bool ReturnFalse() { return false; }
ResultCode ReturnNotInitialised() { return kNotInitialised; }

// The host's slots whose placeholder returns something other than `kNotInitialised`.
constexpr std::size_t kDoneSlots[] = {1, 2, 3, 4, 13, 14, 15, 27, 62, 63, 80};
constexpr std::size_t kWideZeroSlot = 5;
constexpr std::size_t kFalseSlot = 68;

std::array<void*, kRegistryMethods> MakePlaceholderMethods() {
    std::array<void*, kRegistryMethods> table;
    table.fill(reinterpret_cast<void*>(&ReturnNotInitialised));
    return table;
}

std::array<void*, kSystemSlots> MakePlaceholderSystemCalls() {
    std::array<void*, kSystemSlots> table;
    table.fill(reinterpret_cast<void*>(&ReturnNotInitialised));
    for (const std::size_t slot : kDoneSlots) table[slot] = reinterpret_cast<void*>(&ReturnDone);
    table[kWideZeroSlot] = reinterpret_cast<void*>(&ReturnWideZero);
    table[kFalseSlot] = reinterpret_cast<void*>(&ReturnFalse);
    return table;
}

const std::array<void*, kRegistryMethods> kPlaceholderMethods = MakePlaceholderMethods();
const std::array<void*, kSystemSlots> kPlaceholderSystemCalls = MakePlaceholderSystemCalls();

}   // namespace

MethodTable PlaceholderSystemFace() { return kPlaceholderSystemCalls.data(); }

HostObjectHeader::HostObjectHeader() : HostObject{kPlaceholderMethods.data(), PlaceholderSystemFace()} {}

}   // namespace arbor::module
