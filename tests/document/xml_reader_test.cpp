#include "document/xml_reader.h"

#include <gtest/gtest.h>

#include <vector>

namespace arbor::module {
namespace {

XmlReader ReaderOf(std::string_view input) { return {input.data(), static_cast<std::uint32_t>(input.size()), false}; }

bool IsBefore(const XmlReader& reader, std::string_view rest) {
    return rest.empty() ? reader.PeekKind() == TokenEnd : reader.MatchAt(rest) == rest.size();
}

struct StartTagCase {
    std::string_view input;
    std::uint32_t flags;
    std::int32_t code;
    std::string_view name;
    std::string_view rest;
};
constexpr StartTagCase kStartTags[] = {
    {"</a>", RequireStartTag, XmlNoStartTag, "", "</a>"},
    {" text<a>", ReportText, TokenText, "", "text<a>"},
    {" <![CDATA[x]]>", ReportText, TokenCData, "", "<![CDATA[x]]>"},
    {"<expected>", RequireName, XmlDone, "expected", ""},
    {"<expected2>", RequireName, XmlWrongName, "", ">"},
    {"<a><b></c></a>x", SkipElement, XmlDone, "a", "x"},
    {"<a></b>x", SkipElement, XmlBadStructure, "a", "x"},
};

TEST(XmlReaderTest, FlagsSayWhatAStartTagMustBe) {
    for (const StartTagCase& row : kStartTags) {
        SCOPED_TRACE(row.input);
        XmlReader reader = ReaderOf(row.input);
        XmlElement element{row.input.data(), row.input.data(), {row.input.data(), 1}};
        EXPECT_EQ(reader.NextStartTag(element, row.flags, "expected"), row.code);
        EXPECT_EQ(element.name.View(), row.name);
        EXPECT_TRUE(IsBefore(reader, row.rest));
    }
    constexpr std::string_view kMarked = "\xEF\xBB\xBF<a>";
    EXPECT_EQ(XmlReader(kMarked.data(), 6, true).PeekKind(), TokenStartTag);
    EXPECT_EQ(XmlReader(kMarked.data(), 6, false).PeekKind(), TokenText);
    EXPECT_EQ(XmlReader(kMarked.data(), 2, true).PeekKind(), TokenText);
}

/// Loads read any other form in steps, to the same effect: only this test fails if none is read in one step.
TEST(XmlReaderTest, SimpleElementsAreReadInOneStepAfterAnyWhitespace) {
    constexpr std::string_view kIndents[] = {"\n        ", "\n        ", "\r\n        ", "", "\n ", "\n\t", "\n "};
    constexpr std::string_view kNames[] = {"", "a value's", "of 12 bytes.", "of seventeen byte"};
    for (const std::string_view name : kNames) {
        const std::string_view text = name.empty() ? "&lt;x" : "x";
        std::string input;
        for (const std::string_view indent : kIndents)
            input.append(indent).append("<tINT name=\"").append(name).append("\">").append(text).append("</tINT>");
        input.append(kIndents[std::size(kIndents) - 1]);   // the same whitespace, but the input ends after it
        const std::vector<char> exact(input.begin(), input.end());
        XmlReader reader = ReaderOf({exact.data(), exact.size()});
        XmlSimpleTag tag;
        RawText raw;
        for (const std::string_view indent : kIndents) {
            EXPECT_TRUE(reader.PeekSimpleTag(" name=\"", tag)) << name << indent;
            EXPECT_EQ(tag.attributeValue.View(), name);
            EXPECT_TRUE(reader.TryReadSimpleText(tag.element, raw)) << name << indent;
            EXPECT_EQ(raw.bytes.View(), text);
            EXPECT_EQ(raw.isPlain, !name.empty());
        }
        EXPECT_FALSE(reader.PeekSimpleTag(" name=\"", tag));
    }
    for (const std::string_view other : {"<a>x</a>", "<a name=\"n\"/>", "<a name=\"n\">x</b>"}) {
        XmlReader reader = ReaderOf(other);
        XmlSimpleTag tag;
        RawText raw;
        EXPECT_FALSE(reader.PeekSimpleTag(" name=\"", tag) && reader.TryReadSimpleText(tag.element, raw)) << other;
        EXPECT_TRUE(IsBefore(reader, other)) << other;
    }
}

TEST(XmlReaderTest, AttributesOfNoElementAreNone) {
    std::vector<XmlAttribute> attributes;
    EXPECT_EQ(XmlReader::ReadAttributes(XmlElement(), attributes), XmlDone);
    std::string none = "old";
    EXPECT_EQ(XmlReader::ReadAttribute(XmlElement(), "b", none), XmlNotFound);
    EXPECT_EQ(none, "");
}

struct CloseCase {
    std::string_view input;   // from the start tag on
    std::int32_t code;
    std::uint32_t size;   // of the content
    std::string_view rest;
};
constexpr CloseCase kCloses[] = {
    {"<a/>x", XmlDone, 0, "x"},
    {"<a>t<b c='/'/><b></c>&</a \n>x", XmlDone, 19, "x"},
    {"<a><!-- </a> --><![CDATA[</a>]]><?</a>?></a>x", XmlDone, 37, "x"},
    {"<a></b>x", XmlBadStructure, 0, "x"},
    {"<a></a x>", XmlMalformed, 0, "x>"},
    {"<a><!x></a>", XmlBadStructure, 0, "<!x></a>"},
};

TEST(XmlReaderTest, ClosingSkipsTheContentWithoutRecursion) {
    for (const CloseCase& row : kCloses) {
        SCOPED_TRACE(row.input);
        XmlReader reader = ReaderOf(row.input);
        XmlElement element;
        ASSERT_EQ(reader.NextStartTag(element, 0, nullptr), XmlDone);
        XmlReader content = reader;
        std::uint32_t size = 99;
        static_cast<void>(content.SkipContent(element, &size));
        EXPECT_EQ(size, row.size);
        EXPECT_EQ(reader.CloseElement(element), row.code);
        EXPECT_TRUE(IsBefore(reader, row.rest));
    }
    std::string deep;
    for (int level = 0; level < 1000000; ++level) deep += "<a>";
    XmlReader reader = ReaderOf(deep);
    XmlElement element;
    EXPECT_EQ(reader.NextStartTag(element, SkipElement, nullptr), XmlNoStartTag);
}

TEST(XmlReaderTest, ATokenIsReadOnlyAsTheKindItIs) {
    ByteSlice token;
    EXPECT_EQ(ReaderOf(" <!-- x -- y -->z").ReadToken(TokenComment, token), XmlDone);
    EXPECT_EQ(token.View(), " x ");
    EXPECT_EQ(ReaderOf("<!--->").ReadToken(TokenComment, token), XmlMalformed);
    EXPECT_EQ(ReaderOf("<?x?>").ReadToken(TokenComment, token), XmlWrongToken);
    EXPECT_EQ(ReaderOf("x").ReadToken(TokenText, token), XmlWrongToken);
    EXPECT_EQ(ReaderOf("x").ReadToken(TokenEnd, token), XmlNotFound);
    std::uint32_t length = 99;   // includes a terminator of one byte
    EXPECT_EQ(ReaderOf("ab>c").ScanUntil(">", length), XmlDone);
    EXPECT_EQ(length, 3U);
    EXPECT_EQ(ReaderOf("a]]]>c").ScanUntil("]]>", length), XmlDone);
    EXPECT_EQ(length, 2U);
    EXPECT_EQ(ReaderOf(" </a\t>").SkipToken(TokenEndTag), XmlDone);
    EXPECT_EQ(ReaderOf("</ a>").SkipToken(TokenEndTag), XmlMalformed);
    EXPECT_EQ(ReaderOf("a>").SkipToken(TokenEndTag), XmlBadStructure);
}

}   // namespace
}   // namespace arbor::module
