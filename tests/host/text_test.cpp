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
        {"the ends of each length", u"\u007f\u0080\u07ff\u0800\uffff\U00010000",
         "\u007f\u0080\u07ff\u0800\uffff\U00010000"},
    };
    for (const Case& row : both) {
        SCOPED_TRACE(row.label);
        EXPECT_EQ(host::ToUtf8(row.wide), row.narrow);
        EXPECT_EQ(host::ToUtf16(row.narrow), row.wide);
    }
    const Case bad[] = {
        {"a lone continuation", u"a\ufffdb",
         "a\x80"
         "b"},
        {"a character cut off", u"a\ufffd\ufffd", "a\xE2\x82"},
        {"an overlong form", u"\ufffd\ufffd", "\xC0\xAF"},
        {"half a pair", u"\ufffd\ufffd\ufffd", "\xED\xA0\x80"},
    };
    for (const Case& row : bad) {
        SCOPED_TRACE(row.label);
        EXPECT_EQ(host::ToUtf16(row.narrow), row.wide);
    }
    const char16_t halves[] = {u'a', 0xD83D, u'b', 0xDE00};
    EXPECT_EQ(host::ToUtf8({halves, 4}), "a\ufffdb\ufffd");
}

class ImportTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(host.LiveBlocks(), 0U) << host.LeakReport(); }

    /// Goes the module's way, through the bound function.
    kernel::ResultCode Import(host::Text& text, const void* source, std::uint32_t bytes, std::uint32_t codePage,
                              std::uint32_t from = 0) {
        const auto call = kernel::BindImport<kernel::TextImportCall>(
            host.Root(), kernel::kTextImportKind, kernel::kTextImportNumber, kernel::kTextImportMode);
        return call(text.Get(), from, kernel::kWholeText, source, bytes, codePage);
    }

    host::Kernel host;
};

TEST_F(ImportTest, ReplacesTheWholeTextAndKeepsABlockThatIsLargeEnough) {
    host::Text text(host);
    ASSERT_EQ(Import(text, u"longer text\0\0", 26, 1200), kernel::kDone);
    EXPECT_EQ(text.View(), u"longer text");
    const char16_t* block = text.Get()->text;
    ASSERT_EQ(Import(text, "\u00e9!", 3, 65001), kernel::kDone);
    EXPECT_EQ(text.View(), u"\u00e9!");
    EXPECT_EQ(text.Get()->text, block);
    EXPECT_EQ(text.Get()->capacity, 11U);
    EXPECT_EQ(block[2], u'\0');
    EXPECT_EQ(host.LiveBlocks(), 1U);
}

TEST_F(ImportTest, RefusalsLeaveTheText) {
    host::Text text(host);
    ASSERT_EQ(text.Set(u"kept"), kernel::kDone);
    const auto expectRefused = [&](const char* label, kernel::ResultCode code, kernel::ResultCode expected) {
        SCOPED_TRACE(label);
        EXPECT_EQ(code, expected);
        EXPECT_EQ(text.View(), u"kept");
    };
    expectRefused("an unknown code page", Import(text, "x", 1, 437), host::kNotOffered);
    expectRefused("half a unit", Import(text, "abc", 3, 1200), kernel::kInvalidArgument);
    expectRefused("a part of the text", Import(text, "x", 1, 0, 1), kernel::kInvalidArgument);
    expectRefused("no source", Import(text, nullptr, 0, 0), kernel::kInvalidArgument);
    host.FailAllocation(1);
    expectRefused("no memory", text.Set(u"too long for the block"), kernel::kOutOfMemory);
    EXPECT_TRUE(host.AllocationFailed());
}

}   // namespace
