#include <host/memory.h>

#include "blocks/blocks.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>

namespace host {

kernel::ResultCode Memory::Take(void** block, std::uint32_t sizeBytes) {
    if (block == nullptr) return kernel::kInvalidArgument;
    if (watch != BlockWatch::None) return TakeCounted(block, sizeBytes);
    *block = TakeZeroed(sizeBytes);
    return *block != nullptr ? kernel::kDone : kernel::kOutOfMemory;
}

kernel::ResultCode Memory::TakeCounted(void** block, std::uint32_t sizeBytes) {
    const std::uint32_t request = CountTaken();
    *block = MustFail(request) ? nullptr : TakeZeroed(sizeBytes);
    if (*block != nullptr && TracksBlocks() && !Remember(*block, {request, sizeBytes})) {
        FreeBlock(*block);
        *block = nullptr;
    }
    if (*block != nullptr) return kernel::kDone;
    CountGone();
    return kernel::kOutOfMemory;
}

kernel::ResultCode Memory::Resize(void** block, void* old, std::uint32_t sizeBytes) {
    const kernel::ResultCode code = Take(block, sizeBytes);
    if (kernel::IsFailure(code) || old == nullptr) return code;
    std::memcpy(*block, old, std::min<std::size_t>(BlockBytes(old), sizeBytes));
    GiveBack(old);
    return code;
}

void Memory::GiveBack(void* block) {
    if (block == nullptr) return;
    if (TracksBlocks()) Forget(block);
    if (watch != BlockWatch::None) CountGone();
    FreeBlock(block);
}

void Memory::FailAllocation(std::size_t nth, Failing failing) {
    if (watch == BlockWatch::None) throw std::logic_error("blocks that aren't counted can't fail by count");
    constexpr std::uint32_t kEver = std::numeric_limits<std::uint32_t>::max();
    const std::uint32_t first = nth == 0 ? 0 : static_cast<std::uint32_t>(Requests() + nth);
    failed.store(false, std::memory_order_relaxed);
    lastFailing.store(failing == Failing::Once ? first : kEver, std::memory_order_relaxed);
    firstFailing.store(first, std::memory_order_relaxed);
}

std::uint32_t Memory::CountTaken() {
    const std::uint64_t before = counts.fetch_add(kOneRequest + kOneBlock, std::memory_order_relaxed);
    return static_cast<std::uint32_t>(before / kOneRequest) + 1;
}

void Memory::CountGone() { counts.fetch_sub(kOneBlock, std::memory_order_relaxed); }

bool Memory::MustFail(std::uint32_t request) {
    const std::uint32_t first = firstFailing.load(std::memory_order_relaxed);
    if (first == 0 || request < first || request > lastFailing.load(std::memory_order_relaxed)) return false;
    failed.store(true, std::memory_order_relaxed);
    return true;
}

bool Memory::Remember(const void* block, const LeakedBlock& request) {
    try {
        const std::scoped_lock lock(trackedMutex);
        tracked.emplace(block, request);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void Memory::Forget(const void* block) {
    const std::scoped_lock lock(trackedMutex);
    if (tracked.erase(block) != 0) return;
    std::fprintf(stderr, "host: %p isn't a live block of host memory\n", block);
    std::abort();
}

std::vector<LeakedBlock> Memory::Leaks() const {
    std::vector<LeakedBlock> leaks;
    const std::scoped_lock lock(trackedMutex);
    for (const auto& [block, request] : tracked) leaks.push_back(request);
    std::sort(leaks.begin(), leaks.end(),
              [](const LeakedBlock& left, const LeakedBlock& right) { return left.request < right.request; });
    return leaks;
}

}   // namespace host
