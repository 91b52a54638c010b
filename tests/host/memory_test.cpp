#include <host/kernel.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include <gtest/gtest.h>

namespace {

class MemoryTest : public testing::Test {
protected:
    /// A block by the module's way; null if there is none.
    void* Take(std::uint32_t bytes) {
        void* block = nullptr;
        const kernel::ResultCode code = kernel::HostAlloc(host.Root(), &block, bytes);
        EXPECT_EQ(code, block == nullptr ? kernel::kOutOfMemory : kernel::kDone);
        return block;
    }
    void GiveBack(void* block) { kernel::HostFree(host.Root(), block); }

    host::Kernel host{{.blocks = host::BlockTracking::Each}};
};

TEST_F(MemoryTest, FailuresComeByCountAndLeaveTheOldBlock) {
    host.FailAllocation(2);
    void* first = Take(4);
    EXPECT_FALSE(host.AllocationFailed());
    void* block = first;
    EXPECT_EQ(kernel::HostRealloc(host.Root(), &block, first, 8), kernel::kOutOfMemory);
    EXPECT_EQ(block, nullptr);
    EXPECT_TRUE(host.AllocationFailed());
    GiveBack(first);
    GiveBack(Take(4));

    host.FailAllocation(2, host::FailureMode::Persistent);
    GiveBack(Take(4));
    EXPECT_EQ(Take(4), nullptr);
    EXPECT_EQ(Take(4), nullptr);
    host.FailAllocation(0);
    EXPECT_FALSE(host.AllocationFailed());
    GiveBack(Take(4));
}

TEST_F(MemoryTest, TheReportTellsEachBlockThatIsOut) {
    void* first = Take(3);
    GiveBack(Take(5));
    void* third = Take(7);
    EXPECT_EQ(host.LeakReport(),
              "2 blocks of host memory not freed, 10 bytes, after 3 requests\n"
              "  request 1: 3 bytes\n"
              "  request 3: 7 bytes\n");
    GiveBack(first);
    GiveBack(third);
}

TEST(CountedMemoryTest, BlocksAreZeroAndAlignedAndKeepTheirContents) {
    host::Memory memory(host::BlockTracking::Count);
    for (std::uint32_t size = 0; size < 300; ++size) {
        void* block = nullptr;
        ASSERT_EQ(memory.Allocate(&block, size), kernel::kDone);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0U) << size;
        const auto* const bytes = static_cast<const char*>(block);
        EXPECT_EQ(std::count(bytes, bytes + size, '\0'), static_cast<std::ptrdiff_t>(size)) << size;
        std::memset(block, 0xFF, size);   // the memory of a freed block is used again
        ASSERT_EQ(memory.Reallocate(&block, block, size + 40), kernel::kDone);
        const auto* const moved = static_cast<const char*>(block);
        EXPECT_EQ(std::count(moved, moved + size, '\xFF'), static_cast<std::ptrdiff_t>(size)) << size;
        EXPECT_EQ(std::count(moved + size, moved + size + 40, '\0'), 40) << size;
        memory.Free(block);
    }
    EXPECT_EQ(memory.LiveBlocks(), 0U);
}

}   // namespace
