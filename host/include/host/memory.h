/// The heap that the host gives to the module: zero-filled blocks aligned to 16, counted, able to fail by count. One
/// heap for all threads; every call may come from any of them.
#pragma once

#include <component/kernel/result_codes.h>

#include <atomic>
#include <mutex>
#include <unordered_set>
#include <vector>

namespace host {

/// A block that wasn't given back. `request` is its place among all requests, the first being 1.
struct LeakedBlock {
    std::size_t request;
    std::uint32_t sizeBytes;
};

/// Whether one request fails, or that one and all behind it.
enum class Failing {
    Once,
    FromThereOn,
};

class Memory {
public:
    /// With `trackBlocks` the heap remembers every block for `Leaks`, at the price of a lock.
    explicit Memory(bool trackBlocks) : track(trackBlocks) {}

    /// Blocks that are still out stay so: whoever holds one may be reading it.
    ~Memory() = default;
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;

    /// Stores a block of `sizeBytes` zeroes, or null with `kOutOfMemory`. A size of 0 gives a block too.
    kernel::ResultCode Take(void** block, std::uint32_t sizeBytes);

    /// Stores a block with the contents of `old`, as far as they fit, and zeroes behind; `old` is gone then. On a
    /// failure `old` stays and null is stored. A null `old` takes a new block.
    kernel::ResultCode Resize(void** block, void* old, std::uint32_t sizeBytes);

    /// Gives a block back; null is allowed. Anything that isn't a live block of this heap ends the process with a
    /// message.
    void GiveBack(void* block);

    /// Lets the `nth` request from now on fail, 1 being the next. 0 takes an order back. Clears `AllocationFailed`.
    void FailAllocation(std::size_t nth, Failing failing = Failing::Once);

    /// Whether a request failed by order since the last `FailAllocation`.
    [[nodiscard]] bool AllocationFailed() const { return failed.load(std::memory_order_relaxed); }

    [[nodiscard]] std::size_t LiveBlocks() const { return liveBlocks.load(std::memory_order_relaxed); }
    [[nodiscard]] std::size_t LiveBytes() const { return liveBytes.load(std::memory_order_relaxed); }

    /// Blocks asked for so far, failed requests counted.
    [[nodiscard]] std::size_t Requests() const { return requests.load(std::memory_order_relaxed); }

    /// What wasn't given back so far, in the order of the requests; empty unless blocks are tracked.
    [[nodiscard]] std::vector<LeakedBlock> Leaks() const;

private:
    struct Header;

    [[nodiscard]] bool MustFail(std::size_t request);
    [[nodiscard]] bool Remember(const Header* header);
    void Forget(const Header* header);

    const bool track;
    std::atomic<std::size_t> requests{0};
    std::atomic<std::size_t> liveBlocks{0};
    std::atomic<std::size_t> liveBytes{0};
    std::atomic<std::size_t> firstFailing{0};   // 0: none
    std::atomic<std::size_t> lastFailing{0};
    std::atomic<bool> failed{false};
    mutable std::mutex trackedMutex;
    std::unordered_set<const Header*> tracked;
};

}   // namespace host
