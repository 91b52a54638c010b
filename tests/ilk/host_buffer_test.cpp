#include <component/ilk/rtl/host_buffer.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace {

/// The three memory slots of an object's system table, over the C heap. A test has one, which its functions find here.
class FakeHost {
public:
    FakeHost() {
        current = this;
        table[kernel::kHostAllocSlot] = reinterpret_cast<void*>(&Alloc);
        table[kernel::kHostReallocSlot] = reinterpret_cast<void*>(&Realloc);
        table[kernel::kHostFreeSlot] = reinterpret_cast<void*>(&Free);
    }

    int blocks = 0;
    bool failing = false;
    std::uint32_t lastBytes = 0;
    void* table[kernel::kSystemSlots] = {};
    kernel::MethodTable face = table;

private:
    static kernel::ResultCode Alloc(const kernel::MethodTable* asked, void** block, std::uint32_t bytes) {
        EXPECT_EQ(asked, &current->face);
        if (current->failing) return kernel::kOutOfMemory;
        *block = std::calloc(1, bytes);
        current->lastBytes = bytes;
        ++current->blocks;
        return kernel::kDone;
    }
    static kernel::ResultCode Realloc(const kernel::MethodTable*, void** block, void* old, std::uint32_t bytes) {
        if (current->failing) return kernel::kOutOfMemory;
        *block = std::realloc(old, bytes);
        current->lastBytes = bytes;
        return kernel::kDone;
    }
    static void Free(const kernel::MethodTable*, void* block) {
        --current->blocks;
        std::free(block);
    }

    static inline FakeHost* current = nullptr;
};

class HostBufferTest : public testing::Test {
protected:
    ~HostBufferTest() override { EXPECT_EQ(host.blocks, 0); }

    FakeHost host;
};

TEST_F(HostBufferTest, GrowsWithAndWithoutItsContents) {
    ilk::HostBuffer buffer(&host.face);
    std::memcpy(buffer.Acquire(4, true), "abcd", 4);
    EXPECT_EQ(buffer.Acquire(2, true), buffer.data());
    EXPECT_EQ(buffer.capacity(), 4u);
    ASSERT_NE(buffer.Acquire(8, true), nullptr);
    EXPECT_EQ(std::memcmp(buffer.data(), "abcd", 4), 0);
    ASSERT_NE(buffer.Acquire(16, false), nullptr);
    EXPECT_EQ(std::memcmp(buffer.data(), "\0\0\0\0", 4), 0);
    EXPECT_EQ(buffer.Acquire(ilk::HostBuffer::kSameSize, true), buffer.data());
    EXPECT_EQ(buffer.size(), 16u);
}

TEST_F(HostBufferTest, FitTakesExactlyTheSize) {
    ilk::HostBuffer buffer(&host.face);
    std::memcpy(buffer.Acquire(8, true), "abcdefgh", 8);
    buffer.Acquire(5, true);
    ASSERT_NE(buffer.Fit(ilk::HostBuffer::kSameSize - 1, true), nullptr);
    EXPECT_EQ(host.lastBytes, 5u);
    EXPECT_EQ(buffer.capacity(), 5u);
    EXPECT_EQ(std::memcmp(buffer.data(), "abcde", 5), 0);
    buffer.Fit(9, true);
    EXPECT_EQ(buffer.size(), 9u);
    EXPECT_EQ(buffer.Fit(0, true), nullptr);
    EXPECT_EQ(buffer.capacity(), 0u);
    EXPECT_EQ(buffer.Fit(ilk::HostBuffer::kSameSize, true), nullptr);
}

TEST_F(HostBufferTest, AFailedHostLeavesItEmpty) {
    for (const bool keep : {false, true}) {
        host.failing = false;
        ilk::HostBuffer buffer(&host.face);
        buffer.Acquire(4, keep);
        host.failing = true;
        EXPECT_EQ(buffer.Acquire(8, keep), nullptr);
        EXPECT_EQ(buffer.size() + buffer.capacity(), 0u);
        EXPECT_EQ(host.blocks, 0);
    }
}

}   // namespace
