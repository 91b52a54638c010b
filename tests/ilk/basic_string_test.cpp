#include <component/ilk/rtl/basic_string.h>

#include "counting_allocator.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using ilk_test::CountingAllocator;
using ilk_test::MessageOf;
using Narrow = ilk::basic_string_t<char>;
using Wide = ilk::basic_string_t<char16_t>;
using Text32 = ilk::basic_string_t<char32_t>;

TEST(BasicStringTest, ShortTextIsStoredInline) {
    CountingAllocator allocator;
    const Wide seven(u"seven.7", &allocator);
    EXPECT_EQ(allocator.blocks, 0);
    const Wide eight(u"eight..8", &allocator);
    EXPECT_GE(allocator.lastSizeBytes, 9 * sizeof(char16_t));
    EXPECT_EQ(Narrow().capacity(), 15u);
    EXPECT_EQ(Text32().capacity(), 3u);
}

struct GrowthCase {
    std::size_t start, extra;
    std::uint32_t capacity;
};
constexpr GrowthCase kGrowth[] = {{7, 1, 14}, {7, 7, 14}, {7, 8, 15}, {0, 20, 20}, {20, 1, 40}, {20, 0, 20}};

TEST(BasicStringTest, CapacityIsDoubledUnlessMoreIsNeeded) {
    for (const GrowthCase& row : kGrowth) {
        Wide text(std::u16string(row.start, u'x'));
        text.append(std::u16string(row.extra, u'y'));
        EXPECT_EQ(text.capacity(), row.capacity) << row.start << " + " << row.extra;
        EXPECT_EQ(text, std::u16string(row.start, u'x') + std::u16string(row.extra, u'y'));
    }
}

/// Inserts each tail of a text at each of its positions, with and without a new block, and compares with `std::string`.
TEST(BasicStringTest, InsertsAndAppendsPartsOfItself) {
    for (const std::u16string start : {u"abcdef", u"abcdefghijkl"}) {
        for (std::size_t spare : {0u, 40u}) {
            for (std::size_t at = 0; at <= start.size(); ++at) {
                for (std::size_t from = 0; from <= start.size(); ++from) {
                    Wide text(start);
                    text.reserve_extra(nullptr, spare);
                    text.insert(at, text.view().substr(from));
                    std::u16string expected = start;
                    expected.insert(at, start.substr(from));
                    ASSERT_EQ(text, expected) << "spare " << spare << ", " << from << " into " << at;
                }
            }
        }
    }
    Narrow doubled("0123456789abcdef");
    for (int times = 0; times < 3; ++times) doubled.append(doubled);
    EXPECT_EQ(doubled.size(), 128u);
    EXPECT_EQ(doubled.substr(112), "0123456789abcdef");
}

/// A length above the limit throws before any character is read.
template <class String>
void ThrowsForLengthsAboveTheLimit(std::uint32_t maxSize) {
    EXPECT_EQ(String::kMaxSize, maxSize);
    const std::size_t tooLong = std::size_t{maxSize} + 1;
    const typename String::value_type one[1] = {};
    EXPECT_EQ(MessageOf<std::length_error>([&] { String(one, tooLong); }), "ilk::basic_string_t constructor");
    String text(one, 1);
    EXPECT_EQ(MessageOf<std::length_error>([&] { text.append(one, maxSize); }), "ilk::basic_string_t::reserve_extra()");
    EXPECT_EQ(MessageOf<std::length_error>([&] { text.resize(tooLong); }), "ilk::basic_string_t::reserve_extra()");
    EXPECT_EQ(MessageOf<std::length_error>([&] { text.resize_extra_at(nullptr, maxSize, 0, 1); }),
              "ilk::basic_string_t::resize_extra_at");
    EXPECT_EQ(text.size(), 1u);
    CountingAllocator full;
    full.failFromNow = true;
    String atLimit(one, 1, &full);
    EXPECT_THROW(atLimit.append(one, maxSize - 1), std::bad_alloc) << "not refused, but too large for this allocator";
}

TEST(BasicStringTest, ThrowsForLengthsAboveTheLimit) {
    ThrowsForLengthsAboveTheLimit<Narrow>(0xFFFFFFFE);
    ThrowsForLengthsAboveTheLimit<Wide>(0x7FFFFFFE);
    ThrowsForLengthsAboveTheLimit<Text32>(0x3FFFFFFE);
}

TEST(BasicStringTest, PositionsAfterTheEndThrowAndCountsAreReduced) {
    const Wide source(u"source");
    Wide text(u"-");
    text.append(source, 6, 5).append(source, 4, 100);
    EXPECT_EQ(text, u"-ce");
    EXPECT_EQ(MessageOf<std::out_of_range>([&] { text.append(source, 7, 0); }), "ilk::basic_string_t::append()");
    EXPECT_THROW(static_cast<void>(source.substr(7, 1)), std::out_of_range);
    EXPECT_EQ(source.substr(1, 2), u"ou");
    EXPECT_EQ(source.find(u'o', 1), 1u);
    EXPECT_EQ(source.find(u'o', 2), Wide::npos);
    EXPECT_EQ(source.find(u's', 7), Wide::npos);
}

TEST(BasicStringTest, AFailureLeavesTheTextUnchanged) {
    CountingAllocator allocator;
    {
        Wide text(u"something on the heap", &allocator);
        allocator.failFromNow = true;
        EXPECT_THROW(text.append(text), std::bad_alloc);
        EXPECT_THROW(text.insert(3, text), std::bad_alloc);
        EXPECT_THROW(text.resize(1000), std::bad_alloc);
        EXPECT_THROW(Wide copy(text), std::bad_alloc);   // a copy has the allocator of its source
        Wide other(u"other");
        EXPECT_THROW(other = text, std::bad_alloc);
        EXPECT_EQ(other, u"other");
        EXPECT_EQ(text, u"something on the heap");
        EXPECT_EQ(allocator.blocks, 1);
    }
    EXPECT_EQ(allocator.blocks, 0);
    EXPECT_EQ(allocator.references, 0);
}

TEST(BasicStringTest, CopiesMovesAndSwapsInlineAndLongText) {
    const std::string values[] = {"", "inline", "a text that is too long for the inline buffer"};
    for (const std::string& first : values) {
        for (const std::string& second : values) {
            CountingAllocator allocator;
            Narrow a(first, &allocator), b(second);
            a.swap(b);
            EXPECT_TRUE(a == second && b == first) << first << "/" << second;
            a = b;
            Narrow moved(std::move(b));
            b = Narrow(second);
            a = std::move(b);
            EXPECT_TRUE(a == second && moved == first) << first << "/" << second;
            Narrow& self = a;
            a = self;
            a = std::move(self);
            a.append('!').erase(0, 1);
            EXPECT_EQ(a, (second + '!').substr(1));
        }
    }
}

TEST(BasicStringTest, ComparesByCodeUnit) {
    EXPECT_LT(ilk::Compare("ab", "abc"), 0);
    EXPECT_GT(ilk::Compare("\x80", "\x7F"), 0);
    EXPECT_LT(ilk::Compare(u"\xD800", u"\xE000"), 0);
}

}   // namespace
