/// Pieces of XML, appended to a byte string. The writer keeps no stack of open elements and checks nothing: a
/// well-formed document is its caller's work. Every operation throws what the string's allocation throws, with the
/// output left as far as it got. A writer belongs to one thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace arbor {

/// Appends the bytes as text that a reader gives back unchanged, but for 0 bytes, in attributes and between tags alike;
/// a `length` of -1 means up to the first 0 byte. Line ends and all bytes from 0x7F up stay as they are.
void EscapeXml(const char* data, std::int32_t length, std::string& output);

class XmlWriter {
public:
    /// `target` belongs to the caller and must outlive the writer.
    explicit XmlWriter(std::string& target) : output(&target) {}

    /// `byte`, `count` times; nothing for a count of 0 or below.
    void WriteIndent(std::int32_t count, char byte);

    /// Names go out unchanged, values and texts escaped; lengths are those of `EscapeXml`.
    void OpenTag(std::string_view name);
    void WriteAttribute(std::string_view name, const char* value, std::int32_t length);
    void CloseTag();
    void WriteEscaped(const char* text, std::int32_t length);
    void WriteEndTag(std::string_view name);

    /// Carriage return and line feed.
    void WriteLineEnd();

    /// All of these for an element that stands on a line of its own with one attribute and its text.
    void WriteElementLine(std::int32_t indent, std::string_view element, std::string_view attribute,
                          std::string_view value, std::string_view text);

private:
    std::string* output;
};

}   // namespace arbor
