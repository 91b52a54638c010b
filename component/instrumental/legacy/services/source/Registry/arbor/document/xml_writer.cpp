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

/// Eight bytes side by side.
using Octet = std::uint64_t;

constexpr Octet Each(unsigned char byte) { return Octet{0x0101010101010101} * byte; }

template <class Bytes>
Bytes Load(const char* from) {
    Bytes bytes;
    std::memcpy(&bytes, from, sizeof bytes);
    return bytes;
}

/// Whether one of the bytes has an escape, or may have one: a byte above another one that has counts too.
constexpr bool MayHoldEscape(Octet octet) {
    constexpr Octet kTops = Each(0x80);
    // What lies below `limit` borrows the top bit of its byte.
    const auto below = [](Octet bytes, unsigned char limit) { return (bytes - Each(limit)) & ~bytes; };
    Octet found = below(octet, 0x20);
    found |= below(octet ^ Each('"'), 1);
    found |= below((octet | Each(1)) ^ Each('\''), 1);   // and '&', the even one of the pair
    found |= below((octet | Each(2)) ^ Each('>'), 1);    // and '<'
    return (found & kTops) != 0;
}
static_assert(('&' | 1) == '\'' && ('<' | 2) == '>');

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

/// The same for four to eight bytes, in one look at their two ends, which may overlap, where none of them has an
/// escape.
char* EscapeEnds(char* room, const char* data, std::size_t count) {
    using Half = std::uint32_t;
    const Half first = Load<Half>(data);
    const Half last = Load<Half>(data + count - sizeof(Half));
    if (MayHoldEscape(first | Octet{last} << 32)) return EscapeBytes(room, data, count);
    std::memcpy(room, &first, sizeof first);
    std::memcpy(room + count - sizeof last, &last, sizeof last);
    return room + count;
}

char* EscapeInto(char* room, const char* data, std::size_t count) {
    for (; count >= sizeof(Octet); data += sizeof(Octet), count -= sizeof(Octet)) {
        const Octet octet = Load<Octet>(data);
        if (MayHoldEscape(octet)) {
            room = EscapeBytes(room, data, sizeof octet);
        } else {
            std::memcpy(room, &octet, sizeof octet);
            room += sizeof octet;
        }
    }
    return count >= 4 ? EscapeEnds(room, data, count) : EscapeBytes(room, data, count);
}

char* Put(char* room, std::string_view text) {
    std::memcpy(room, text.data(), text.size());
    return room + text.size();
}

}   // namespace

void EscapeXml(const char* data, std::int32_t length, TextBuffer& output) {
    constexpr std::size_t kStepBytes = 256;
    std::size_t left = length == -1 ? std::strlen(data) : static_cast<std::uint32_t>(length);
    while (left != 0) {
        const std::size_t count = std::min(left, kStepBytes);
        char* const room = output.Room(count * sizeof Escape::text);
        output.Extend(static_cast<std::size_t>(EscapeInto(room, data, count) - room));
        data += count;
        left -= count;
    }
}

void XmlWriter::WriteElementLine(std::int32_t indent, std::string_view element, std::string_view attribute,
                                 std::string_view value, std::string_view text) {
    // What is escaped at its longest; a long text would reserve too much by it.
    constexpr std::size_t kLongestEscape = sizeof Escape::text;
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
    char* const room = output->Room(blanks + 2 * element.size() + attribute.size() + kMarks.size() +
                                    (value.size() + text.size()) * kLongestEscape);
    std::memset(room, ' ', blanks);
    char* at = Put(room + blanks, "<");
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
