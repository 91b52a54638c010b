#include <host/kernel.h>
#include <host/text.h>

#include <gtest/gtest.h>

namespace {

TEST(TextTest, Utf8AndUtf16MeetAndBadInputIsReplaced) {
    struct Case {
        const char* label;
        std::u16string wide;
        std::string narrow;
    };
    const Case both[] = {
        {"one to four bytes", u"A\u00e9\u20ac\U0001F600", "A\u00e9\u20ac\U0001F600"},
        {"the ends of each length", u"\u007f\u0080\u07ff\u0800\uffff\U00010000\U0010ffff",
         "\u007f\u0080\u07ff\u0800\uffff\U00010000\U0010ffff"},
    };
    for (const Case& row : both) {
        SCOPED_TRACE(row.label);
        EXPECT_EQ(host::ToUtf8(row.wide), row.narrow);
        EXPECT_TRUE(host::IsUtf8(row.narrow));
        EXPECT_EQ(host::ToUtf16(row.narrow), row.wide);
    }
    const Case bad[] = {
        {"a lone continuation", u"a\ufffdb",
         "a\x80"
         "b"},
        {"a character cut off", u"a\ufffd\ufffd", "a\xE2\x82"},
        {"an overlong form", u"\ufffd\ufffd", "\xC0\xAF"},
        {"above the last character", u"\ufffd\ufffd\ufffd\ufffd", "\xF4\x90\x80\x80"},
        {"half a pair", u"\ufffd\ufffd\ufffd", "\xED\xA0\x80"},
    };
    for (const Case& row : bad) {
        SCOPED_TRACE(row.label);
        EXPECT_FALSE(host::IsUtf8(row.narrow));
        EXPECT_EQ(host::ToUtf16(row.narrow), row.wide);
    }
    const char16_t halves[] = {u'a', 0xD83D, u'b', 0xDE00};
    EXPECT_EQ(host::ToUtf8({halves, 4}), "a\ufffdb\ufffd");
    EXPECT_EQ(host::Printable("\x1B[\u0085\u00e9\ufffd\xE9\x7F"), "\\x1b[\\xc2\\x85\u00e9\ufffd\\xe9\\x7f");
}

}   // namespace
