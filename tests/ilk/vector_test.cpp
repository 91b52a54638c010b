#include <component/ilk/rtl/vector.h>

#include "counting_allocator.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using ilk_test::CountingAllocator;
using ilk_test::MessageOf;

/// An element whose copy constructor throws after `copiesLeft` copies. It counts the live objects, and owns memory, so
/// that an element that isn't destroyed is a leak.
template <bool kMoves>
class ThrowingElement {
public:
    explicit ThrowingElement(int number = 0) : value(std::make_unique<int>(number)) { ++living; }
    ThrowingElement(const ThrowingElement& other) : value(std::make_unique<int>(*other.value)) {
        if (copiesLeft-- == 0) throw std::runtime_error("copy");
        ++living;
    }
    ThrowingElement(ThrowingElement&& other) noexcept requires kMoves : value(std::move(other.value)) { ++living; }
    ThrowingElement& operator=(ThrowingElement&& other) noexcept requires kMoves = default;
    ~ThrowingElement() { --living; }

    bool operator==(int number) const { return *value == number; }

    static inline int living = 0;
    static inline int copiesLeft = -1;
    std::unique_ptr<int> value;
};

struct GrowthCase {
    std::uint32_t size, extra, capacity;
};
constexpr GrowthCase kGrowth[] = {{0, 1, 4}, {10, 1, 20}, {3, 5, 8}, {1, 1, 4}, {5, 5, 10}, {5, 6, 11}};

TEST(VectorTest, CapacityFollowsTheRequest) {
    for (const GrowthCase& row : kGrowth) {
        ilk::vector_t<int> vector(row.size);
        const std::vector<int> more(row.extra, 7);
        vector.append(more.data(), row.extra);
        EXPECT_EQ(vector.capacity(), row.capacity) << row.size << " + " << row.extra;
        EXPECT_EQ(vector.size(), row.size + row.extra);
    }
}

TEST(VectorTest, ThrowsForSizesAboveTheLimit) {
    struct Page {
        std::byte bytes[4096];
    };
    constexpr std::size_t kTooMany = ilk::vector_t<Page>::kMaxSize + std::size_t{1};
    EXPECT_EQ(kTooMany, 0x100000u);
    ilk::vector_t<Page> pages(1);
    const auto text = [](auto act) { return MessageOf<std::length_error>(act); };
    EXPECT_EQ(text([&] { ilk::vector_t<Page> more(kTooMany); }), "construct");
    EXPECT_EQ(text([&] { pages.reserve(kTooMany); }), "vector::reserve");
    EXPECT_EQ(text([&] { pages.append(pages.begin(), kTooMany - 1); }), "vector::append");
    EXPECT_EQ(text([&] { pages.insert(pages.begin(), pages.begin(), kTooMany - 1); }), "vector::insert");
    EXPECT_EQ(pages.size(), 1u);
}

/// Inserts each tail of a vector at each of its positions, with and without a new block, for movable and for copyable
/// elements; each copy of an element fails once.
template <bool kMoves>
void InsertsRangesOfItselfOrNothing() {
    CountingAllocator allocator;
    for (std::uint32_t capacity : {0u, 16u}) {
        for (std::uint32_t at = 0; at <= 4; ++at) {
            for (std::uint32_t from = 0; from <= 4; ++from) {
                SCOPED_TRACE(testing::Message() << "capacity " << capacity << ", " << from << " into " << at);
                ilk::vector_t<ThrowingElement<kMoves>> vector{ilk::AllocatorRef(&allocator)};
                for (int number = 0; number < 4; ++number) vector.append(ThrowingElement<kMoves>(number));
                vector.reserve(capacity);
                std::vector<int> expected = {0, 1, 2, 3};
                int copies = 0;
                for (;; ++copies) {
                    ThrowingElement<kMoves>::copiesLeft = copies;
                    try {
                        vector.insert(vector.begin() + at, vector.begin() + from, 4 - from);
                        break;
                    } catch (const std::runtime_error&) {
                        ASSERT_TRUE(std::equal(vector.begin(), vector.end(), expected.begin(), expected.end()));
                        ASSERT_EQ(ThrowingElement<kMoves>::living, 4);
                    }
                }
                ThrowingElement<kMoves>::copiesLeft = -1;
                EXPECT_GE(copies, static_cast<int>(4 - from));
                const std::vector<int> source = expected;
                expected.insert(expected.begin() + at, source.begin() + from, source.end());
                ASSERT_TRUE(std::equal(vector.begin(), vector.end(), expected.begin(), expected.end()));
            }
        }
    }
    EXPECT_EQ(ThrowingElement<kMoves>::living, 0);
    EXPECT_EQ(allocator.blocks, 0);
    EXPECT_EQ(allocator.references, 0);
}

TEST(VectorTest, InsertsRangesOfItselfOrNothing) {
    InsertsRangesOfItselfOrNothing<true>();
    InsertsRangesOfItselfOrNothing<false>();
}

TEST(VectorTest, AFailedCopyLeavesNoElement) {
    CountingAllocator allocator;
    ilk::vector_t<ThrowingElement<true>> vector(3, &allocator);
    ThrowingElement<true>::copiesLeft = 2;
    EXPECT_THROW(ilk::vector_t<ThrowingElement<true>> copy(vector), std::runtime_error);
    ThrowingElement<true>::copiesLeft = -1;
    EXPECT_EQ(ThrowingElement<true>::living, 3);
    EXPECT_EQ(allocator.blocks, 1);
    allocator.failFromNow = true;
    EXPECT_THROW(vector.append(ThrowingElement<true>()), std::bad_alloc);
    EXPECT_EQ(vector.size(), 3u);
    vector = ilk::vector_t<ThrowingElement<true>>();
    EXPECT_EQ(ThrowingElement<true>::living, 0);
    EXPECT_EQ(allocator.blocks, 0);
}

}   // namespace
