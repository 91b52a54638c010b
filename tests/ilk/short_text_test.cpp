#include <component/ilk/rtl/compact_string.h>
#include <component/ilk/rtl/fixed_text.h>

#include <gtest/gtest.h>

namespace {

using ilk::CompactString;

TEST(CompactStringTest, HoldsTextAtAndAroundTheInlineLimit) {
    constexpr std::uint32_t kInline = CompactString::kInlineCapacity;
    EXPECT_EQ(kInline, sizeof(void*) == 4 ? 11u : 23u);
    for (const std::uint32_t length : {0u, 1u, kInline - 1, kInline, kInline + 1, 1000u}) {
        SCOPED_TRACE(length);
        const std::string text(length, '\xFF');
        CompactString string;
        ASSERT_TRUE(string.TryAppend(text));
        EXPECT_EQ(string.view(), text);
        EXPECT_EQ(string.data()[length], '\0');
        EXPECT_EQ(string.capacity() == kInline, length <= kInline);
        CompactString& source = string;
        CompactString target(std::move(string));
        EXPECT_EQ(source.append("other").view(), "other");
        const CompactString& emptied = target;
        source = std::move(target);
        EXPECT_EQ(source.view(), text);
        EXPECT_EQ(emptied.view(), "");
    }
}

TEST(CompactStringTest, GrowsByDoublingAndAppendsItself) {
    constexpr std::uint32_t kInline = CompactString::kInlineCapacity;
    CompactString string;
    string.append(std::string(kInline, 'a')).append('b');
    EXPECT_EQ(string.capacity(), 2 * kInline + 1) << "the size of the block is even and includes the terminator";
    string.append(std::string(2 * kInline + 1, 'c'));
    EXPECT_EQ(string.capacity(), 2 * (2 * kInline + 1) + 1)
        << "capacity + request; the size of the block is rounded up to an even number";
    const std::string once(string.view());
    for (const std::string& expected : {once + once, once + once + once + once}) {
        string.append(string.view());
        EXPECT_EQ(string.view(), expected);
    }
}

TEST(CompactStringTest, RefusesTextsAboveTheLargestSize) {
    CompactString string;
    string.append("abc");
    const std::string_view tooLong(string.data(), CompactString::kMaxSize - 2);
    EXPECT_FALSE(string.TryAppend(tooLong));
    EXPECT_THROW(string.append(tooLong), std::bad_alloc);
    EXPECT_EQ(string.view(), "abc");
}

TEST(FixedTextTest, AFullTextIsTerminatedByItsLastByte) {
    const std::string full(31, 'x');
    ilk::FixedText<31> text(full);
    static_assert(sizeof(text) == 32);
    EXPECT_EQ(text.view(), full);
    EXPECT_EQ(text.data()[31], '\0');
    EXPECT_THROW(text.append('y'), std::bad_alloc);
    EXPECT_THROW(ilk::FixedText<31>(full + 'y'), std::bad_alloc);
    EXPECT_EQ(text, full);
    EXPECT_EQ(ilk::FixedText<31>("key").append("s"), "keys");
}

}   // namespace
