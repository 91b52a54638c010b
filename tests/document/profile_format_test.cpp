#include "document/profile_format.h"
#include "document/text_buffer.h"
#include "support/small_stack.h"
#include "tree/key_tree.h"

#include <host/kernel.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace arbor::module {
namespace {

class ProfileFormatTest : public testing::Test {
protected:
    ProfileFormatTest() { NewTree(); }
    ~ProfileFormatTest() override {
        tree.reset();
        EXPECT_EQ(kernel.LiveBlocks(), 0U);
    }

    void NewTree() { EXPECT_EQ(tree.emplace().Start(kernel.Root()), kDone); }

    ResultCode Load(std::string_view text) {
        return LoadDocument(*tree, text.data(), static_cast<std::uint32_t>(text.size()));
    }
    std::string Saved() {
        TextBuffer text;
        EXPECT_EQ(SaveDocument(*tree, text), kDone);
        return std::string(text.View());
    }
    host::Kernel kernel;
    std::optional<KeyTree> tree;
};

constexpr char kExample[] =
    "<arbor>\r\n"
    "    <key name=\"Network\">\r\n"
    "        <key name=\"Proxy\">\r\n"
    "            <tBOOL name=\"Enabled\">1</tBOOL>\r\n"
    "            <tDWORD name=\"Port\">8080</tDWORD>\r\n"
    "        </key>\r\n"
    "        <tSTRING name=\"Comment\">a &amp; b&#x9;&lt;c&gt;</tSTRING>\r\n"
    "    </key>\r\n"
    "    <tBINARY name=\"Blob\">0A0BFF</tBINARY>\r\n"
    "    <tSTRING name=\"Title\">written from a tWSTRING</tSTRING>\r\n"
    "</arbor>\r\n";
constexpr std::string_view kForeign =
    "<a b='1' c = \"&quot;&#x9;\"><?p q?><d>t&lt;<!-- c --><![CDATA[x]]y]]></d><e/><j> t&amp;</j><k>u</k><f g='h' "
    ">\n</f >tail<i/></a>";

TEST_F(ProfileFormatTest, ASavedDocumentLoadsAndSavesUnchanged) {
    ASSERT_EQ(Load(kExample), kDone);
    EXPECT_EQ(Saved(), kExample);
    NewTree();
    EXPECT_EQ(Saved(), "<arbor>\r\n</arbor>\r\n");
    tree.emplace();
    TextBuffer none;
    EXPECT_EQ(SaveDocument(*tree, none), kNotInitialised);
    EXPECT_EQ(Load(kExample), kNotInitialised);
}

TEST_F(ProfileFormatTest, EveryTruncationIsRefusedInABlockOfItsSize) {
    for (const std::string_view whole : {std::string_view(kExample), kForeign}) {
        for (std::size_t size = 0; size <= whole.rfind('>'); ++size) {
            const std::vector<char> block(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
            NewTree();
            EXPECT_TRUE(IsFailure(Load({block.data(), block.size()}))) << size;
        }
    }
}

TEST_F(ProfileFormatTest, NestingEndsAtItsLimitOnASmallStack) {
    struct Row {
        const char* label;
        std::size_t levels;
        bool foreign;
        ResultCode code;
    };
    const Row rows[] = {
        {"deepest native", 2048, false, kDone},
        {"one more native", 2049, false, kMediaError},
        {"deepest foreign", 2048, true, kDone},
        {"one more foreign", 2049, true, kMediaError},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        std::string text = row.foreign ? "" : "<arbor>";
        for (std::size_t i = 0; i < row.levels; ++i) text += row.foreign ? "<k>" : "<key name='k'>";
        for (std::size_t i = 0; i < row.levels; ++i) text += row.foreign ? "</k>" : "</key>";
        if (!row.foreign) text += "</arbor>";
        NewTree();
        ResultCode code = kUnexpected;
        testing_support::RunOnSmallStack([&] { code = Load(text); });
        EXPECT_EQ(code, row.code);
    }
}

}   // namespace
}   // namespace arbor::module
