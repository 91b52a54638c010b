/// Appends pieces of XML to a text buffer. The writer keeps no stack of open elements and checks nothing: a well-formed
/// document is the caller's task. Every operation may throw std::bad_alloc and leave a part of its output. A writer
/// belongs to one thread.
#pragma once

#include "document/text_buffer.h"
#include "document/xml_escape.h"

#include <cstdint>
#include <string_view>

namespace arbor::module {

class XmlWriter {
public:
    /// The caller owns `target`, which must outlive the writer.
    explicit XmlWriter(TextBuffer& target) : output(&target) {}

    /// Writes `byte` `count` times; nothing for a count of 0 or below.
    void WriteIndent(std::int32_t count, char byte) {
        if (count > 0) output->AppendRepeated(static_cast<std::size_t>(count), byte);
    }

    /// Names are written unchanged, values and texts escaped. A `length` of -1 means up to the first 0 byte.
    void OpenTag(std::string_view name) { output->Append("<", name); }
    void WriteAttribute(std::string_view name, const char* value, std::int32_t length) {
        output->Append(" ", name, "=\"");
        EscapeXml(value, length, *output);
        output->Append("\"");
    }
    void CloseTag() { output->Append(">"); }
    void WriteEscaped(const char* text, std::int32_t length) { EscapeXml(text, length, *output); }
    void WriteEndTag(std::string_view name) { output->Append("</", name, ">"); }

    /// Writes carriage return and line feed.
    void WriteLineEnd() { output->Append("\r\n"); }

    /// Writes all of these: an element with one attribute and text on a line of its own.
    void WriteElementLine(int indent, std::string_view element, std::string_view attribute, std::string_view value,
                          std::string_view text) {
        if (value.size() + text.size() <= kMaxLineBytes) {
            AppendElementLine(static_cast<std::size_t>(indent), element, attribute, value, text, *output);
            return;
        }
        WriteIndent(indent, ' ');
        OpenTag(element);
        WriteAttribute(attribute, value.data(), static_cast<std::int32_t>(value.size()));
        CloseTag();
        WriteEscaped(text.data(), static_cast<std::int32_t>(text.size()));
        WriteEndTag(element);
        WriteLineEnd();
    }

private:
    TextBuffer* output;
};

}   // namespace arbor::module
