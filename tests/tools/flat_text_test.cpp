#include <arborctl/exact_text.h>
#include <arborctl/flat_text.h>
#include <component/kernel/type_table.h>

#include <cstring>

#include <gmock/gmock.h>

namespace {

using namespace std::string_literals;
using testing::ElementsAreArray;

template <class T>
std::string Bytes(T number) {
    std::string bytes(sizeof number, '\0');
    std::memcpy(bytes.data(), &number, sizeof number);
    return bytes;
}

/// The line of a value without its first two words, then the words of that line.
TEST(FlatTextTest, LinesKeepEveryBit) {
    struct Case {
        kernel::TypeCode type;
        std::string bytes;
        const char* text;   // the last word of the line
    };
    const Case cases[] = {
        {kernel::tVOID, "", "\"\""},
        {kernel::tBYTE, Bytes(std::uint8_t{255}), "255"},
        {kernel::tSBYTE, Bytes(std::int8_t{-128}), "-128"},
        {kernel::tERROR, Bytes(std::int32_t{-2147483578}), "-2147483578"},
        {kernel::tLONGLONG, Bytes(INT64_MIN), "-9223372036854775808"},
        {kernel::tDATETIME, Bytes(UINT64_MAX), "18446744073709551615"},
        {kernel::tBOOL, Bytes(std::uint32_t{2}), "2"},
        {kernel::tFUNC_PTR, Bytes(std::uint32_t{7}), "7"},
        {kernel::tDOUBLE, Bytes(1e-9), "1e-09"},
        {kernel::tDOUBLE, Bytes(0.1), "0.1"},
        {kernel::tDOUBLE, Bytes(-0.0), "-0"},
        {kernel::tDOUBLE, Bytes(1e300), "1e+300"},
        {kernel::tDOUBLE, Bytes(std::uint64_t{0xFFF0000000000000}), "-inf"},
        {kernel::tDOUBLE, Bytes(std::uint64_t{0x7FF8000000000000}), "nan"},
        {kernel::tDOUBLE, Bytes(std::uint64_t{0xFFF8000000000001}), "\"nan(FFF8000000000001)\""},
        {kernel::tCHAR, "\0"s, "\"\\x00\""},
        {kernel::tCHAR, "\xE4", "\"\\xE4\""},
        {kernel::tWCHAR, Bytes(char16_t{0xD800}), "\"\\xED\\xA0\\x80\""},
        {kernel::tSTRING, "#\\ \"'\r\n\t\x01\x7F\xC2\x9B\xFF\u00e4",
         R"("#\\ \"'\r\n\t\x01\x7F\xC2\x9B\xFF)"
         "\u00e4\""},
        {kernel::tSTRING, "#c", "\"#c\""},
        {kernel::tSTRING, "c#\u00e4", "c#\u00e4"},
        {kernel::tWSTRING, Bytes(char16_t{0xD83D}) + Bytes(char16_t{0xDE00}) + Bytes(char16_t{0xDE00}),
         "\"\U0001F600\\xED\\xB8\\x80\""},
        {kernel::tPTR, "\x0A\xFF"s, "0AFF"},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.text);
        const std::string line = arborctl::FlatValue("", "#1", {row.type, row.bytes});
        const std::string type(kernel::FindType(row.type)->name);
        EXPECT_EQ(line, "/ \"#1\" " + type + ' ' + row.text);
        const std::vector<std::string> words = arborctl::SplitWords(line + " # comment");
        ASSERT_EQ(words.size(), 4U);
        const auto datum = arborctl::FromExactText(row.type, words[3]);
        ASSERT_TRUE(datum);
        EXPECT_EQ(datum->bytes, row.bytes);
    }
    EXPECT_EQ(arborctl::FlatKey("a key"), "\"a key/\"");
    EXPECT_EQ(arborctl::FlatValue("rm", "set", {kernel::tVOID, ""}), "/rm set tVOID \"\"");
}

TEST(FlatTextTest, WordsEndAtUnquotedSpaces) {
    struct Case {
        const char* line;
        std::vector<std::string> words;   // empty: the line is refused, or has none
    };
    const Case cases[] = {
        {"", {}},
        {" \t# a b", {}},
        {" a\t 'b \" \\ # c'\"d\\'e\" ", {"a", "b \" \\ # cd'e"}},
        {R"(a\ b '' "" c#d "\x41\x0a")", {"a b", "", "", "c#d", "A\n"}},
    };
    for (const Case& row : cases) EXPECT_THAT(arborctl::SplitWords(row.line), ElementsAreArray(row.words)) << row.line;
    for (const char* refused :
         {"'a", "\"a", "\"a\\\"", "a\\", R"(Network\Proxy)", R"("\q")", R"("\x4")", R"("\xg0")"}) {
        EXPECT_THROW(static_cast<void>(arborctl::SplitWords(refused)), std::invalid_argument) << refused;
    }
}

TEST(ExactTextTest, RefusesTextsOfNoValue) {
    struct Case {
        kernel::TypeCode type;
        std::string_view text;
    };
    constexpr Case cases[] = {
        {kernel::tVOID, "x"},
        {kernel::tBYTE, "256"},
        {kernel::tBYTE, "-1"},
        {kernel::tDWORD, ""},
        {kernel::tDWORD, "4294967296"},
        {kernel::tDWORD, "12 "},
        {kernel::tSBYTE, "-129"},
        {kernel::tSHORT, "0x8000"},
        {kernel::tQWORD, "18446744073709551616"},
        {kernel::tBOOL, "TRUE"},
        {kernel::tDOUBLE, "abc"},
        {kernel::tDOUBLE, "1.5x"},
        {kernel::tDOUBLE, "nan(3FF0000000000000)"},
        {kernel::tCHAR, "\u00e4"},
        {kernel::tWCHAR, "\U0001F600"},
        {kernel::tWSTRING, "\xFF"},
        {kernel::tBINARY, "ABC"},
        {kernel::tSTRING, std::string_view("a\0b", 3)},
    };
    for (const Case& row : cases) EXPECT_FALSE(arborctl::FromExactText(row.type, row.text)) << row.text;
    EXPECT_EQ(arborctl::FromExactText(kernel::tSHORT, "-0x8000")->bytes, Bytes(std::int16_t{-32768}));
    EXPECT_EQ(arborctl::FromExactText(kernel::tBOOL, "true")->bytes, Bytes(std::uint32_t{1}));
}

}   // namespace
