#include "object/host_object_header.h"

#include <component/kernel/interface.h>

namespace arbor::module {

namespace {

ResultCode AnswerDone() { return kDone; }
std::uint64_t AnswerWideZero() { return 0; }
bool AnswerFalse() { return false; }
ResultCode AnswerNotInitialised() { return kNotInitialised; }

constexpr std::size_t kDoneSlots[] = {1, 2, 3, 4, 13, 14, 15, 27, 62, 63, 80};
constexpr std::size_t kWideZeroSlot = 5;
constexpr std::size_t kFalseSlot = 68;

std::array<void*, kRegistryMethods> MakePlaceholderMethods() {
    std::array<void*, kRegistryMethods> table;
    table.fill(reinterpret_cast<void*>(&AnswerNotInitialised));
    return table;
}

const std::array<void*, kRegistryMethods> kPlaceholderMethods = MakePlaceholderMethods();
const SystemTable kPlaceholderSystem = MakePlaceholderSystemTable();

}   // namespace

SystemTable MakePlaceholderSystemTable() {
    SystemTable table;
    table.fill(reinterpret_cast<void*>(&AnswerNotInitialised));
    for (const std::size_t slot : kDoneSlots) table[slot] = reinterpret_cast<void*>(&AnswerDone);
    table[kWideZeroSlot] = reinterpret_cast<void*>(&AnswerWideZero);
    table[kFalseSlot] = reinterpret_cast<void*>(&AnswerFalse);
    return table;
}

HostObjectHeader::HostObjectHeader() : HostObject{kPlaceholderMethods.data(), kPlaceholderSystem.data()} {}

}   // namespace arbor::module
