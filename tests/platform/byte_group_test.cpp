#include <component/platform/byte_group.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

template <class Group>
class ByteGroupTest : public testing::Test {};

using Groups = testing::Types<platform::ByteGroup, platform::WordGroup>;
TYPED_TEST_SUITE(ByteGroupTest, Groups);

TYPED_TEST(ByteGroupTest, FindsTheFirstOfTwoBytesAtEachPosition) {
    constexpr char kNear[] = "\x3B\x3D\xBC\x00\xFF";   // differ from '<' in one bit, or are extremes
    for (const char filler : std::string(kNear, 5)) {
        EXPECT_EQ(TypeParam(std::string(16, filler).data()).Match('<', '&'), 0U);
        for (std::size_t first = 0; first < TypeParam::kSizeBytes; ++first) {
            for (std::size_t second = 0; second < TypeParam::kSizeBytes; ++second) {
                std::string text(TypeParam::kSizeBytes, filler);
                text[first] = '<';
                text[second] = '&';
                const auto match = TypeParam(text.data()).Match('<', '&');
                ASSERT_NE(match, 0U);
                EXPECT_EQ(TypeParam::First(match), std::min(first, second));
            }
        }
    }
}

}   // namespace
