#include "document/xml_writer.h"

#include "tree/octets.h"

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

constexpr std::size_t kLongestEscape = sizeof Escape::text;

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

/// Whether one of the bytes has an escape, or may have one.
constexpr bool MayHoldEscape(Octet octet) {
    constexpr char kQuotes = 5;   // the bits by which the two quotes, '&', and '#' for one more differ
    constexpr char kAngles = 2;
    static_assert(('"' | kQuotes) == '\'' && ('&' | kQuotes) == '\'' && ('<' | kAngles) == '>');
    return (MarkBelow(octet, 0x20) | MarkByte(octet | Each(kQuotes), '\'') | MarkByte(octet | Each(kAngles), '>')) != 0;
}

/// Escapes byte by byte; the room has space for the longest that each can become.
char* EscapeBytes(char* room, const char* data, std::size_t count) {
    for (const char* const last = data + count; data != last; ++data) {
        const Escape& escape = kEscapes[static_cast<unsigned char>(*data)];
        if (escape.length == 0) {
            *room++ = *data;
        } else {
            std::memcpy(room, escape.text, sizeof escape.text);   // all of it, which costs less than its length
            room += escape.length;
        }
    }
    return room;
}

/// What is written behind the bytes that count: octets go out whole.
constexpr std::size_t kSpareBytes = sizeof(Octet);

/// Escapes `count` bytes, which `octet` holds too, and nothing but bytes without escapes behind them.
char* EscapeOctet(char* room, Octet octet, const char* data, std::size_t count) {
    if (MayHoldEscape(octet)) return EscapeBytes(room, data, count);
    std::memcpy(room, &octet, sizeof octet);
    return room + count;
}

char* EscapeInto(char* room, const char* data, std::size_t count) {
    const char* const last = data + count;
    std::size_t left = count;
    for (; left >= sizeof(Octet); left -= sizeof(Octet)) {
        room = EscapeOctet(room, Load<Octet>(last - left), last - left, sizeof(Octet));
    }
    if (left == 0) return room;
    const bool few = count < sizeof(Octet);
    const Octet rest = few ? LoadFew(data, left) : Load<Octet>(last - sizeof(Octet)) >> 8 * (sizeof(Octet) - left);
    return EscapeOctet(room, rest | Each(' ') << 8 * left, last - left, left);
}

template <class Half>
void CopyEnds(char* room, const char* data, std::size_t count) {
    const Half first = Load<Half>(data);
    const Half last = Load<Half>(data + count - sizeof last);
    std::memcpy(room, &first, sizeof first);
    std::memcpy(room + count - sizeof last, &last, sizeof last);
}

/// Names of elements and attributes are short: copying their two ends costs less than a call.
char* Put(char* room, std::string_view text) {
    const std::size_t count = text.size();
    if (count >= sizeof(std::uint32_t) && count <= sizeof(Octet)) {
        CopyEnds<std::uint32_t>(room, text.data(), count);
    } else if (count > sizeof(Octet) && count <= 2 * sizeof(Octet)) {
        CopyEnds<Octet>(room, text.data(), count);
    } else {
        std::memcpy(room, text.data(), count);
    }
    return room + count;
}

/// So many blanks are always written; an indent is seldom longer.
constexpr std::size_t kUsualBlanks = 64;

char* PutBlanks(char* room, std::size_t count) {
    std::memset(room, ' ', kUsualBlanks);
    if (count > kUsualBlanks) std::memset(room, ' ', count);
    return room + count;
}

}   // namespace

void EscapeXml(const char* data, std::int32_t length, TextBuffer& output) {
    constexpr std::size_t kStepBytes = 256;
    std::size_t left = length == -1 ? std::strlen(data) : static_cast<std::uint32_t>(length);
    while (left != 0) {
        const std::size_t count = std::min(left, kStepBytes);
        char* const room = output.Room(count * kLongestEscape + kSpareBytes);
        output.Extend(static_cast<std::size_t>(EscapeInto(room, data, count) - room));
        data += count;
        left -= count;
    }
}

void XmlWriter::WriteElementLine(std::int32_t indent, std::string_view element, std::string_view attribute,
                                 std::string_view value, std::string_view text) {
    // What is escaped at its longest; a long text would reserve too much by it.
    constexpr std::size_t kUsualBytes = 4096;
    if (value.size() + text.size() > kUsualBytes) {
        WriteIndent(indent, ' ');
        OpenTag(element);
        WriteAttribute(attribute, value.data(), static_cast<std::int32_t>(value.size()));
        CloseTag();
        WriteEscaped(text.data(), static_cast<std::int32_t>(text.size()));
        WriteEndTag(element);
        return WriteLineEnd();
    }
    constexpr std::string_view kMarks = "< =\"\"></>\r\n";
    const std::size_t blanks = indent > 0 ? static_cast<std::size_t>(indent) : 0;
    char* const room = output->Room(blanks + kUsualBlanks + 2 * element.size() + attribute.size() + kMarks.size() +
                                    (value.size() + text.size()) * kLongestEscape + kSpareBytes);
    char* at = Put(PutBlanks(room, blanks), "<");
    at = Put(at, element);
    at = Put(at, " ");
    at = Put(at, attribute);
    at = Put(at, "=\"");
    at = EscapeInto(at, value.data(), value.size());
    at = Put(at, "\">");
    at = EscapeInto(at, text.data(), text.size());
    at = Put(at, "</");
    at = Put(at, element);
    at = Put(at, ">\r\n");
    output->Extend(static_cast<std::size_t>(at - room));
}

}   // namespace arbor
