#include "document/xml_reader.h"
#include "document/xml_entities.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace arbor::module {
namespace {

XmlReader ReaderOf(std::string_view input) { return {input.data(), static_cast<std::uint32_t>(input.size()), false}; }

bool StandsBefore(const XmlReader& reader, std::string_view rest) {
    return rest.empty() ? reader.PeekKind() == TokenEnd : reader.MatchAt(rest) == rest.size();
}

std::unique_ptr<char[]> ExactCopy(std::string_view input) {   // one byte too far is a report
    std::unique_ptr<char[]> exact(new char[input.size()]);
    if (!input.empty()) std::memcpy(exact.get(), input.data(), input.size());
    return exact;
}

struct SimpleCase {
    std::string_view input;
    std::string_view text = "not simple";
};
constexpr SimpleCase kSimpleElements[] = {
    {"<tINT name=\"a value's\">x</tINT>", "x"},
    {" \r\n  <tINT name=\"\"></tINT>", ""},
    {"<tINT name=\"12345678901234567\"> a &lt; b</tINT></key>", " a &lt; b"},
    {"<tINT name=\"v\">]]></tINT>", "]]>"},
    {"<tINT name=\"v\">x</tIN>"},
    {"<tINT name=\"v\">x</tINT >"},
    {"<tINT name=\"v\">x<!-- c --></tINT>"},
    {"<tINT name=\"v\">x<b/></tINT>"},
    {"<tINT name=\"v\"/>"},
    {"<tINT name=\"v\" >x</tINT>"},
    {"<tINT name=\"v\" a=\"b\">x</tINT>"},
    {"<tINT  name=\"v\">x</tINT>"},
    {"<tINT nam=\"v\">x</tINT>"},
    {"<tINT name='v'>x</tINT>"},
    {"<tINT name=\"a>b\">x</tINT>"},
    {"<tINT name=\"a&amp;b\">x</tINT>"},
    {{"<tINT name=\"a\0b\">x</tINT>", 24}},
    {"<tINT>x</tINT>"},
    {"x<tINT name=\"v\">x</tINT>"},
    {""},
};

constexpr char kOpening[] = " name=\"";

TEST(XmlReaderTest, ASimpleElementIsReadWholeOrNotAtAll) {
    for (const SimpleCase& row : kSimpleElements) {
        SCOPED_TRACE(row.input);
        const auto exact = ExactCopy(row.input);
        XmlReader reader = ReaderOf({exact.get(), row.input.size()});
        XmlSimpleElement element;
        const bool simple = reader.TryReadSimpleElement(kOpening, element);
        EXPECT_EQ(simple ? element.text.View() : "not simple", row.text);
        if (!simple) continue;
        EXPECT_TRUE(StandsBefore(reader, row.input.ends_with("</key>") ? "</key>" : ""));
    }
    const std::string_view whole = kSimpleElements[0].input;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const auto exact = ExactCopy(whole.substr(0, size));
        XmlSimpleElement element;
        EXPECT_FALSE(ReaderOf({exact.get(), size}).TryReadSimpleElement(kOpening, element)) << size;
    }
}

TEST(XmlReaderTest, SimpleElementsFollowEachOtherAfterAnyWhitespace) {
    constexpr std::string_view kGaps[] = {"\n        ", "\n        ", "\r\n        ", "",
                                          "\n ",        "\n\t",       "\n ",          "\n        "};
    std::string input;
    for (const std::string_view gap : kGaps) input += std::string(gap) + "<tINT name=\"v\">x</tINT>";
    for (const std::string_view end :
         {"", "\n       ", "\n       x<", "\n      <!", "\nx       <tINT name=\"v\">x</tINT>"}) {
        SCOPED_TRACE(end);
        const std::string whole = input + std::string(end);
        const auto exact = ExactCopy(whole);
        XmlReader reader = ReaderOf({exact.get(), whole.size()});
        XmlSimpleElement element;
        std::size_t count = 0;
        while (reader.TryReadSimpleElement(kOpening, element)) ++count;
        EXPECT_EQ(count, std::size(kGaps));
        EXPECT_TRUE(StandsBefore(reader, end.substr(std::min(end.size(), end.find_first_not_of("\n ")))));
    }
}

struct KindCase {
    std::string_view input;
    TokenKind kind;
};
constexpr KindCase kKinds[] = {
    {"", TokenEnd},         {"x<", TokenText},        {"<", TokenOther},         {"<a", TokenStartTag},
    {"</", TokenEndTag},    {"<\xC3", TokenStartTag}, {"<\xD7", TokenOther},     {"<-", TokenOther},
    {"<!--", TokenComment}, {"<!-", TokenOther},      {"<![CDATA[", TokenCData}, {"<?", TokenInstruction},
};

TEST(XmlReaderTest, TheKindIsToldByTheFirstBytes) {
    for (const KindCase& row : kKinds) {
        const auto exact = ExactCopy(row.input);
        EXPECT_EQ(ReaderOf({exact.get(), row.input.size()}).PeekKind(), row.kind) << row.input;
    }
}

struct StartTagCase {
    std::string_view input;
    std::uint32_t flags;
    std::int32_t code;
    std::string_view name;
    std::string_view rest;
};
constexpr StartTagCase kStartTags[] = {
    {"", 0, XmlNone, "", ""},
    {" \r\n\t<a b='1'>x", 0, XmlDone, "a", "x"},
    {"\v<a>", 0, XmlNone, "", "\v<a>"},
    {"<?xml version='1.0'?> <!-- <b> --><:_-.9\xB7\xD7>", 0, XmlDone, ":_-.9\xB7", ""},
    {"<!-- x -- y --><a/>z", 0, XmlDone, "a", "z"},
    {"<!-- x <a/>", 0, XmlNone, "", ""},
    {"<!DOCTYPE a><a/>", 0, XmlNone, "", "<!DOCTYPE a><a/>"},
    {"< a>", 0, XmlNone, "", "< a>"},
    {"</a>", RequireStartTag, XmlNoStartTag, "", "</a>"},
    {" text<a>", ReportText, TokenText, "", "text<a>"},
    {" <![CDATA[x]]>", ReportText, TokenCData, "", "<![CDATA[x]]>"},
    {"<\xC3\xA9>", 0, XmlMalformed, "", "\xC3\xA9>"},
    {"<a\xC3\xA9>", 0, XmlDone, "a\xC3", ""},
    {"<a b='x>y'>", 0, XmlDone, "a", "y'>"},
    {"<expected>", RequireName, XmlDone, "expected", ""},
    {"<expected2>", RequireName, XmlOtherName, "", ">"},
    {"<a><b></c></a>x", SkipElement, XmlDone, "a", "x"},
    {"<a></b>x", SkipElement, XmlBroken, "a", "x"},
};

TEST(XmlReaderTest, StartTagsAreFoundBehindBlanksCommentsAndInstructions) {
    for (const StartTagCase& row : kStartTags) {
        SCOPED_TRACE(row.input);
        XmlReader reader = ReaderOf(row.input);
        XmlElement element{row.input.data(), row.input.data(), {row.input.data(), 1}};
        EXPECT_EQ(reader.NextStartTag(element, row.flags, "expected"), row.code);
        EXPECT_EQ(element.name.View(), row.name);
        EXPECT_TRUE(StandsBefore(reader, row.rest));
    }
    constexpr std::string_view kMarked = "\xEF\xBB\xBF<a>";
    EXPECT_EQ(XmlReader(kMarked.data(), 6, true).PeekKind(), TokenStartTag);
    EXPECT_EQ(XmlReader(kMarked.data(), 6, false).PeekKind(), TokenText);
    EXPECT_EQ(XmlReader(kMarked.data(), 2, true).PeekKind(), TokenText);
}

struct AttributeCase {
    std::string_view tag;
    std::int32_t code;
    std::string_view list;
};
constexpr AttributeCase kAttributes[] = {
    {"<a>", XmlDone, ""},
    {"<a >", XmlDone, ""},
    {"<a b>", XmlMalformed, ""},
    {"<a b=>", XmlMalformed, ""},
    {"<a b=\">", XmlMalformed, ""},
    {"<a/b=\"1\">", XmlDone, ""},
    {"<a\tb=\"1\" ?>", XmlDone, "b=1;"},
    {"<a b='1'/c='2'>", XmlDone, "b=1;"},
    {"<a b='1'c='2'>", XmlMalformed, "b=1;"},
    {"<a b = '1'\tc=\"2'\" >", XmlDone, "b=1;c=2';"},
    {"<a b='1' b='&lt;&#x32;<'>", XmlDone, "b=1;b=<2<;"},
    {"<a b=\"1\">", XmlDone, "b=1;"},
    {"<a b=\"1\"\">", XmlMalformed, "b=1;"},
    {"<a b='x>y'>", XmlMalformed, ""},
    {"<a b=1>", XmlMalformed, ""},
    {"<a b='>", XmlMalformed, ""},
    {"<a b\xC3='1'>", XmlMalformed, ""},
    {"<a\xC3\xA9 b='1'>", XmlMalformed, ""},
};

TEST(XmlReaderTest, AttributesAreReadFromTheirElementAlone) {
    XmlAttributeList attributes;   // one for all, as a load has it
    for (const AttributeCase& row : kAttributes) {
        SCOPED_TRACE(row.tag);
        const auto exact = ExactCopy(row.tag);
        XmlReader reader = ReaderOf({exact.get(), row.tag.size()});
        XmlElement element;
        ASSERT_EQ(reader.NextStartTag(element, 0, nullptr), XmlDone);
        EXPECT_EQ(XmlReader::ReadAttributes(element, attributes), row.code);
        std::string list;
        for (const XmlAttribute& attribute : attributes) list += attribute.name + "=" + attribute.value + ";";
        EXPECT_EQ(list, row.list);
        std::string first;
        const bool found = row.list.starts_with("b=1;");
        EXPECT_EQ(XmlReader::ReadAttribute(element, "b", first), row.code < 0 || found ? row.code : XmlNone);
        EXPECT_EQ(first, found ? "1" : "") << "the first of the name";
    }
    EXPECT_EQ(XmlReader::ReadAttributes(XmlElement(), attributes), XmlDone);
    std::string none = "old";
    EXPECT_EQ(XmlReader::ReadAttribute(XmlElement(), "b", none), XmlNone);
    EXPECT_EQ(none, "");
}

struct TextCase {
    std::string_view input;
    bool found;
    std::string_view text;
    std::string_view rest;
};
constexpr TextCase kTexts[] = {
    {" a &amp; b <", true, " a & b ", "<"},
    {"a<!-- - -->b<?p?>c<b/>d", true, "abc", "<b/>d"},
    {"<![CDATA[ &lt;x]]]>&lt;</a>", true, " &lt;x]<", "</a>"},
    {"\n<![CDATA[x]]> <b/>", true, "\nx ", "<b/>"},
    {" <![CDATA[ ]]> ", false, "   ", ""},
    {"a<![CDATA[b", true, "a", ""},
    {"a<!x>", true, "a", "<!x>"},
};

TEST(XmlReaderTest, TextIsJoinedOverCommentsInstructionsAndSections) {
    for (const TextCase& row : kTexts) {
        SCOPED_TRACE(row.input);
        const auto exact = ExactCopy(row.input);
        XmlReader reader = ReaderOf({exact.get(), row.input.size()});
        std::string text = "old";
        EXPECT_EQ(reader.ReadText(text, true), row.found);
        EXPECT_EQ(text, row.text);
        EXPECT_TRUE(StandsBefore(reader, row.rest));
    }
}

struct CloseCase {
    std::string_view input;   // from the start tag on
    std::int32_t code;
    std::uint32_t size;   // of the content
    std::string_view rest;
};
constexpr CloseCase kCloses[] = {
    {"<a/>x", XmlDone, 0, "x"},
    {"<a/ ></a>x", XmlDone, 0, "x"},
    {"<a>t<b c='/'/><b></c>&</a \n>x", XmlDone, 19, "x"},
    {"<a><!-- </a> --><![CDATA[</a>]]><?</a>?></a>x", XmlDone, 37, "x"},
    {"<a>x/a></a>y", XmlDone, 4, "y"},
    {"<a><ba></ba></a>y", XmlDone, 9, "y"},
    {"<a></b>x", XmlBroken, 0, "x"},
    {"<a></aa>x", XmlBroken, 0, "x"},
    {"<a></", XmlMalformed, 0, ""},
    {"<a></a", XmlMalformed, 0, ""},
    {"<a></a x>", XmlMalformed, 0, "x>"},
    {"<a><!x></a>", XmlBroken, 0, "<!x></a>"},
    {"<a><!-- </a>", XmlNoStartTag, 0, ""},
    {"<a><b", XmlBroken, 0, ""},
    {"<a><\xC3></a>", XmlMalformed, 0, "\xC3></a>"},
};

TEST(XmlReaderTest, ClosingSkipsTheRestAndComparesTheElementsOwnNameAlone) {
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
        EXPECT_TRUE(StandsBefore(reader, row.rest));
    }
    std::string deep;
    for (int level = 0; level < 1000000; ++level) deep += "<a>";
    XmlReader reader = ReaderOf(deep);
    XmlElement element;
    EXPECT_EQ(reader.NextStartTag(element, SkipElement, nullptr), XmlNoStartTag);
}

TEST(XmlReaderTest, ATokenIsTakenOnlyAsTheKindItIs) {
    ByteSlice token;
    EXPECT_EQ(ReaderOf(" <!-- x -- y -->z").ReadToken(TokenComment, token), XmlDone);
    EXPECT_EQ(token.View(), " x ");
    EXPECT_EQ(ReaderOf("<!--->").ReadToken(TokenComment, token), XmlMalformed);
    EXPECT_EQ(ReaderOf("<?x?>").ReadToken(TokenComment, token), XmlWrongToken);
    EXPECT_EQ(ReaderOf("x").ReadToken(TokenText, token), XmlWrongToken);
    EXPECT_EQ(ReaderOf("x").ReadToken(TokenEnd, token), XmlNone);
    std::uint32_t length = 99;   // a terminator of one byte is counted to what stands in front of it
    EXPECT_EQ(ReaderOf("ab>c").ScanUntil(">", length), XmlDone);
    EXPECT_EQ(length, 3U);
    EXPECT_EQ(ReaderOf("a]]]>c").ScanUntil("]]>", length), XmlDone);
    EXPECT_EQ(length, 2U);
    EXPECT_EQ(ReaderOf(" </a\t>").SkipToken(TokenEndTag), XmlDone);
    EXPECT_EQ(ReaderOf("</ a>").SkipToken(TokenEndTag), XmlMalformed);
    EXPECT_EQ(ReaderOf("a>").SkipToken(TokenEndTag), XmlBroken);
}

struct DecodeCase {
    std::string_view input;
    std::string_view output;   // "=": unchanged
    bool understood = true;
};
constexpr DecodeCase kDecodes[] = {
    {"&lt;&gt;&amp;&apos;&quot;", "<>&'\""},
    {"&#65;&#X41;", "A&#X41;", false},
    {"&#x7f;&#x80;&#x7fF;&#x800;&#65535;", "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
    {"&#xafAF;", "\xEA\xBE\xAF"},
    {"a&#x1F600;b", "ab"},
    {"&#x100000041;", "A"},
    {"&#0;&#x;&#;&;&a;", "="},
    {"&foo;&quux;", "="},
    {"&nbsp2;", "=", false},
    {"&#-1;", "=", false},
    {"a & b &amp; c;&lt;", "a & b &amp; c;<", false},
    {"&lt; & more", "< & more"},
};

TEST(XmlReaderTest, ReferencesAreReplacedOrLeftAsTheyAre) {
    for (const DecodeCase& row : kDecodes) {
        SCOPED_TRACE(row.input);
        std::string output = "+";
        EXPECT_EQ(DecodeEntities(row.input.data(), static_cast<std::int32_t>(row.input.size()), output),
                  row.understood);
        EXPECT_EQ(output, "+" + std::string(row.output == "=" ? row.input : row.output));
    }
}

/// Reads everything as the loading of any document does; the first failure, or 0.
std::int32_t ReadAll(XmlReader& reader) {
    XmlElement element;
    XmlAttributeList attributes;
    std::string text;
    for (;;) {
        std::int32_t code = reader.NextStartTag(element, ReportText, nullptr);
        if (code == TokenText || code == TokenCData) static_cast<void>(reader.ReadText(text, true));
        if (code != XmlDone) return code < 0 ? code : 0;
        if ((code = XmlReader::ReadAttributes(element, attributes)) < 0) return code;
        if (element.HasContent() && (code = ReadAll(reader)) < 0) return code;
        if ((code = reader.CloseElement(element)) < 0) return code;
    }
}

std::int32_t ReadCopy(std::string_view input) {
    const auto exact = ExactCopy(input);
    XmlReader reader = ReaderOf({exact.get(), input.size()});
    return ReadAll(reader);
}

TEST(XmlReaderTest, NoTruncationOrDamageLeadsOutOfTheInput) {
    const std::string good =
        "<a b='1' c = \"&quot;&#x9;\"><?p q?><d>t&lt;<!-- c --><![CDATA[x]]y]]></d><e/><f g='h' >\n</f >tail<i/></a>";
    EXPECT_EQ(ReadCopy(good), 0);
    for (std::size_t size = 1; size < good.size(); ++size) {
        // `<` alone and the like are no start tag; from the first whole tag on the loss is always noticed.
        EXPECT_EQ(ReadCopy(good.substr(0, size)) < 0, size > 1) << size;
    }
    for (std::string bad = good; char& byte : bad) {
        const char kept = byte;
        for (const char other : {'<', '>', '/', '&', '\'', '"', '-', ']', '!', '?', ' ', '\0', '\xC3'}) {
            byte = other;
            static_cast<void>(ReadCopy(bad));   // many of them read well: what counts is where they look
        }
        byte = kept;
    }
}

}   // namespace
}   // namespace arbor::module
