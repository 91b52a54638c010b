#include "document/xml_writer.h"

#include "document/xml_entities.h"

#include <gtest/gtest.h>

#include <new>

namespace arbor::module {
namespace {

TEST(XmlWriterTest, PiecesAppendTheirBytesAndNoMore) {
    TextBuffer output;
    output.Append("+");
    XmlWriter writer(output);
    writer.WriteIndent(-1, ' ');
    writer.WriteIndent(1, ' ');
    writer.OpenTag("key");
    writer.WriteAttribute("name", "a<b>\"c\"&'d'", -1);
    writer.WriteAttribute("none", "x", 0);
    writer.CloseTag();
    writer.WriteEscaped("\"<\0\t\x1F\r\n\x7F\xC3\xA9", 10);
    writer.WriteEndTag("key");
    writer.WriteLineEnd();
    EXPECT_EQ(output.View(),
              "+ <key name=\"a&lt;b&gt;&quot;c&quot;&amp;&apos;d&apos;\" none=\"\">"
              "&quot;&lt;&#x0;&#x9;&#x1F;\r\n\x7F\xC3\xA9</key>\r\n");
}

TEST(XmlWriterTest, EscapingStaysWithinTheCapacity) {
    // A buffer's first capacity is 16 KiB: some of these escapes end at its last byte.
    for (std::size_t filled = 16 * 1024 - 100; filled <= 16 * 1024; ++filled) {
        TextBuffer line, escaped;
        line.AppendRepeated(filled, '+');
        escaped.AppendRepeated(filled, '+');
        XmlWriter(line).WriteElementLine(2, "e", "n", "\"", "<\">");
        EXPECT_EQ(line.View().substr(filled), "  <e n=\"&quot;\">&lt;&quot;&gt;</e>\r\n");
        EscapeXml("\"\"\"\"\"\"\"\"\"", -1, escaped);
        EXPECT_EQ(escaped.View().substr(filled), "&quot;&quot;&quot;&quot;&quot;&quot;&quot;&quot;&quot;");
    }
    TextBuffer output;
    output.Append(std::string(100000, '+'));
    output.Append(std::string(500000, '-'));
    EXPECT_EQ(output.View(), std::string(100000, '+') + std::string(500000, '-'));
    EXPECT_THROW(static_cast<void>(output.PrepareWrite(TextBuffer::kMaxBytes - output.SizeBytes() + 1)),
                 std::bad_alloc);
    EXPECT_EQ(output.SizeBytes(), 600000U);
}

}   // namespace
}   // namespace arbor::module
