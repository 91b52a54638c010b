#include "document/xml_writer.h"

#include <algorithm>
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

constexpr std::uint64_t InEachByte(unsigned byte) { return byte * std::uint64_t{0x0101010101010101}; }

/// Non-zero if a byte of the word is 0, or below a limit of at most 0x80; what the borrow adds lies above a true one.
constexpr std::uint64_t HasByteBelow(std::uint64_t word, unsigned limit) {
    return (word - InEachByte(limit)) & ~word & InEachByte(0x80);
}

/// Whether one of eight bytes may have an escape. Each pair of neighbours, `&` and `'`, `<` and `>`, differs in one
/// bit.
constexpr bool MayHaveEscape(std::uint64_t word) {
    return (HasByteBelow(word, 0x20) | HasByteBelow(word ^ InEachByte('"'), 1) |
            HasByteBelow((word & InEachByte(0xFE)) ^ InEachByte('&'), 1) |
            HasByteBelow((word & InEachByte(0xFD)) ^ InEachByte('<'), 1)) != 0;
}

template <class Word>
std::uint64_t LoadAs(const char* at) {
    Word word = 0;
    std::memcpy(&word, at, sizeof word);
    return word;
}

/// The first byte that has an escape, or `last`.
const char* FindEscape(const char* at, const char* last) {
    for (;;) {
        constexpr std::ptrdiff_t kWord = sizeof(std::uint64_t);
        while (last - at >= kWord && !MayHaveEscape(LoadAs<std::uint64_t>(at))) at += kWord;
        const char* const stop = at + std::min(last - at, kWord);
        for (; at != stop; ++at) {
            if (kEscapes[static_cast<unsigned char>(*at)].length != 0) return at;
        }
        if (at == last) return last;
    }
}

/// The last word overlaps the one before it, so that no byte is looked at alone but in a text of less than half a word.
bool NeedsEscape(std::string_view text) {
    constexpr std::size_t kWord = sizeof(std::uint64_t);
    constexpr std::size_t kHalf = sizeof(std::uint32_t);
    const char* at = text.data();
    const char* const last = at + text.size();
    if (text.size() < kHalf) return FindEscape(at, last) != last;
    if (text.size() < kWord) {
        return MayHaveEscape(LoadAs<std::uint32_t>(at) | LoadAs<std::uint32_t>(last - kHalf) << 32);
    }
    for (; static_cast<std::size_t>(last - at) > kWord; at += kWord) {
        if (MayHaveEscape(LoadAs<std::uint64_t>(at))) return true;
    }
    return MayHaveEscape(LoadAs<std::uint64_t>(last - kWord));
}

char* Put(char* target, std::string_view text) {
    std::memcpy(target, text.data(), text.size());
    return target + text.size();
}

}   // namespace

void EscapeXml(const char* data, std::int32_t length, std::string& output) {
    const char* const last = data + (length == -1 ? std::strlen(data) : static_cast<std::uint32_t>(length));
    const char* run = data;
    for (const char* at = FindEscape(data, last); at != last; at = FindEscape(run, last)) {
        const Escape& escape = kEscapes[static_cast<unsigned char>(*at)];
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

void XmlWriter::WriteElementLine(std::int32_t indent, std::string_view element, std::string_view attribute,
                                 std::string_view value, std::string_view text) {
    if (NeedsEscape(value) || NeedsEscape(text)) {
        WriteIndent(indent, ' ');
        OpenTag(element);
        WriteAttribute(attribute, value.data(), static_cast<std::int32_t>(value.size()));
        CloseTag();
        EscapeXml(text.data(), static_cast<std::int32_t>(text.size()), *output);
        WriteEndTag(element);
        return WriteLineEnd();
    }
    // The line's length is known: the string grows once.
    constexpr std::string_view kMarks = "< =\"\"></>\r\n";
    const std::size_t blanks = indent > 0 ? static_cast<std::size_t>(indent) : 0;
    const std::size_t start = output->size();
    output->resize(start + blanks + 2 * element.size() + attribute.size() + value.size() + text.size() + kMarks.size(),
                   ' ');
    char* at = output->data() + start + blanks;
    at = Put(at, "<");
    at = Put(at, element);
    at = Put(at, " ");
    at = Put(at, attribute);
    at = Put(at, "=\"");
    at = Put(at, value);
    at = Put(at, "\">");
    at = Put(at, text);
    at = Put(at, "</");
    at = Put(at, element);
    Put(at, ">\r\n");
}

}   // namespace arbor
