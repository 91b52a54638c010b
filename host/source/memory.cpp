#include <host/memory.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace host {
namespace {

constexpr std::align_val_t kAlignment{16};
constexpr std::uint32_t kLive = 0x4C495645;
constexpr std::uint32_t kGone = 0x474F4E45;

}   // namespace

/// Stands in front of each block.
struct alignas(16) Memory::Header {
    std::size_t request;
    std::uint32_t sizeBytes;
    std::uint32_t mark;
};

kernel::ResultCode Memory::Take(void** block, std::uint32_t sizeBytes) {
    if (block == nullptr) return kernel::kInvalidArgument;
    *block = nullptr;
    const std::size_t request = requests.fetch_add(1, std::memory_order_relaxed) + 1;
    if (MustFail(request) || std::size_t{sizeBytes} > std::numeric_limits<std::size_t>::max() - sizeof(Header)) {
        return kernel::kOutOfMemory;
    }
    void* memory = ::operator new(sizeof(Header) + sizeBytes, kAlignment, std::nothrow);
    if (memory == nullptr) return kernel::kOutOfMemory;
    Header* header = ::new (memory) Header{request, sizeBytes, kLive};
    if (track && !Remember(header)) {
        ::operator delete(memory, kAlignment);
        return kernel::kOutOfMemory;
    }
    liveBlocks.fetch_add(1, std::memory_order_relaxed);
    liveBytes.fetch_add(sizeBytes, std::memory_order_relaxed);
    *block = std::memset(header + 1, 0, sizeBytes);
    return kernel::kDone;
}

kernel::ResultCode Memory::Resize(void** block, void* old, std::uint32_t sizeBytes) {
    const kernel::ResultCode code = Take(block, sizeBytes);
    if (kernel::IsFailure(code) || old == nullptr) return code;
    const Header* header = static_cast<const Header*>(old) - 1;
    std::memcpy(*block, old, std::min(header->sizeBytes, sizeBytes));
    GiveBack(old);
    return code;
}

void Memory::GiveBack(void* block) {
    if (block == nullptr) return;
    Header* header = static_cast<Header*>(block) - 1;
    if (header->mark != kLive) {
        std::fprintf(stderr, "host: %p isn't a live block of host memory\n", block);
        std::abort();
    }
    header->mark = kGone;
    if (track) Forget(header);
    liveBlocks.fetch_sub(1, std::memory_order_relaxed);
    liveBytes.fetch_sub(header->sizeBytes, std::memory_order_relaxed);
    ::operator delete(header, kAlignment);
}

void Memory::FailAllocation(std::size_t nth, Failing failing) {
    const std::size_t first = nth == 0 ? 0 : Requests() + nth;
    failed.store(false, std::memory_order_relaxed);
    lastFailing.store(failing == Failing::Once ? first : std::numeric_limits<std::size_t>::max(),
                      std::memory_order_relaxed);
    firstFailing.store(first, std::memory_order_relaxed);
}

bool Memory::MustFail(std::size_t request) {
    const std::size_t first = firstFailing.load(std::memory_order_relaxed);
    if (first == 0 || request < first || request > lastFailing.load(std::memory_order_relaxed)) return false;
    failed.store(true, std::memory_order_relaxed);
    return true;
}

bool Memory::Remember(const Header* header) {
    try {
        const std::scoped_lock lock(trackedMutex);
        tracked.insert(header);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void Memory::Forget(const Header* header) {
    const std::scoped_lock lock(trackedMutex);
    tracked.erase(header);
}

std::vector<LeakedBlock> Memory::Leaks() const {
    std::vector<LeakedBlock> leaks;
    const std::scoped_lock lock(trackedMutex);
    for (const Header* header : tracked) leaks.push_back({header->request, header->sizeBytes});
    std::sort(leaks.begin(), leaks.end(),
              [](const LeakedBlock& left, const LeakedBlock& right) { return left.request < right.request; });
    return leaks;
}

}   // namespace host
