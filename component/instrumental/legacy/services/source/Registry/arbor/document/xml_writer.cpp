#include "document/xml_writer.h"

#include <array>
#include <cstddef>
#include <cstring>

namespace arbor {
namespace {

/// What stands for a byte; a length of 0 is the byte itself.
struct Escape {
    std::uint8_t length = 0;
    char text[7] = {};
};

using EscapeTable = std::array<Escape, 256>;

constexpr void SetEscape(EscapeTable& escapes, unsigned byte, std::string_view text) {
    for (const char c : text) escapes[byte].text[escapes[byte].length++] = c;
}

constexpr EscapeTable kEscapes = [] {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    EscapeTable escapes{};
    for (unsigned byte = 0; byte < 0x20; ++byte) {
        if (byte == '\n' || byte == '\r') continue;
        SetEscape(escapes, byte, "&#x");
        if (byte >= 0x10) SetEscape(escapes, byte, "1");
        SetEscape(escapes, byte, kDigits.substr(byte % 16, 1));
        SetEscape(escapes, byte, ";");
    }
    SetEscape(escapes, '"', "&quot;");
    SetEscape(escapes, '&', "&amp;");
    SetEscape(escapes, '\'', "&apos;");
    SetEscape(escapes, '<', "&lt;");
    SetEscape(escapes, '>', "&gt;");
    return escapes;
}();

}   // namespace

void EscapeXml(const char* data, std::int32_t length, std::string& output) {
    const char* const last = data + (length == -1 ? std::strlen(data) : static_cast<std::uint32_t>(length));
    const char* run = data;
    for (const char* at = data; at != last; ++at) {
        const Escape& escape = kEscapes[static_cast<unsigned char>(*at)];
        if (escape.length == 0) continue;
        output.append(run, static_cast<std::size_t>(at - run));
        output.append(escape.text, escape.length);
        run = at + 1;
    }
    output.append(run, static_cast<std::size_t>(last - run));
}

void XmlWriter::WriteIndent(std::int32_t count, char byte) {
    if (count > 0) output->append(static_cast<std::size_t>(count), byte);
}

void XmlWriter::OpenTag(std::string_view name) {
    *output += '<';
    *output += name;
}

void XmlWriter::WriteAttribute(std::string_view name, const char* value, std::int32_t length) {
    *output += ' ';
    *output += name;
    *output += "=\"";
    EscapeXml(value, length, *output);
    *output += '"';
}

void XmlWriter::CloseTag() { *output += '>'; }

void XmlWriter::WriteEscaped(const char* text, std::int32_t length) { EscapeXml(text, length, *output); }

void XmlWriter::WriteEndTag(std::string_view name) {
    *output += "</";
    *output += name;
    *output += '>';
}

void XmlWriter::WriteLineEnd() { *output += "\r\n"; }

}   // namespace arbor
