#include "support/temporary_folder.h"

#include <host/io_object.h>
#include <host/kernel.h>

#include <fstream>

#include <gtest/gtest.h>

namespace {

class FileIoTest : public testing::Test {
protected:
    FileIoTest() { std::ofstream(path, std::ios::binary) << "0123456789"; }

    std::string Read(std::uint32_t size) {
        std::string buffer(size, '?');
        std::uint32_t count = 0;
        EXPECT_EQ(kernel::IoRead(io.Get(), &count, buffer.data(), size), kernel::kDone);
        return buffer.substr(0, count);
    }
    std::uint64_t Size() {
        std::uint64_t size = 0;
        EXPECT_EQ(kernel::IoSize(io.Get(), &size), kernel::kDone);
        return size;
    }

    const testing_support::TemporaryFolder folder;
    const std::filesystem::path path = folder.Native(u"store.xml");
    host::Kernel host;
    host::FileIo io{host, path};
};

TEST_F(FileIoTest, ReadsFromTheStartAndAWriteReplacesAll) {
    EXPECT_EQ(Size(), 10U);
    EXPECT_EQ(Read(4), "0123");
    EXPECT_EQ(Read(20), "0123456789");
    EXPECT_EQ(kernel::IoWrite(io.Get(), "abc", 3), kernel::kDone);
    kernel::IoComplete(io.Get());
    EXPECT_EQ(Size(), 3U);
    EXPECT_EQ(Read(20), "abc");
    EXPECT_EQ(io.WriteCount(), 1U);
    EXPECT_EQ(io.CompleteCount(), 1U);
}

TEST_F(FileIoTest, AMissingFileIsNoDocumentUntilItIsWritten) {
    std::filesystem::remove(path);
    std::uint64_t size = 0;
    EXPECT_EQ(kernel::IoSize(io.Get(), &size), kernel::kNoDocument);
    EXPECT_EQ(kernel::IoWrite(io.Get(), "abc", 3), kernel::kDone);
    EXPECT_EQ(std::filesystem::file_size(path), 3U);
    std::filesystem::remove(path);
    EXPECT_EQ(kernel::IoWrite(host::FileIo(host, path / "below").Get(), "abc", 3), kernel::kMediaError);
}

}   // namespace
