/// Pieces of XML, appended to a text. The writer keeps no stack of open elements and checks nothing: a well-formed
/// document is its caller's work. Every operation throws what the text's growth throws, with the output left as far as
/// it got. A writer belongs to one thread.
#pragma once

#include "document/text_buffer.h"

#include <cstdint>
#include <string_view>

namespace arbor {

/// Appends the bytes as text that a reader gives back unchanged, but for 0 bytes, in attributes and between tags alike;
/// a `length` of -1 means up to the first 0 byte. Line ends and all bytes from 0x7F up stay as they are.
void EscapeXml(const char* data, std::int32_t length, TextBuffer& output);

class XmlWriter {
public:
    /// `target` belongs to the caller and must outlive the writer.
    explicit XmlWriter(TextBuffer& target) : output(&target) {}

    /// `byte`, `count` times; nothing for a count of 0 or below.
    void WriteIndent(std::int32_t count, char byte) {
        if (count > 0) output->Append(static_cast<std::size_t>(count), byte);
    }

    /// Names go out unchanged, values and texts escaped; lengths are those of `EscapeXml`.
    void OpenTag(std::string_view name) {
        output->Append('<');
        output->Append(name);
    }
    void WriteAttribute(std::string_view name, const char* value, std::int32_t length) {
        output->Append(' ');
        output->Append(name);
        output->Append("=\"");
        EscapeXml(value, length, *output);
        output->Append('"');
    }
    void CloseTag() { output->Append('>'); }
    void WriteEscaped(const char* text, std::int32_t length) { EscapeXml(text, length, *output); }
    void WriteEndTag(std::string_view name) {
        output->Append("</");
        output->Append(name);
        output->Append('>');
    }

    /// Carriage return and line feed.
    void WriteLineEnd() { output->Append("\r\n"); }

    /// All of these for an element that stands on a line of its own with one attribute and its text.
    void WriteElementLine(std::int32_t indent, std::string_view element, std::string_view attribute,
                          std::string_view value, std::string_view text);

private:
    TextBuffer* output;
};

}   // namespace arbor
