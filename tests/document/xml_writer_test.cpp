#include "document/xml_writer.h"

#include "document/xml_entities.h"

#include <gtest/gtest.h>

#include <new>
#include <random>

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

TEST(XmlWriterTest, WhatIsEscapedReadsBackTheSame) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    for (int run = 0; run < 2000; ++run) {
        std::string raw, back;
        TextBuffer buffer;
        // Every other text has few escapes, so that whole runs of it go out as they are.
        const unsigned first = run % 2 == 0 ? 1 : '!';
        const unsigned count = run % 2 == 0 ? 255 : '~' - '!';
        for (std::size_t size = random() % 300; raw.size() < size;) raw += static_cast<char>(random() % count + first);
        EscapeXml(raw.c_str(), -1, buffer);
        const std::string escaped(buffer.View());
        EXPECT_EQ(escaped.find_first_of("<>\"'\t"), std::string::npos);
        ASSERT_TRUE(DecodeEntities(escaped.c_str(), -1, back));
        ASSERT_EQ(back, raw);
    }
}

}   // namespace
}   // namespace arbor::module
