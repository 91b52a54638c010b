#include "support/x87_control_word.h"
#include "tree/value/utf8.h"
#include "tree/value/value_holder.h"

#include <component/kernel/value_types.h>
#include <host/kernel.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace arbor::module {
namespace {

template <class T>
std::string Bytes(T number) {
    return {reinterpret_cast<const char*>(&number), sizeof number};
}

class ValueTest : public testing::Test {
protected:
    struct Release {
        const HostObject* host;
        void operator()(Value* value) const { ReleaseValue(host, value); }
    };
    using Owned = std::unique_ptr<Value, Release>;

    ~ValueTest() override { EXPECT_EQ(kernel.LiveBlocks(), 0U) << kernel.LeakReport(); }

    Owned Make(TypeCode code) {
        Owned value(CreateValue(kernel.Root(), code), Release{kernel.Root()});
        EXPECT_NE(value, nullptr) << code;
        return value;
    }

    static std::string Get(const Value& value) {
        std::uint32_t size = 0;
        EXPECT_EQ(value.Get(nullptr, 0, &size), kDone);
        std::string bytes(size, '\0');
        EXPECT_EQ(value.Get(bytes.data(), size, nullptr), kDone);
        return bytes;
    }

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
    const Owned value = Make(tDOUBLE);
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
            ASSERT_EQ(Bytes(read), Bytes(expectedRead));
            ASSERT_STREQ(text, expected);
        }
    }
}

TEST_F(ValueTest, RandomRealNumbersReadAsTheCLibraryReadsThem) {
    const testing_support::X87ControlWord word(kExactWord);
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    const auto pick = [&random](const std::string& letters) { return letters[random() % letters.size()]; };
    for (int run = 0; run < 20000; ++run) {
        std::string decimal;
        for (std::size_t length = random() % 24; decimal.size() < length;) decimal += pick("0001234567899..e+-");
        if (run % 2 != 0) {
            decimal = "0x" + std::to_string(random() % 10);
            for (std::size_t length = random() % 18; decimal.size() < length;) decimal += pick("00012389aBcDeF..pP-+");
        }
        SCOPED_TRACE(decimal);
        char* stop = nullptr;
        const Owned real = Make(tDOUBLE);
        ASSERT_EQ(real->FromText(decimal.c_str()), decimal.empty() ? kInvalidArgument : kDone);
        const double expected = std::strtod(decimal.c_str(), &stop);
        ASSERT_EQ(Get(*real), Bytes(stop != decimal.c_str() ? expected : 0.0));
    }
}

struct Utf8Case {
    std::string bytes;
    std::u16string units;
};
const Utf8Case kUtf8[] = {
    {"\xC3+", u"\xEB"}, {"\xE2\x82\xAC", u"\u20AC"}, {"\xE2\x82", u"?"},
    {"a\xE2", u"a?"},   {"a\xC3", u"a\xFF"},         {"\xF0\x9F\x98\x80", u"????"},
};

TEST_F(ValueTest, DecodeUtf8StaysWithinItsBuffers) {
    for (const Utf8Case& row : kUtf8) {
        SCOPED_TRACE(row.bytes);
        const auto size = static_cast<std::uint32_t>(row.bytes.size());
        const auto count = static_cast<std::uint32_t>(row.units.size());
        const std::unique_ptr<char[]> exact(new char[size]);   // a sanitizer reports a read past the end
        std::memcpy(exact.get(), row.bytes.data(), size);
        std::vector<char16_t> units(count);
        EXPECT_EQ(DecodeUtf8(exact.get(), size, units.data(), count), static_cast<std::int32_t>(count));
        EXPECT_EQ(std::u16string(units.data(), count), row.units);
        EXPECT_EQ(DecodeUtf8(exact.get(), size, units.data(), count - 1), -1);
    }
}

}   // namespace
}   // namespace arbor::module
