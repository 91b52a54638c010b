#include <component/ilk/rtl/format.h>

#include <component/ilk/rtl/compact_string.h>

#include <gtest/gtest.h>

namespace {

using Narrow = ilk::basic_string_t<char>;
using Wide = ilk::basic_string_t<char16_t>;

template <class Target, class Item>
Target Printed(const ilk::FormatSpec& spec, Item item) {
    Target target;
    ilk::Print(target, spec, item);
    return target;
}

struct NumberCase {
    const char* label;
    ilk::FormatSpec spec;
    std::int64_t number;
    const char* narrow32;
    const char* narrow64;
};
constexpr NumberCase kNumbers[] = {
    {"plain", {}, 0, "0", "0"},
    {"negative in base 10", {}, -5, "-5", "-5"},
    {"the smallest number", {}, INT32_MIN, "-2147483648", "-2147483648"},
    {"negative in base 16", {.base = 16}, -5, "fffffffb", "fffffffffffffffb"},
    {"fill on the left", {.width = 8, .base = 16, .fill = U'0'}, 255, "000000ff", "000000ff"},
    {"a prefix follows the fill on the left", {.width = 4}, -5, "  -5", "  -5"},
    {"fill after the prefix", {.width = 5, .align = 0, .fill = U'*'}, -5, "-***5", "-***5"},
    {"fill on the right", {.width = 4, .align = -1, .fill = U'.'}, -5, "-5..", "-5.."},
    {"base prefix 16",
     {.width = 10, .base = 16, .align = 0, .fill = U'0', .show_base = true},
     70,
     "0x00000046",
     "0x00000046"},
    {"base prefix 8", {.base = 8, .show_base = true}, 8, "010", "010"},
    {"no base prefix", {.base = 36, .show_base = true}, 35, "z", "z"},
    {"all digits of base 2",
     {.base = 2},
     -1,
     "11111111111111111111111111111111",
     "1111111111111111111111111111111111111111111111111111111111111111"},
    {"more digits than the width", {.width = 2}, 123, "123", "123"},
    {"a fill that isn't a narrow character", {.width = 4, .fill = U'\u20AC'}, 7, "7", "7"},
};

TEST(FormatTest, PrintsNumbers) {
    for (const NumberCase& row : kNumbers) {
        SCOPED_TRACE(row.label);
        EXPECT_EQ(Printed<Narrow>(row.spec, static_cast<std::int32_t>(row.number)), row.narrow32);
        EXPECT_EQ(Printed<Narrow>(row.spec, row.number), row.narrow64);
    }
    EXPECT_EQ(Printed<Narrow>({}, ~std::uint32_t{0}), "4294967295");
    EXPECT_EQ(Printed<Narrow>({}, ~std::uint64_t{0}), "18446744073709551615");
    EXPECT_EQ(Printed<ilk::CompactString>({}, 12).view(), "12");
    const ilk::FormatSpec spec{.width = 6, .base = 16, .align = 0, .fill = U'\u20AC', .show_base = true};
    EXPECT_EQ(Printed<Wide>(spec, 255), u"0x\u20AC\u20ACff");
    EXPECT_EQ(Printed<Wide>({.width = 3, .fill = U'\U0001F600'}, 1), u"1");
}

using namespace std::string_view_literals;

struct TextCase {
    const char* label;
    ilk::FormatSpec spec;
    std::string_view text;
    std::string_view narrow;
};
constexpr TextCase kTexts[] = {
    {"whole, with its NUL", {}, "a\0b"sv, "a\0b"sv},
    {"cut at a NUL under a precision", {.precision = 3}, "a\0b"sv, "a"},
    {"cut at the precision", {.width = 4, .precision = 2}, "abc", "  ab"},
    {"precision 0", {.width = 2, .precision = 0}, "abc", "  "},
    {"no text, no fill", {.width = 4}, {}, ""},
};

TEST(FormatTest, PrintsTexts) {
    for (const TextCase& row : kTexts) {
        SCOPED_TRACE(row.label);
        EXPECT_EQ(Printed<Narrow>(row.spec, row.text), row.narrow);
    }
    EXPECT_EQ(Printed<Wide>({}, "a\0b"sv), u"a\0b"sv);
    const char unterminated[] = {'a', 'b'};
    EXPECT_EQ(Printed<Wide>({.precision = 2}, &unterminated[0]), u"ab");
    EXPECT_EQ(Printed<Narrow>({.width = 3}, static_cast<const char*>(nullptr)), "");
    EXPECT_EQ(Printed<Narrow>({.width = 3, .align = -1}, u"ab\u20ACcd"), "ab ")
        << "output ends before a character without a narrow form";
}

}   // namespace
