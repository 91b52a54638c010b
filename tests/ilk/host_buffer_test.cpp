#include <component/ilk/rtl/host_buffer.h>

#include <gtest/gtest.h>
#include <host/kernel.h>

#include <cstring>

namespace {

class HostBufferTest : public testing::Test {
protected:
    HostBufferTest() { kernel::HostRoot = host.Root(); }
    ~HostBufferTest() override {
        kernel::HostRoot = nullptr;
        EXPECT_EQ(host.LiveBlocks(), 0u);
    }

    host::Kernel host{{.blocks = host::BlockTracking::Each}};
};

TEST_F(HostBufferTest, GrowsWithAndWithoutItsContents) {
    ilk::HostBuffer buffer(&host.Root()->SystemFace);
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

TEST_F(HostBufferTest, FitAllocatesExactlyTheSize) {
    ilk::HostBuffer buffer;
    std::memcpy(buffer.Acquire(8, true), "abcdefgh", 8);
    buffer.Acquire(5, true);
    ASSERT_NE(buffer.Fit(ilk::HostBuffer::kSameSize - 1, true), nullptr);
    EXPECT_EQ(host.HostMemory().Leaks().front().sizeBytes, 5u);
    EXPECT_EQ(buffer.capacity(), 5u);
    EXPECT_EQ(std::memcmp(buffer.data(), "abcde", 5), 0);
    buffer.Fit(9, true);
    EXPECT_EQ(buffer.size(), 9u);
    EXPECT_EQ(buffer.Fit(0, true), nullptr);
    EXPECT_EQ(buffer.Fit(ilk::HostBuffer::kSameSize, true), nullptr);
}

TEST_F(HostBufferTest, AFailedAllocationEmptiesTheBuffer) {
    for (const bool keep : {false, true}) {
        ilk::HostBuffer buffer;
        buffer.Acquire(4, keep);
        host.FailAllocation(1);
        EXPECT_EQ(buffer.Acquire(8, keep), nullptr);
        EXPECT_EQ(buffer.size() + buffer.capacity() + host.LiveBlocks(), 0u);
    }
}

}   // namespace
