#include "support/x87_control_word.h"
#include "tree/value/utf8.h"
#include "tree/value/value_holder.h"

#include <component/kernel/value_types.h>
#include <host/kernel.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace arbor::module {
namespace {

/// Text with its 0 bytes, and 16-bit text as the bytes that callers exchange.
std::string Bytes(const char16_t* text, std::size_t length) {
    return {reinterpret_cast<const char*>(text), length * 2};
}
template <std::size_t N>
std::string Bytes(const char (&text)[N]) {
    return {text, N - 1};
}
template <std::size_t N>
std::string Bytes(const char16_t (&text)[N]) {
    return Bytes(text, N - 1);
}
template <class T>
requires std::is_arithmetic_v<T> std::string Bytes(T number) {
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

    static ResultCode Set(Value& value, const std::string& bytes) {
        return value.Set(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    }

    /// What `read` delivers, through every case of the buffer contract on the way. `spare` bytes are asked for and not
    /// written.
    template <class Read>
    static std::string Take(Read read, std::uint32_t spare = 0) {
        std::uint32_t need = 12345;
        EXPECT_EQ(read(nullptr, 0, &need), kDone);
        std::uint32_t again = 0;
        EXPECT_EQ(read(nullptr, need + 1, &again), kInvalidArgument);
        EXPECT_EQ(again, need);
        std::string buffer(need + 1, '~');
        if (need != 0) {
            again = 0;
            EXPECT_EQ(read(buffer.data(), need - 1, &again), kBufferTooSmall);
            EXPECT_EQ(again, need);
            EXPECT_EQ(buffer, std::string(need + 1, '~'));
        }
        EXPECT_EQ(read(buffer.data(), need, nullptr), kDone);
        EXPECT_EQ(buffer.substr(need - spare), std::string(spare + 1, '~')) << "written beyond the need";
        return buffer.substr(0, need - spare);
    }
    static std::string Get(const Value& value) {
        return Take([&](void* dst, std::uint32_t cap, std::uint32_t* size) { return value.Get(dst, cap, size); });
    }
    static std::string Text(const Value& value) {
        const bool block = value.GetType() == tBINARY || value.GetType() == tPTR;
        return Take([&](void* dst, std::uint32_t cap, std::uint32_t* size) { return value.ToText(dst, cap, size); },
                    block ? 1 : 0);
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

struct TextCase {
    TypeCode type;
    const char* in;
    std::string bytes;   // the datum
    std::string out;     // the text that it has then
};
/// Instead of a datum: the text is an invalid argument, and the old datum stays.
const std::string kRefused = "(refused)";

const TextCase kTexts[] = {
    {tDWORD, "", Bytes(0U), "0"},
    {tDWORD, " \t\n\v\f\r12", Bytes(12U), "12"},
    {tDWORD, "12 ", kRefused, ""},
    {tDWORD, "0x10", Bytes(16U), "16"},
    {tDWORD, "-FF", Bytes(0xFFFFFF01U), "4294967041"},
    {tDWORD, "-1", Bytes(0xFFFFFFFFU), "4294967295"},
    {tDWORD, "4294967290", Bytes(0xFFFFFFFAU), "4294967290"},
    {tDWORD, "4294967296", Bytes(0xFFFFFFFFU), "4294967295"},
    {tDWORD, "42949672950", Bytes(0xFFFFFFFFU), "4294967295"},
    {tDWORD, "0x0", Bytes(0U), "0"},
    {tDWORD, "FFFFFFFE", Bytes(0xFFFFFFFEU), "4294967294"},
    {tDWORD, "FFFFFFFF", kRefused, ""},
    {tDWORD, "-0x1", kRefused, ""},
    {tINT, "2147483648", Bytes(0x7FFFFFFF), "2147483647"},
    {tINT, "-2147483647", Bytes(-0x7FFFFFFF), "-2147483647"},
    {tINT, "-2147483649", Bytes(std::numeric_limits<std::int32_t>::min()), "-2147483648"},
    {tINT, "7FFFFFFF", kRefused, ""},
    {tINT, "-0x80000000", kRefused, ""},
    {tBYTE, "255", Bytes("\xFF"), "255"},
    {tBYTE, "256", kRefused, ""},
    {tBYTE, "-1", kRefused, ""},
    {tSBYTE, "127", Bytes("\x7F"), "127"},
    {tSBYTE, "128", kRefused, ""},
    {tSBYTE, "-200", Bytes("\x38"), "56"},
    {tSHORT, "-70000", Bytes(static_cast<std::int16_t>(-4464)), "-4464"},
    {tBOOL, "true", Bytes(1U), Bytes("1\0")},
    {tBOOL, "true x", Bytes(1U), Bytes("1\0")},
    {tBOOL, "\rfalse\t", Bytes(0U), Bytes("0\0")},
    {tBOOL, "TRUE", kRefused, ""},
    {tBOOL, "/", kRefused, ""},
    {tBOOL, ":", kRefused, ""},
    {tBOOL, "0", Bytes(0U), Bytes("0\0")},
    {tBOOL, "9", Bytes(9U), Bytes("1\0")},
    {tBOOL, " 1", kRefused, ""},
    {tBOOL, "2", Bytes(2U), Bytes("1\0")},
    {tBOOL, "0x10", Bytes(16U), Bytes("1\0")},
    {tBOOL, "010", Bytes(8U), Bytes("1\0")},
    {tBOOL, "5000000000", Bytes(0xFFFFFFFFU), Bytes("1\0")},
    {tDOUBLE, "-1.5abc", Bytes(-1.5), "-1.500000"},
    {tDOUBLE, "-0x.8", Bytes(-0.5), "-0.500000"},
    {tDOUBLE, "+0XF", Bytes(15.0), "15.000000"},
    {tDOUBLE, "0x1p+-1", Bytes(1.0), "1.000000"},
    {tDOUBLE, "1.5i", Bytes(1.5), "1.500000"},
    {tDOUBLE, "infx", Bytes(HUGE_VAL), "inf"},
    {tDOUBLE, "1e999", Bytes(HUGE_VAL), "inf"},
    {tDOUBLE, "-0.00001e400", Bytes(-HUGE_VAL), "-inf"},
    {tDOUBLE, "-1000e-400", Bytes(-0.0), "-0.000000"},
    {tDOUBLE, "0x1000p-2000", Bytes(0.0), "0.000000"},
    {tDOUBLE, "4.9e-324", Bytes(std::numeric_limits<double>::denorm_min()), "0.000000"},
    {tDOUBLE, "INFINITYx", Bytes(HUGE_VAL), "inf"},
    {tDOUBLE, "", kRefused, ""},
    {tCHAR, "xyz", Bytes("x"), "x"},
    {tBINARY, "0aFf", Bytes("\x0A\xFF"), "0AFF"},
    {tBINARY, "0AF", kRefused, ""},
    {tBINARY, "0G", kRefused, ""},
    {tWSTRING, "4100Ac20", Bytes(u"A\u20AC\0"), Bytes("A\xE2\x82\xAC\0")},
    {tWSTRING, "7F008000FF070008", Bytes(u"\x7F\x80\x7FF\x800\0"), Bytes("\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\0")},
    {tWSTRING, "41", Bytes(u"A\0"), Bytes("A\0")},
    {tWSTRING, "410042", Bytes(u"AB\0"), Bytes("AB\0")},
    {tWSTRING, "414", "", ""},
    {tDOUBLE, "abc", Bytes(1.0), "1.000000"},
    {tDOUBLE, "+-2", Bytes(1.0), "1.000000"},
    {tDOUBLE, "0xg", Bytes(1.0), "1.000000"},
    {tDOUBLE, "0xinf", Bytes(1.0), "1.000000"},
    {tDOUBLE, "infi", Bytes(1.0), "1.000000"},
};

TEST_F(ValueTest, TextsAreReadAndPrintedByTheRulesOfTheirType) {
    for (const TextCase& row : kTexts) {
        SCOPED_TRACE(testing::Message() << "type " << row.type << " '" << row.in << "'");
        const Owned value = Make(row.type);
        static_cast<void>(value->FromText("1"));   // a block stays empty
        const std::string before = Get(*value);
        const bool refused = row.bytes == kRefused;
        EXPECT_EQ(value->FromText(row.in), refused ? kInvalidArgument : kDone);
        EXPECT_EQ(Get(*value), refused ? before : row.bytes);
        if (!refused) {
            EXPECT_EQ(Text(*value), row.out);
        }
    }
}

/// A number of 256 bits, for products that no built-in type holds.
class Wide {
public:
    explicit Wide(std::uint64_t number) {
        limbs[6] = static_cast<std::uint32_t>(number >> 32);
        limbs[7] = static_cast<std::uint32_t>(number);
    }

    [[nodiscard]] Wide TimesPower(std::uint32_t base, int exponent) const {
        Wide product = *this;
        for (; exponent > 0; --exponent) {
            std::uint64_t carry = 0;
            for (auto limb = product.limbs.rbegin(); limb != product.limbs.rend(); ++limb) {
                carry += std::uint64_t{*limb} * base;
                *limb = static_cast<std::uint32_t>(carry);
                carry >>= 32;
            }
            EXPECT_EQ(carry, 0U);
        }
        return product;
    }

    bool operator<(const Wide& other) const { return std::ranges::lexicographical_compare(limbs, other.limbs); }

private:
    std::array<std::uint32_t, 8> limbs{};   // the most significant first
};

/// Whether `number`, counted in units of 2^`unit` and rounded to nearest, halfway to even, is `count`, which isn't 0.
bool IsNearest(const Wide& number, std::uint64_t count, int unit) {
    const Wide low = Wide(2 * count - 1).TimesPower(2, unit);
    const Wide high = Wide(2 * count + 1).TimesPower(2, unit);
    const Wide twice = number.TimesPower(2, 1);
    return count % 2 == 0 ? !(twice < low) && !(high < twice) : low < twice && twice < high;
}

/// The significand of a normal positive double and the exponent of its unit.
struct Parts {
    explicit Parts(std::uint64_t bits)
        : significand((bits & ((std::uint64_t{1} << 52) - 1)) | std::uint64_t{1} << 52),
          unit(static_cast<int>(bits >> 52) - 1075) {}

    std::uint64_t significand;
    int unit;
};

/// Precision and rounding of x87 arithmetic belong to the thread, and a host may set them.
TEST_F(ValueTest, RealNumbersDontDependOnTheX87ControlWord) {
    struct WordCase {
        const char* label;
        std::uint16_t word;
    };
    constexpr WordCase kWords[] = {
        {"64 bits", 0x37F},
        {"53 bits", 0x27F},
        {"64 bits, towards 0", 0xF7F},
        {"64 bits, exceptions not masked", 0x340},
    };
    std::mt19937_64 random(20261124);
    const Owned value = Make(tDOUBLE);
    for (int run = 0; run < 3000; ++run) {
        const bool isFirst = run == 0;
        const std::uint64_t digits = isFirst ? 3014603491274858 : 1000000000000000 + random() % 9000000000000000;
        const int exponent = isFirst ? 12 : static_cast<int>(6 + random() % 17);
        const std::string decimal = std::to_string(digits) + "e" + std::to_string(exponent);
        // From 1 up to 2^38, so that 10^-6 is a count of units that fits.
        const std::uint64_t bits = (1023 + random() % 38) << 52 | random() >> 12;
        for (const WordCase& row : kWords) {
            SCOPED_TRACE(testing::Message() << row.label << ", " << decimal << ", bits " << bits);
            char text[64] = {};
            std::uint64_t readBits = 0;
            {
                const testing_support::X87ControlWord word(row.word);
                EXPECT_EQ(value->FromText(decimal.c_str()), kDone);
                EXPECT_EQ(value->Get(&readBits, sizeof readBits, nullptr), kDone);
                static_cast<void>(value->Set(&bits, sizeof bits));
                EXPECT_EQ(value->ToText(text, sizeof text - 1, nullptr), kDone);
                EXPECT_EQ(testing_support::X87ControlWord::Read(), row.word);
                EXPECT_EQ(testing_support::X87ControlWord::ReadStatus() & 0x3F, 0);
            }
            const Parts read(readBits), printed(bits);
            ASSERT_TRUE(IsNearest(Wide(digits).TimesPower(10, exponent), read.significand, read.unit)) << readBits;
            std::string millionths = text;
            ASSERT_EQ(millionths.size() - millionths.find('.'), 7U);
            std::erase(millionths, '.');
            ASSERT_TRUE(IsNearest(Wide(printed.significand).TimesPower(10, 6), std::stoull(millionths), -printed.unit))
                << text;
        }
    }
}

/// The expected result is the C library's.
TEST_F(ValueTest, RandomTextsReadAsTheCLibraryReadsThem) {
    const testing_support::X87ControlWord word(0x27F);   // the library of 32-bit Windows is exact with 53 bits alone
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    const auto pick = [&random](const std::string& letters) { return letters[random() % letters.size()]; };
    using Limits = std::numeric_limits<std::int64_t>;
    const Owned integer = Make(tLONGLONG);
    for (int run = 0; run < 20000; ++run) {
        std::string number, decimal;
        for (std::size_t length = random() % 22; number.size() < length;) number += pick("00123456789999ABCDEFfx+- ");
        for (std::size_t length = random() % 24; decimal.size() < length;) decimal += pick("0001234567899..e+-");
        if (run % 2 != 0) {
            decimal = "0x" + std::to_string(random() % 10);
            for (std::size_t length = random() % 18; decimal.size() < length;) decimal += pick("00012389aBcDeF..pP-+");
        }
        SCOPED_TRACE(number + "|" + decimal);
        char* stop = nullptr;
        std::int64_t wanted = std::strtoll(number.c_str(), &stop, 10);
        const bool isDecimal = *stop == '\0';
        if (!isDecimal) wanted = std::strtoll(number.c_str(), &stop, 16);
        const bool isLimit = wanted == Limits::max() || wanted == Limits::min();
        const bool refused = *stop != '\0' || (isLimit && !isDecimal);
        ASSERT_EQ(integer->FromText(number.c_str()), refused ? kInvalidArgument : kDone);
        ASSERT_TRUE(refused || Get(*integer) == Bytes(wanted));

        const Owned real = Make(tDOUBLE);
        ASSERT_EQ(real->FromText(decimal.c_str()), decimal.empty() ? kInvalidArgument : kDone);
        const double expected = std::strtod(decimal.c_str(), &stop);
        ASSERT_EQ(Get(*real), Bytes(stop != decimal.c_str() ? expected : 0.0));
    }
}

/// Where neither end of the range can be told by the exponent alone.
TEST_F(ValueTest, BeyondTheRangeThePlaceOfTheFirstDigitCounts) {
    const std::string zeros(400, '0');
    for (const std::string& text : {"0." + zeros + "1e10", "1" + zeros, "1" + zeros + "e-10", "1" + zeros + "e-750",
                                    zeros + "1e-400", "1." + zeros + "e-400", "0x." + zeros + "1p1000"}) {
        const Owned value = Make(tDOUBLE);
        EXPECT_EQ(value->FromText(text.c_str()), kDone);
        EXPECT_EQ(Get(*value), Bytes(std::strtod(text.c_str(), nullptr))) << text;
    }
}

TEST_F(ValueTest, ANumberWhoseTextIsTooLongForTheScratchIsRefusedWithinBounds) {
    const Owned value = Make(tDOUBLE);
    for (const auto& [number, length] : {std::pair{9e247, 255U}, {-9e246, 255U}, {9e248, 0U}, {-1.7e308, 0U}}) {
        ASSERT_EQ(Set(*value, Bytes(number)), kDone);
        char text[512];
        std::uint32_t size = 1;
        EXPECT_EQ(value->ToText(text, sizeof text, &size), length != 0 ? kDone : kBufferTooSmall) << number;
        EXPECT_EQ(size, length) << number;
    }
}

struct SetCase {
    const char* label;
    TypeCode type;
    std::string first, second;
    ResultCode code;     // of the second
    std::string bytes;   // read back after it
};
const std::string kNaN = Bytes(std::numeric_limits<double>::quiet_NaN());
const SetCase kSets[] = {
    {"bytes beyond the width don't count", tDWORD, Bytes(7U), Bytes(std::uint64_t{7}), ResultUnchanged, Bytes(7U)},
    {"a truth value has four bytes", tBOOL, Bytes(1U), "0", kInvalidArgument, Bytes(1U)},
    {"a NaN equals itself", tDOUBLE, kNaN, kNaN, ResultUnchanged, kNaN},
    {"a terminator changes no text", tSTRING, "abc", Bytes("abc\0"), ResultUnchanged, Bytes("abc\0")},
    {"a text ends at its first 0 byte", tSTRING, "x", Bytes("ab\0cd"), kDone, Bytes("ab\0")},
    {"the case of letters counts", tSTRING, "abc", "Abc", kDone, Bytes("Abc\0")},
    {"a terminator changes no wide text", tWSTRING, Bytes(u"ab"), Bytes(u"ab\0"), ResultUnchanged, Bytes(u"ab\0")},
    {"a wide text ends at its first 0 unit", tWSTRING, "x", Bytes(u"a\0b"), kDone, Bytes(u"a\0")},
    {"wide texts of one length", tWSTRING, Bytes(u"ab"), Bytes(u"ac"), kDone, Bytes(u"ac\0")},
    {"a wide text that goes on", tWSTRING, Bytes(u"ab"), Bytes(u"abc"), kDone, Bytes(u"abc\0")},
    {"an odd byte is a unit's lower half", tWSTRING, "", Bytes("a\0b"), kDone, Bytes(u"ab\0")},
    {"a block that is the same", tBINARY, "ab", "ab", ResultUnchanged, "ab"},
    {"blocks of one size", tBINARY, "ab", "ac", kDone, "ac"},
    {"a block that goes on", tBINARY, "ab", "abc", kDone, "abc"},
    {"a block that ends earlier", tBINARY, "ab", "a", kDone, "a"},
    {"empty blocks are no news, yet a change", tBINARY, "", "", kDone, ""},
};

TEST_F(ValueTest, SetTellsAChangeFromNoneAndRefusesWhatIsTooShort) {
    for (const SetCase& row : kSets) {
        SCOPED_TRACE(row.label);
        const Owned value = Make(row.type);
        ASSERT_EQ(Set(*value, row.first), kDone);
        EXPECT_EQ(Set(*value, row.second), row.code);
        EXPECT_EQ(Get(*value), row.bytes);
        const bool block = row.type == tBINARY || row.type == tPTR;
        EXPECT_EQ(value->Set(nullptr, 0), block ? kDone : kInvalidArgument);
        EXPECT_EQ(value->Set(nullptr, 8), kInvalidArgument);
    }
    EXPECT_EQ(Make(tSTRING)->FromText(nullptr), kInvalidArgument);
    EXPECT_EQ(Make(tDWORD)->FromText(nullptr), kInvalidArgument);
}

TEST_F(ValueTest, WhatNeedsNoBytesTakesAnyBuffer) {
    const Owned nothing = Make(tVOID), function = Make(tFUNC_PTR);
    EXPECT_EQ(nothing->Set(nullptr, 9), ResultUnchanged);
    EXPECT_EQ(function->FromText("1"), kDone);
    EXPECT_EQ(Get(*function), Bytes(0U));
    std::uint32_t sizes[] = {7, 7, 7};
    EXPECT_EQ(nothing->Get(nullptr, 1, &sizes[0]), kDone);
    EXPECT_EQ(nothing->ToText(nullptr, 1, &sizes[1]), kDone);
    EXPECT_EQ(function->ToText(nullptr, 1, &sizes[2]), kDone);
    for (const std::uint32_t size : sizes) EXPECT_EQ(size, 0U);
    EXPECT_EQ(nothing->Get(nullptr, 0, nullptr), kDone);
}

struct Utf8Case {
    std::string bytes;
    std::u16string units;
};
const Utf8Case kUtf8[] = {
    {"\xC3+", u"\xEB"}, {"\xE2\x82\xAC", u"\u20AC"}, {"\xE2\x82", u"?"},
    {"a\xE2", u"a?"},   {"a\xC3", u"a\xFF"},         {"\xF0\x9F\x98\x80", u"????"},
};

TEST_F(ValueTest, Utf8IsDecodedLenientlyAndEncodedUnitByUnit) {
    for (const Utf8Case& row : kUtf8) {
        SCOPED_TRACE(row.bytes);
        const auto size = static_cast<std::uint32_t>(row.bytes.size());
        const auto count = static_cast<std::uint32_t>(row.units.size());
        const std::unique_ptr<char[]> exact(new char[size]);   // one byte too far is a report
        std::memcpy(exact.get(), row.bytes.data(), size);
        std::vector<char16_t> units(count);
        EXPECT_EQ(DecodeUtf8(exact.get(), size, units.data(), count), static_cast<std::int32_t>(count));
        EXPECT_EQ(std::u16string(units.data(), count), row.units);
        EXPECT_EQ(DecodeUtf8(exact.get(), size, units.data(), count - 1), -1);

        const Owned value = Make(tWSTRING);
        EXPECT_EQ(static_cast<WideStringHolder*>(value.get())->SetFromUtf8(row.bytes.c_str()), kDone);
        EXPECT_EQ(Get(*value), Bytes(row.units.c_str(), count + 1));
    }
    const Owned pair = Make(tWSTRING);
    ASSERT_EQ(Set(*pair, Bytes(u"\x7FF\xD83D\xDE00")), kDone);
    EXPECT_EQ(Text(*pair), Bytes("\xDF\xBF\xED\xA0\xBD\xED\xB8\x80\0"));
}

}   // namespace
}   // namespace arbor::module
