#include "support/x87_control_word.h"
#include "tree/value/utf8.h"
#include "tree/value/value_holder.h"

#include <component/kernel/value_types.h>
#include <host/kernel.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

namespace arbor::module {
namespace {

class ValueTest : public testing::Test {
protected:
    ~ValueTest() override { EXPECT_EQ(kernel.LiveBlocks(), 0U) << kernel.LeakReport(); }

    host::Kernel kernel{{.blocks = host::BlockTracking::Each}};
};

TEST_F(ValueTest, TheStorableTypesAreMadeEmptyAndNoOthers) {
    for (TypeCode code = 0; code < 70; ++code) {
        const bool gap = code == 0 || code == 16 || (code > 32 && code != 48 && code != 54);
        kernel.FailAllocation(1);
        EXPECT_EQ(CreateValue(kernel.Root(), code), nullptr) << code;
        EXPECT_EQ(kernel.AllocationFailed(), !gap) << code;
        kernel.FailAllocation(0);
        Value* const value = CreateValue(kernel.Root(), code);
        ASSERT_EQ(value == nullptr, gap) << code;
        if (gap) continue;
        EXPECT_EQ(value->GetType(), code);
        ReleaseValue(kernel.Root(), value);
    }
}

/// 53 bits: under any other word the C library of 32-bit Windows isn't exact.
constexpr std::uint16_t kExactWord = 0x27F;

/// Precision and rounding of x87 arithmetic belong to the thread, and a host may set them. The expected results are the
/// C library's.
TEST_F(ValueTest, RealNumbersDontDependOnTheX87ControlWord) {
    struct WordCase {
        const char* label;
        std::uint16_t word;
    };
    constexpr WordCase kWords[] = {
        {"64 bits", 0x37F},
        {"53 bits", kExactWord},
        {"64 bits, towards 0", 0xF7F},
        {"64 bits, exceptions not masked", 0x340},
    };
    const testing_support::X87ControlWord outer(kExactWord);
    std::mt19937_64 random(20261124);
    Value* const value = CreateValue(kernel.Root(), tDOUBLE);
    for (int run = 0; run < 3000; ++run) {
        const bool isFirst = run == 0;
        const std::uint64_t digits = isFirst ? 3014603491274858 : 1000000000000000 + random() % 9000000000000000;
        const int exponent = isFirst ? 12 : static_cast<int>(6 + random() % 17);
        const std::string decimal = std::to_string(digits) + "e" + std::to_string(exponent);
        const auto printed = std::bit_cast<double>((1023 + random() % 38) << 52 | random() >> 12);
        char expected[64] = {};
        std::snprintf(expected, sizeof expected, "%.6f", printed);
        const double expectedRead = std::strtod(decimal.c_str(), nullptr);
        for (const WordCase& row : kWords) {
            SCOPED_TRACE(testing::Message() << row.label << ", " << decimal << ", " << expected);
            char text[64] = {};
            double read = 0;
            {
                const testing_support::X87ControlWord word(row.word);
                EXPECT_EQ(value->FromText(decimal.c_str()), kDone);
                EXPECT_EQ(value->Get(&read, sizeof read, nullptr), kDone);
                static_cast<void>(value->Set(&printed, sizeof printed));
                EXPECT_EQ(value->ToText(text, sizeof text - 1, nullptr), kDone);
                EXPECT_EQ(testing_support::X87ControlWord::Read(), row.word);
                EXPECT_EQ(testing_support::X87ControlWord::ReadStatus() & 0x3F, 0);
            }
            EXPECT_EQ(std::bit_cast<std::uint64_t>(read), std::bit_cast<std::uint64_t>(expectedRead));
            EXPECT_STREQ(text, expected);
        }
    }
    ReleaseValue(kernel.Root(), value);
}

TEST(Utf8Test, DecodingStopsAtTheLimit) {
    char16_t units[2] = {};
    EXPECT_EQ(DecodeUtf8("a\xE2\x82\xAC", 4, units, 2), 2);
    EXPECT_EQ(units[1], u'\u20AC');
    EXPECT_EQ(DecodeUtf8("abc", 3, units, 2), -1);
}

}   // namespace
}   // namespace arbor::module
