#include "document/profile_format.h"
#include "document/text_buffer.h"
#include "support/small_stack.h"
#include "tree/key_tree.h"

#include <host/kernel.h>

#include <gtest/gtest.h>

#include <optional>
#include <random>
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
    /// What a fresh tree that loads `text` saves again, without indent and line ends.
    std::string Reloaded(std::string_view text) {
        NewTree();
        const ResultCode code = Load(text);
        if (IsFailure(code)) return "refused";
        std::string saved = Saved();
        std::string flat;
        for (std::size_t at = 0; at < saved.size(); ++at) {
            const bool lineStart = at == 0 || saved[at - 1] == '\n';
            if (lineStart) at = saved.find_first_not_of(' ', at);
            if (saved[at] != '\r' && saved[at] != '\n') flat += saved[at];
        }
        constexpr std::size_t kAround = sizeof "<arbor>" - 1;
        return flat.substr(kAround, flat.size() - 2 * kAround - 1);
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

TEST_F(ProfileFormatTest, TheNativeFormComesBackByteForByte) {
    ASSERT_EQ(Load(kExample), kDone);
    EXPECT_EQ(Saved(), kExample);
    NewTree();
    EXPECT_EQ(Saved(), "<arbor>\r\n</arbor>\r\n");
    tree.emplace();
    TextBuffer none;
    EXPECT_EQ(SaveDocument(*tree, none), kNotInitialised);
    EXPECT_EQ(Load(kExample), kNotInitialised);
}

struct ReadCase {
    const char* label;
    const char* document;
    const char* saved;
};
constexpr ReadCase kReads[] = {
    {"values go behind keys", "<arbor><tVOID name='v'></tVOID><key name='k'/></arbor>",
     "<key name=\"k\"></key><tVOID name=\"v\"></tVOID>"},
    {"a key's name is a path", "<arbor><key name='a/b'><tBOOL name='v'>0</tBOOL></key></arbor>",
     "<key name=\"a\"><key name=\"b\"><tBOOL name=\"v\">0</tBOOL></key></key>"},
    {"an empty name enters the key itself", "<arbor><key name=''><tBOOL name='v'>0</tBOOL></key></arbor>",
     "<tBOOL name=\"v\">0</tBOOL>"},
    {"keys of one name merge", "<arbor><key name='a'><key name='x'/></key><key name='A'><key name='y'/></key></arbor>",
     "<key name=\"a\"><key name=\"x\"></key><key name=\"y\"></key></key>"},
    {"values of one name both stay", "<arbor><tBYTE name='v'>1</tBYTE><tWORD name='V'>2</tWORD></arbor>",
     "<tBYTE name=\"v\">1</tBYTE><tWORD name=\"V\">2</tWORD>"},
    {"stray text ends a key and hides what follows",
     "<arbor><key name='a'><key name='b'/>x<key name='c'/></key></arbor>",
     "<key name=\"a\"><key name=\"b\"></key></key>"},
    {"an element ends a value's text", "<arbor><tSTRING name='v'>a<b>c</b>d</tSTRING></arbor>",
     "<tSTRING name=\"v\">a</tSTRING>"},
    {"comments join text, CDATA comes undecoded",
     "<arbor><tSTRING name='v'> a<!-- - -->b<?i?><![CDATA[&lt;]]> </tSTRING></arbor>",
     "<tSTRING name=\"v\"> ab&amp;lt; </tSTRING>"},
    {"the first name counts, wherever it stands", "<arbor><key x='1' name='a' name='b'/></arbor>",
     "<key name=\"a\"></key>"},
    {"text behind the root is nobody's", "<arbor></arbor><tNONE", ""},
    {"attributes of the root are ignored", "<!-- c --><?xml?><arbor a='b'></arbor>", ""},
    {"wide text reads hexadecimal and goes out as text", "<arbor><tWSTRING name='w'>4100E900</tWSTRING></arbor>",
     "<tSTRING name=\"w\">A\xC3\xA9</tSTRING>"},
    {"foreign: elements, attributes and text",
     "<?xml version='1.0'?><r a='1'><x>  text </x><x b='&lt;'/><!-- c --></r>",
     "<key name=\"r\"><key name=\"x\"><tSTRING name=\"noname\">text </tSTRING></key>"
     "<key name=\"x\"><tSTRING name=\"b\">&lt;</tSTRING></key><tSTRING name=\"a\">1</tSTRING></key>"},
    {"foreign: what follows text is skipped", "<r>text<lost/></r>",
     "<key name=\"r\"><tSTRING name=\"noname\">text</tSTRING></key>"},
    {"foreign: blank CDATA is no text", "<r><![CDATA[  ]]></r>", "<key name=\"r\"></key>"},
    {"foreign: a second top element", "<r></r><s/>", "<key name=\"r\"></key><key name=\"s\"></key>"},
    {"names of elements go by letter case", "<Arbor><key name='x'></key></Arbor>",
     "<key name=\"Arbor\"><key name=\"key\"><tSTRING name=\"name\">x</tSTRING></key></key>"},
};

TEST_F(ProfileFormatTest, WhatIsReadIsSavedInTheNativeForm) {
    for (const ReadCase& row : kReads) {
        SCOPED_TRACE(row.label);
        EXPECT_EQ(Reloaded(row.document), row.saved);
    }
}

struct RefusedCase {
    const char* label;
    const char* document;
    ResultCode code;
};
constexpr RefusedCase kRefused[] = {
    {"nothing", "", kInvalidArgument},
    {"blanks", " \r\n\t", kInvalidArgument},
    {"comments alone", "<!-- a -->", kInvalidArgument},
    {"a doctype in front", "<!DOCTYPE a><arbor></arbor>", kInvalidArgument},
    {"a self-closed root", "<arbor/>", kInvalidArgument},
    {"a broken first tag", "<arbor", kBadDocument},
    {"a root that stays open", "<arbor>", kBadDocument},
    {"another end tag", "<arbor></arbre>", kBadDocument},
    {"an unknown element", "<arbor><Key name='a'></Key></arbor>", kInvalidArgument},
    {"a key without a name", "<arbor><key nam='a'></key></arbor>", kInvalidArgument},
    {"a value without a name", "<arbor><tBYTE>1</tBYTE></arbor>", kInvalidArgument},
    {"a self-closed value", "<arbor><tBYTE name='a'/></arbor>", kBadDocument},
    {"attributes without a blank", "<arbor><key name='a'b='c'/></arbor>", kBadDocument},
    {"a raw end of tag in a name", "<arbor><key name='a>b'/></arbor>", kBadDocument},
    {"a key that stays open", "<arbor><key name='a'></arbor>", kBadDocument},
    {"a catalogue name without values", "<arbor><tOBJECT name='a'>1</tOBJECT></arbor>", kOutOfMemory},
    {"a text that the value refuses", "<arbor><tBYTE name='a'>256</tBYTE></arbor>", kInvalidArgument},
    {"a value that reads no text", "<arbor><tWCHAR name='a'>x</tWCHAR></arbor>", kUnspecified},
    {"foreign: broken attributes", "<r a=b></r>", kBadDocument},
    {"foreign: an element that stays open", "<r><x></r>", kBadDocument},
};

TEST_F(ProfileFormatTest, WhatIsRefusedHasItsCode) {
    for (const RefusedCase& row : kRefused) {
        SCOPED_TRACE(row.label);
        NewTree();
        EXPECT_EQ(Load(row.document), row.code);
    }
}

TEST_F(ProfileFormatTest, EveryTruncationIsRefusedInABlockOfItsSize) {
    const std::string_view whole = kExample;
    const std::size_t last = whole.rfind('>');
    for (std::size_t size = 0; size <= last; ++size) {
        const std::vector<char> block(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        NewTree();
        EXPECT_TRUE(IsFailure(Load({block.data(), block.size()}))) << size;
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
        testing_support::OnSmallStack([&] { code = Load(text); });
        EXPECT_EQ(code, row.code);
    }
}

TEST_F(ProfileFormatTest, AValueWithoutTextFormStopsTheSave) {
    const char16_t unit = u'x';
    EXPECT_EQ(tree->top->AddValue("w", tWCHAR, &unit, sizeof unit), kDone);
    TextBuffer text;
    EXPECT_EQ(SaveDocument(*tree, text), kUnspecified);
}

TEST_F(ProfileFormatTest, ARandomTreeComesBackUnchanged) {
    for (unsigned seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        NewTree();
        const auto bytes = [&](std::size_t most, bool asName) {
            std::string text;
            for (std::size_t size = random() % (most + 1) + (asName ? 1 : 0); size > 0; --size) {
                const char byte = static_cast<char>(random() % 255 + 1);
                text += asName && (byte == '/' || byte == '\\') ? '_' : byte;
            }
            return text;
        };
        for (int i = 0; i < 200; ++i) {
            Key* key = tree->top;
            while (key->ChildCount() != 0 && random() % 3 != 0)
                key = key->ChildByIndex(static_cast<std::uint32_t>(random() % key->ChildCount()));
            if (random() % 3 == 0) {
                ASSERT_NE(key->OpenPath(bytes(8, true), false, nullptr), nullptr);
                continue;
            }
            const std::string text = bytes(random() % 8 == 0 ? 6000 : 40, false);
            constexpr TypeCode kTypes[] = {tDWORD, tSTRING, tBINARY, tQWORD, tBOOL, tLONGLONG, tVOID, tCHAR, tSHORT};
            const TypeCode type = kTypes[random() % std::size(kTypes)];
            const std::string padded = text + std::string(8, '\1');
            const auto size =
                static_cast<std::uint32_t>(type == tSTRING || type == tBINARY ? text.size() : padded.size());
            ASSERT_EQ(key->AddValue(bytes(8, true).c_str(), type, padded.data(), size), kDone);
        }
        const std::string first = Saved();
        NewTree();
        ASSERT_EQ(Load(first), kDone);
        EXPECT_EQ(Saved(), first);
    }
}

TEST_F(ProfileFormatTest, ALoadSurvivesEveryFailedAllocation) {
    for (const char* document : {kExample, "<r a='1'><x>text</x></r>"}) {
        for (std::size_t failAt = 1;; ++failAt) {
            NewTree();
            kernel.FailAllocation(failAt);
            const ResultCode code = Load(document);
            const bool failed = kernel.AllocationFailed();
            kernel.FailAllocation(0);
            EXPECT_EQ(code, failed ? kOutOfMemory : kDone) << failAt;
            if (!failed) break;
        }
    }
}

}   // namespace
}   // namespace arbor::module
