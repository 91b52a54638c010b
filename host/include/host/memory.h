/// The heap that the host offers to the module: zero-filled blocks aligned to 16. It counts its blocks,
/// and tests can make requests fail.
/// One heap serves all threads; every function may be called from any of them.
#pragma once

#include <component/kernel/result_codes.h>

#include <atomic>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace host {

/// A block that is not freed yet. `request` is the number of its request among all requests, starting at 1.
struct LiveBlock {
    std::size_t request;
    std::uint32_t sizeBytes;
};

/// How many requests fail.
enum class FailureMode {
    Once,         // one request
    Persistent,   // one request and all after it
};

/// What the heap records about its blocks. A host chooses once, for the life of the heap.
enum class BlockTracking {
    Count,   // the numbers of requests and of live blocks; costs one atomic step per request and one per release
    Each,    // every live block, for `Leaks`; costs a lock too. Freeing anything else aborts the process with a message
};

class Memory {
public:
    explicit Memory(BlockTracking blockTracking) : tracking(blockTracking) {}

    /// Does not free live blocks: their owners may still read them.
    ~Memory() = default;
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;

    /// Stores a block of `sizeBytes` zeroes, which the caller frees. A size of 0 gives a block too.
    /// On failure stores null and returns `kOutOfMemory`.
    kernel::ResultCode Allocate(void** block, std::uint32_t sizeBytes);

    /// Stores a new block with as much of the contents of `old` as fits, followed by zeroes, and frees `old`.
    /// On failure `old` is unchanged and null is stored. A null `old` makes it `Allocate`.
    kernel::ResultCode Reallocate(void** block, void* old, std::uint32_t sizeBytes);

    /// Frees a block; null is allowed.
    void Free(void* block);

    /// Makes the `nth` request from now fail; 1 is the next one. 0 cancels. Clears `AllocationFailed`.
    void FailAllocation(std::size_t nth, FailureMode mode = FailureMode::Once);

    /// Whether `FailAllocation` has made a request fail since it was last called.
    [[nodiscard]] bool AllocationFailed() const { return failed.load(std::memory_order_relaxed); }

    [[nodiscard]] std::size_t LiveBlocks() const { return static_cast<std::size_t>(Counts() % kOneRequest); }

    /// All requests so far, failed ones included.
    [[nodiscard]] std::size_t Requests() const { return static_cast<std::size_t>(Counts() / kOneRequest); }

    [[nodiscard]] bool TracksEachBlock() const { return tracking == BlockTracking::Each; }

    /// The live blocks in the order of their requests; empty unless each block is tracked.
    [[nodiscard]] std::vector<LiveBlock> Leaks() const;

private:
    /// `counts` holds the live blocks in its low 32 bits and the requests above them, so that a request and a release
    /// are one atomic step each.
    static constexpr std::uint64_t kOneBlock = 1;
    static constexpr std::uint64_t kOneRequest = std::uint64_t{1} << 32;

    [[nodiscard]] std::uint64_t Counts() const { return counts.load(std::memory_order_relaxed); }
    /// Counts a request and its block. Returns the request's number.
    std::uint32_t CountRequest();
    /// Subtracts a block that was freed or whose request failed.
    void UncountBlock();

    /// Whether `FailAllocation` selected this request; if so, sets `failed`.
    [[nodiscard]] bool MustFail(std::uint32_t request);
    /// Returns false if there is no memory for the record.
    [[nodiscard]] bool Track(const void* block, const LiveBlock& record);
    /// Aborts the process if `block` isn't tracked.
    void Untrack(const void* block);

    const BlockTracking tracking;
    std::atomic<std::uint64_t> counts{0};
    std::atomic<std::uint32_t> firstFailing{0};   // number of a request; 0: none fails
    std::atomic<std::uint32_t> lastFailing{0};
    std::atomic<bool> failed{false};
    mutable std::mutex trackedMutex;
    std::unordered_map<const void*, LiveBlock> tracked;
};

}   // namespace host
