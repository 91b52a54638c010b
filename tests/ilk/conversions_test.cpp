#include <component/ilk/rtl/conversions.h>

#include <gtest/gtest.h>

#include <clocale>
#include <stdexcept>
#include <typeinfo>

namespace {

using Narrow = ilk::basic_string_t<char>;
using Wide = ilk::basic_string_t<char16_t>;

class ConversionsTest : public testing::Test {
protected:
    static bool UseUtf8() { return std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr; }
    void TearDown() override { std::setlocale(LC_CTYPE, "C"); }
};

struct WidenCase {
    const char* label;
    std::string_view source;
    ilk::ResultCode code;
    std::u16string_view wide;
};
using namespace std::string_view_literals;
constexpr WidenCase kUtf8Cases[] = {
    {"nothing", "", ilk::ResultOk, u""},
    {"a NUL is a character", "a\0b"sv, ilk::ResultOk, u"a\0b"sv},
    {"two and three bytes", "\xC3\xA9\xE2\x82\xAC", ilk::ResultOk, u"\u00E9\u20AC"},
    {"a surrogate pair", "\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF", ilk::ResultOk, u"\U0001F600\U0010FFFF"},
    {"above the last code point", "\xF4\x90\x80\x80", ilk::ResultInvalidArgument, u""},
    {"an incomplete character", "ab\xE2\x82", ilk::ResultInvalidArgument, u""},
    {"a continuation byte alone", "\x80", ilk::ResultInvalidArgument, u""},
    {"an encoded surrogate", "\xED\xA0\x80", ilk::ResultInvalidArgument, u""},
};

TEST_F(ConversionsTest, WidenReadsTheLocalesEncoding) {
    if (!UseUtf8()) GTEST_SKIP() << "no UTF-8 locale here";
    for (const WidenCase& row : kUtf8Cases) {
        SCOPED_TRACE(row.label);
        Wide target(u"1234567");
        EXPECT_EQ(ilk::Widen(row.source, target, 3), row.code);
        EXPECT_EQ(target, ilk::IsSuccess(row.code) ? u"123" + std::u16string(row.wide) : u"1234567");
    }
    EXPECT_THROW(static_cast<void>(ilk::WideFromNarrow("\xFF")), std::bad_cast);
    EXPECT_EQ(ilk::WideFromNarrow("\xC3\xA9"), u"\u00E9");
    char narrow = 0;
    char16_t wide = 0;
    EXPECT_FALSE(ilk::NarrowCharacter(U'\u00E9', narrow)) << "two bytes in this encoding";
    EXPECT_FALSE(ilk::NarrowCharacter(0x80010041, narrow)) << "above a wide character, whose lowest bits are an A";
    EXPECT_FALSE(ilk::WidenCharacter('\xC3', wide)) << "the first of two bytes";
}

TEST_F(ConversionsTest, WidenExtendsTheTargetToTheOffset) {
    Wide target(u"1");
    EXPECT_EQ(ilk::Widen("ab", target, 3), ilk::ResultOk);
    EXPECT_EQ(target, u"1\0\0ab"sv);
    EXPECT_EQ(ilk::Widen("", target, 2), ilk::ResultOk);
    EXPECT_EQ(target, u"1\0"sv);
    EXPECT_EQ(ilk::Widen("a", target, Wide::kMaxSize), ilk::ResultOutOfMemory);
    EXPECT_EQ(ilk::Widen("a", target, ~std::size_t{0}), ilk::ResultOutOfMemory) << "the sum would wrap";
    EXPECT_EQ(target, u"1\0"sv);
}

TEST_F(ConversionsTest, ToUtf8EncodesEveryUnit) {
    Narrow target("x");
    EXPECT_EQ(ilk::ToUtf8(u"\x7F\x80\u07FF\u0800\U0001F600\U0010FFFF", target), ilk::ResultOk);
    EXPECT_EQ(target, "x\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF");
    const char16_t unpaired[] = {0xD800, u'a', 0xDC00, 0xD800};
    target.clear();
    EXPECT_EQ(ilk::ToUtf8({unpaired, 4}, target), ilk::ResultOk);
    EXPECT_EQ(target,
              "\xED\xA0\x80"
              "a"
              "\xED\xB0\x80\xED\xA0\x80");
}

}   // namespace
