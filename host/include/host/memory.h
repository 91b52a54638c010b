/// The heap that the host gives to the module: zero-filled blocks aligned to 16, which it counts and fails on demand.
/// One heap for all threads; every call may come from any of them.
#pragma once

#include <component/kernel/result_codes.h>

#include <atomic>
#include <mutex>
#include <unordered_map>
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

/// What the heap knows of its blocks.
enum class BlockWatch {
    None,    // nothing: what a host in earnest does, and what speed is measured with
    Count,   // how many were asked for and how many are out, at the price of an atomic step each way
    Each,   // every one, for `Leaks`, at the price of a lock; giving back anything else ends the process with a message
};

class Memory {
public:
    explicit Memory(BlockWatch blockWatch) : watch(blockWatch) {}

    /// Blocks that are still out stay so: whoever holds one may be reading it.
    ~Memory() = default;
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;

    /// Stores a block of `sizeBytes` zeroes, or null with `kOutOfMemory`. A size of 0 gives a block too.
    kernel::ResultCode Take(void** block, std::uint32_t sizeBytes);

    /// Stores a block with the contents of `old`, as far as they fit, and zeroes behind; `old` is gone then. On a
    /// failure `old` stays and null is stored. A null `old` takes a new block.
    kernel::ResultCode Resize(void** block, void* old, std::uint32_t sizeBytes);

    /// Gives a block back; null is allowed.
    void GiveBack(void* block);

    /// Lets the `nth` request from now on fail, 1 being the next. 0 takes an order back. Clears `AllocationFailed`.
    /// Throws `std::logic_error` on a heap that doesn't count.
    void FailAllocation(std::size_t nth, Failing failing = Failing::Once);

    /// Whether a request failed by order since the last `FailAllocation`.
    [[nodiscard]] bool AllocationFailed() const { return failed.load(std::memory_order_relaxed); }

    /// 0 on a heap that doesn't count, as `Requests` is.
    [[nodiscard]] std::size_t LiveBlocks() const { return static_cast<std::size_t>(Counts() % kOneRequest); }

    /// Blocks asked for so far, failed requests counted.
    [[nodiscard]] std::size_t Requests() const { return static_cast<std::size_t>(Counts() / kOneRequest); }

    [[nodiscard]] bool TracksBlocks() const { return watch == BlockWatch::Each; }

    /// What wasn't given back so far, in the order of the requests; empty unless blocks are tracked.
    [[nodiscard]] std::vector<LeakedBlock> Leaks() const;

private:
    /// One word counts both, so that a block costs one atomic step on its way out and one on its way back.
    static constexpr std::uint64_t kOneBlock = 1;
    static constexpr std::uint64_t kOneRequest = std::uint64_t{1} << 32;

    kernel::ResultCode TakeCounted(void** block, std::uint32_t sizeBytes);
    [[nodiscard]] std::uint64_t Counts() const { return counts.load(std::memory_order_relaxed); }
    /// Returns the request's number.
    std::uint32_t CountTaken();
    void CountGone();

    [[nodiscard]] bool MustFail(std::uint32_t request);
    [[nodiscard]] bool Remember(const void* block, const LeakedBlock& request);
    void Forget(const void* block);

    const BlockWatch watch;
    std::atomic<std::uint64_t> counts{0};
    std::atomic<std::uint32_t> firstFailing{0};   // 0: none
    std::atomic<std::uint32_t> lastFailing{0};
    std::atomic<bool> failed{false};
    mutable std::mutex trackedMutex;
    std::unordered_map<const void*, LeakedBlock> tracked;
};

}   // namespace host
