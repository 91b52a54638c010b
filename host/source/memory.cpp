// Counting, tracking and failing of blocks; `blocks/` allocates them.

#include <host/memory.h>

#include "blocks/blocks.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace host {

kernel::ResultCode Memory::Allocate(void** block, std::uint32_t sizeBytes) {
    if (block == nullptr) return kernel::kInvalidArgument;
    const std::uint32_t request = CountRequest();
    *block = MustFail(request) ? nullptr : AllocateZeroed(sizeBytes);
    if (*block != nullptr && TracksEachBlock() && !Track(*block, {request, sizeBytes})) {
        FreeBlock(*block);
        *block = nullptr;
    }
    if (*block != nullptr) return kernel::kDone;
    UncountBlock();
    return kernel::kOutOfMemory;
}

kernel::ResultCode Memory::Reallocate(void** block, void* old, std::uint32_t sizeBytes) {
    const kernel::ResultCode code = Allocate(block, sizeBytes);
    if (kernel::IsFailure(code) || old == nullptr) return code;
    std::memcpy(*block, old, std::min<std::size_t>(BlockBytes(old), sizeBytes));
    Free(old);
    return code;
}

void Memory::Free(void* block) {
    if (block == nullptr) return;
    if (TracksEachBlock()) Untrack(block);
    UncountBlock();
    FreeBlock(block);
}

void Memory::FailAllocation(std::size_t nth, FailureMode mode) {
    constexpr std::uint32_t kNoLimit = std::numeric_limits<std::uint32_t>::max();
    const std::uint32_t first = nth == 0 ? 0 : static_cast<std::uint32_t>(Requests() + nth);
    failed.store(false, std::memory_order_relaxed);
    lastFailing.store(mode == FailureMode::Once ? first : kNoLimit, std::memory_order_relaxed);
    firstFailing.store(first, std::memory_order_relaxed);
}

std::uint32_t Memory::CountRequest() {
    const std::uint64_t before = counts.fetch_add(kOneRequest + kOneBlock, std::memory_order_relaxed);
    return static_cast<std::uint32_t>(before / kOneRequest) + 1;
}

void Memory::UncountBlock() { counts.fetch_sub(kOneBlock, std::memory_order_relaxed); }

bool Memory::MustFail(std::uint32_t request) {
    const std::uint32_t first = firstFailing.load(std::memory_order_relaxed);
    if (first == 0 || request < first || request > lastFailing.load(std::memory_order_relaxed)) return false;
    failed.store(true, std::memory_order_relaxed);
    return true;
}

bool Memory::Track(const void* block, const LiveBlock& record) {
    try {
        const std::scoped_lock lock(trackedMutex);
        tracked.emplace(block, record);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void Memory::Untrack(const void* block) {
    const std::scoped_lock lock(trackedMutex);
    if (tracked.erase(block) != 0) return;
    std::fprintf(stderr, "host: %p isn't a live block of host memory\n", block);
    std::abort();
}

std::vector<LiveBlock> Memory::Leaks() const {
    std::vector<LiveBlock> leaks;
    const std::scoped_lock lock(trackedMutex);
    for (const auto& [block, record] : tracked) leaks.push_back(record);
    std::sort(leaks.begin(), leaks.end(),
              [](const LiveBlock& left, const LiveBlock& right) { return left.request < right.request; });
    return leaks;
}

}   // namespace host
