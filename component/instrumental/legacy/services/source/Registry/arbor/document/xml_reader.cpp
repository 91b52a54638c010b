#include "document/xml_reader.h"

#include "tree/octets.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <new>

namespace arbor {
namespace {

enum CharacterClass : std::uint8_t {
    Space = 1,
    NameStart = 2,
    NameChar = 4,
};

/// The classes of XML 1.0 for the characters below 256, which is all that a byte can be asked for.
constexpr std::array<std::uint8_t, 256> kClasses = [] {
    std::array<std::uint8_t, 256> classes{};
    const auto add = [&classes](unsigned first, unsigned last, unsigned bits) {
        for (unsigned byte = first; byte <= last; ++byte)
            classes[byte] = static_cast<std::uint8_t>(classes[byte] | bits);
    };
    add('\t', '\n', Space);
    add('\r', '\r', Space);
    add(' ', ' ', Space);
    add(':', ':', NameStart | NameChar);
    add('A', 'Z', NameStart | NameChar);
    add('_', '_', NameStart | NameChar);
    add('a', 'z', NameStart | NameChar);
    add(0xC0, 0xD6, NameStart | NameChar);
    add(0xD8, 0xF6, NameStart | NameChar);
    add(0xF8, 0xFF, NameStart | NameChar);
    add('-', '.', NameChar);
    add('0', '9', NameChar);
    add(0xB7, 0xB7, NameChar);
    return classes;
}();

constexpr bool Is(char byte, CharacterClass wanted) {
    return (kClasses[static_cast<unsigned char>(byte)] & wanted) != 0;
}

constexpr bool IsAscii(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

/// Names begin with ASCII, and those of attributes consist of it.
constexpr bool IsAsciiNameStart(char byte) { return IsAscii(byte) && Is(byte, NameStart); }
constexpr bool IsAsciiNameChar(char byte) { return IsAscii(byte) && Is(byte, NameChar); }

bool HoldsOctet(const char* at, const char* last) { return static_cast<std::size_t>(last - at) >= sizeof(Octet); }

/// Behind the blanks of an indent.
const char* PassIndent(const char* at, const char* last) {
    for (; HoldsOctet(at, last); at += sizeof(Octet)) {
        const Octet other = Load<Octet>(at) ^ Each(' ');
        if (other != 0) return at + FirstMark(other);
    }
    while (at != last && *at == ' ') ++at;
    return at;
}

/// Where something else than white space stands.
const char* PassLongSpace(const char* at, const char* last) {
    for (;; ++at) {
        at = PassIndent(at, last);
        if (at == last || !Is(*at, Space)) return at;
    }
}

/// The same where mostly one blank or none is to pass.
inline const char* PassSpace(const char* at, const char* last) {
    if (at == last || !Is(*at, Space)) return at;
    ++at;
    return at == last || !Is(*at, Space) ? at : PassLongSpace(at, last);
}

bool IsBlankText(const ByteSlice& text) {
    return PassSpace(text.data, text.data + text.length) == text.data + text.length;
}

/// The first such byte, or `last`.
const char* FindByte(const char* first, const char* last, char byte) {
    if (first == last) return last;
    const void* found = std::memchr(first, byte, static_cast<std::size_t>(last - first));
    return found != nullptr ? static_cast<const char*>(found) : last;
}

/// The first byte that `marks` marks in its octet, or `last`.
template <class Marks>
const char* FindMarked(const char* at, const char* last, Marks marks) {
    // Two octets in one step: most of what is looked for lies in the first step then, which the processor can foretell.
    constexpr std::size_t kStep = 2 * sizeof(Octet);
    for (; static_cast<std::size_t>(last - at) >= kStep; at += kStep) {
        const Octet lower = marks(Load<Octet>(at));
        const Octet upper = marks(Load<Octet>(at + sizeof(Octet)));
        if ((lower | upper) == 0) continue;
        return lower != 0 ? at + FirstMark(lower) : at + sizeof(Octet) + FirstMark(upper);
    }
    for (; HoldsOctet(at, last); at += sizeof(Octet)) {
        if (const Octet found = marks(Load<Octet>(at)); found != 0) return at + FirstMark(found);
    }
    if (at == last) return last;
    const Octet found = marks(LoadFew(at, static_cast<std::size_t>(last - at)));
    return found != 0 ? std::min(at + FirstMark(found), last) : last;   // zeroes behind the last may be marked
}

/// Behind `literal`, or null if it doesn't stand there; null stays null.
template <std::size_t Size>
const char* PassLiteral(const char* at, const char* last, const char (&literal)[Size]) {
    constexpr std::size_t kLength = Size - 1;
    if (at == nullptr || static_cast<std::size_t>(last - at) < kLength) return nullptr;
    return std::memcmp(at, literal, kLength) == 0 ? at + kLength : nullptr;
}

/// The same for a text that isn't known here.
const char* PassText(const char* at, const char* last, std::string_view text) {
    if (at == nullptr || static_cast<std::size_t>(last - at) < text.size()) return nullptr;
    return SameBytes(at, text.data(), text.size()) ? at + text.size() : nullptr;
}

/// Behind the end tag of that name, written without a blank; else null.
const char* PassEndTag(const char* at, const char* last, std::string_view name) {
    return PassLiteral(PassText(PassLiteral(at, last, "</"), last, name), last, ">");
}

ByteSlice SliceOf(const char* first, const char* last) { return {first, static_cast<std::uint32_t>(last - first)}; }

struct TokenMarks {
    TokenKind kind;
    std::string_view opening;
    std::string_view closing;
};

constexpr TokenMarks kTokenMarks[] = {
    {TokenComment, "<!--", "--"},
    {TokenCData, "<![CDATA[", "]]>"},
    {TokenInstruction, "<?", "?>"},
};

struct NamedReference {
    std::string_view name;
    char byte;
};

constexpr NamedReference kNamedReferences[] = {
    {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"apos", '\''}, {"quot", '"'},
};

/// The longest name that passes for somebody else's entity; a longer one is taken for a mistake.
constexpr std::size_t kLongestForeignName = 4;

constexpr unsigned kNoDigit = 16;

constexpr unsigned DigitOf(char c) {
    if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
    if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A') + 10;
    if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a') + 10;
    return kNoDigit;
}

/// What a reference stands for: a byte or a code point to put in its place, or the reference itself.
struct Replacement {
    bool replaced = false;
    bool understood = true;
    std::uint32_t codePoint = 0;
};

/// `digits` is the body behind its "#". Numbers too large for 32 bits wrap; 0 stands for nothing that a text could
/// hold.
Replacement ReplaceNumber(std::string_view digits) {
    const unsigned base = digits.front() == 'x' ? 16 : 10;
    if (base == 16) digits.remove_prefix(1);
    std::uint32_t number = 0;
    for (const char c : digits) {
        const unsigned digit = DigitOf(c);
        if (digit >= base) return {false, false};
        number = number * base + digit;
    }
    return {number != 0, true, number};
}

Replacement ReplaceReference(std::string_view body) {
    if (body.size() < 2) return {};
    if (body.front() == '#') return ReplaceNumber(body.substr(1));
    for (const NamedReference& reference : kNamedReferences) {
        if (reference.name == body) return {true, true, static_cast<unsigned char>(reference.byte)};
    }
    return {false, body.size() <= kLongestForeignName};
}

bool Decode(std::string_view text, std::string& output) {
    const char* const last = text.data() + text.size();
    bool understood = true;
    const char* run = text.data();
    for (;;) {
        const char* const mark = FindByte(run, last, '&');
        const char* const stop = FindByte(mark, last, ';');
        if (stop == last) {
            output.append(run, static_cast<std::size_t>(last - run));
            return understood;
        }
        const Replacement found = ReplaceReference({mark + 1, static_cast<std::size_t>(stop - mark) - 1});
        understood = understood && found.understood;
        output.append(run, static_cast<std::size_t>((found.replaced ? mark : stop + 1) - run));
        if (found.replaced) AppendUtf8(found.codePoint, output);
        run = stop + 1;
    }
}

constexpr std::int32_t kDeepest = std::numeric_limits<std::int32_t>::max();

/// What the walk over skipped content asks of `NextStartTag`.
constexpr std::uint32_t kSkipFlags = DemandStartTag;

}   // namespace

XmlAttribute& XmlAttributeList::Add() {
    if (count == slots.size()) slots.emplace_back();
    XmlAttribute& attribute = slots[count++];
    attribute.name.clear();
    attribute.value.clear();
    return attribute;
}

XmlReader::XmlReader(const char* start, std::uint32_t size, bool skipMark)
    : position(start), end(start + size), gap{start, 0} {
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    if (skipMark) position += MatchAt(kMark);
}

bool XmlReader::StandsAtStartTag() const {
    return end - position > 1 && *position == '<' && Is(position[1], NameStart);
}

bool XmlReader::StandsAtEndTag() const { return end - position > 1 && *position == '<' && position[1] == '/'; }

TokenKind XmlReader::PeekKind() const {
    if (position >= end) return TokenEnd;
    if (*position != '<') return TokenText;
    if (end - position == 1) return TokenOther;
    if (StandsAtEndTag()) return TokenEndTag;
    if (StandsAtStartTag()) return TokenStartTag;
    for (const TokenMarks& marks : kTokenMarks) {
        if (MatchAt(marks.opening) != 0) return marks.kind;
    }
    return TokenOther;
}

void XmlReader::SkipSpace() { position = PassSpace(position, end); }

std::uint32_t XmlReader::MatchAt(std::string_view literal) const {
    if (static_cast<std::size_t>(end - position) < literal.size()) return 0;
    return std::memcmp(position, literal.data(), literal.size()) == 0 ? static_cast<std::uint32_t>(literal.size()) : 0;
}

std::int32_t XmlReader::ReadName(ByteSlice& name) {
    if (position >= end || !IsAsciiNameStart(*position)) return XmlMalformed;
    const char* const first = position++;
    while (position != end && Is(*position, NameChar)) ++position;
    name = SliceOf(first, position);
    return XmlDone;
}

std::int32_t XmlReader::NextStartTag(XmlElement& element, std::uint32_t flags, const char* expected) {
    element = XmlElement();
    SkipSpace();
    TokenKind kind = StandsAtStartTag() ? TokenStartTag : PeekKind();
    while (kind == TokenComment || kind == TokenInstruction) {
        static_cast<void>(SkipToken(kind));   // one without its end has taken the input up, which shows below
        SkipSpace();
        kind = PeekKind();
    }
    if (kind != TokenStartTag) {
        if ((flags & DemandStartTag) != 0) return XmlNoStartTag;
        if ((flags & ReportText) != 0 && (kind == TokenText || kind == TokenCData)) return kind;
        return XmlNone;
    }

    const char* const start = position++;
    ByteSlice name;
    const std::int32_t code = ReadName(name);
    if (code < 0) return code;
    if ((flags & DemandName) != 0 && std::strncmp(name.data, expected, name.length) != 0) return XmlOtherName;
    position = FindByte(position, end, '>');
    if (position == end) return XmlBroken;
    ++position;
    element = {start, position, name};
    return (flags & SkipElement) != 0 ? CloseElement(element) : XmlDone;
}

namespace {

/// What ends a plain attribute's value, or makes it another one.
Octet MarkValueEnd(Octet octet) {
    constexpr char kQuoteOrReference = 4;   // the bit by which the two differ
    static_assert(('"' | kQuoteOrReference) == '&');
    return MarkByte(octet | Each(kQuoteOrReference), '&') | MarkByte(octet, '>') | MarkByte(octet, '\0');
}

}   // namespace

/// Lines that follow one another mostly begin with the same blanks, which takes less to see than to pass them.
void XmlReader::SkipGap() {
    if (static_cast<std::size_t>(end - position) > gap.length && position[gap.length] == '<' &&
        SameBytes(position, gap.data, gap.length)) {
        position += gap.length;
        return;
    }
    const char* const first = position;
    SkipSpace();
    gap = SliceOf(first, position);
}

bool XmlReader::PeekPlainElement(std::string_view opening, XmlPlainElement& element) {
    SkipGap();
    if (position == end || *position != '<') return false;
    const char* const name = position + 1;
    const char* const nameEnd =
        FindMarked(name, end, [](Octet octet) { return MarkByte(octet, ' ') | MarkByte(octet, '>'); });
    const char* const value = PassText(nameEnd, end, opening);
    if (value == nullptr) return false;
    const char* const valueEnd = FindMarked(value, end, MarkValueEnd);
    const char* const text = PassLiteral(valueEnd, end, "\">");
    if (text == nullptr) return false;
    const char* const textEnd = FindByte(text, end, '<');
    element = {SliceOf(name, nameEnd), SliceOf(value, valueEnd), SliceOf(text, textEnd), nullptr};
    element.end = PassEndTag(textEnd, end, element.name.View());
    return element.end != nullptr;
}

std::int32_t XmlReader::ReadEndTag(ByteSlice& name) {
    SkipSpace();
    const std::uint32_t opening = MatchAt("</");
    if (opening == 0) return XmlBroken;
    position += opening;
    const std::int32_t code = ReadName(name);
    if (code < 0) return code;
    SkipSpace();
    if (position == end || *position != '>') return XmlMalformed;
    ++position;
    return XmlDone;
}

bool XmlReader::ReadRawText(ByteSlice& text) {
    const char* const first = position;
    position = FindByte(position, end, '<');
    text = SliceOf(first, position);
    return !IsBlankText(text);
}

bool XmlReader::ReadText(std::string& text, bool allowCData) {
    text.clear();
    bool found = false;
    for (;;) {
        ByteSlice run;
        if (ReadRawText(run)) found = true;
        Decode(run.View(), text);
        if (!allowCData || StandsAtEndTag()) return found;
        const TokenKind kind = PeekKind();
        if (kind == TokenCData) {
            static_cast<void>(
                ReadToken(kind, run));   // a section without its end gives nothing, and the input is at its end
            if (!IsBlankText(run)) found = true;
            text.append(run.View());
        } else if ((kind != TokenComment && kind != TokenInstruction) || SkipToken(kind) < 0) {
            return found;
        }
    }
}

std::int32_t XmlReader::ReadToken(TokenKind kind, ByteSlice& token) {
    token = ByteSlice();
    if (kind == TokenEnd) return XmlNone;
    const auto* const marks = std::find_if(std::begin(kTokenMarks), std::end(kTokenMarks),
                                           [kind](const TokenMarks& row) { return row.kind == kind; });
    if (marks == std::end(kTokenMarks)) return XmlWrongToken;
    SkipSpace();
    if (MatchAt(marks->opening) == 0) return XmlWrongToken;
    position += marks->opening.size();
    const char* const first = position;
    std::uint32_t length = 0;
    std::int32_t code = ScanUntil(marks->closing, length);
    if (code < 0) return code;
    if (kind == TokenComment) {
        std::uint32_t dropped = 0;
        code = ScanUntil(">", dropped);
        if (code < 0) return code;
    }
    token = {first, length};
    return XmlDone;
}

std::int32_t XmlReader::SkipToken(TokenKind kind) {
    XmlElement element;
    ByteSlice slice;
    if (kind == TokenStartTag) return NextStartTag(element, kSkipFlags, nullptr);
    if (kind == TokenEndTag) return ReadEndTag(slice);
    return ReadToken(kind, slice);
}

std::int32_t XmlReader::ScanUntil(std::string_view terminator, std::uint32_t& length) {
    const char* const first = position;
    for (;;) {
        position = FindByte(position, end, terminator.front());
        if (position == end) return XmlMalformed;
        if (MatchAt(terminator) != 0) break;
        ++position;
    }
    position += terminator.size();
    const std::size_t counted = terminator.size() == 1 ? 0 : terminator.size();
    length = static_cast<std::uint32_t>(static_cast<std::size_t>(position - first) - counted);
    return XmlDone;
}

std::int32_t XmlReader::SkipContent(const XmlElement& element, std::uint32_t* size) {
    if (size != nullptr) *size = 0;
    if (!element.HasContent()) return XmlDone;
    const char* const first = position;
    std::int32_t depth = 0;
    for (;;) {
        const TokenKind kind = PeekKind();
        XmlElement inner;
        ByteSlice name;
        std::int32_t code = XmlDone;
        switch (kind) {
            case TokenStartTag:
                code = NextStartTag(inner, kSkipFlags, nullptr);
                if (code != XmlDone) return code;
                if (inner.HasContent() && ++depth == kDeepest) return XmlTooDeep;
                break;
            case TokenEndTag:
                if (depth == 0) {
                    if (size != nullptr) *size = static_cast<std::uint32_t>(position - first);
                    return XmlDone;
                }
                code = ReadEndTag(name);
                if (code != XmlDone) return code;
                --depth;
                break;
            case TokenText:
                position = FindByte(position, end, '<');
                break;
            case TokenEnd:
                return XmlNoStartTag;
            case TokenOther:
                return XmlBroken;
            default:
                static_cast<void>(SkipToken(kind));   // one without its end has taken the input up
                break;
        }
    }
}

std::int32_t XmlReader::CloseElement(const XmlElement& element) {
    if (!element.HasContent()) return XmlDone;
    // What most elements have left.
    if (const char* const behind = PassEndTag(position, end, element.name.View()); behind != nullptr) {
        position = behind;
        return XmlDone;
    }
    std::int32_t code = SkipContent(element, nullptr);
    if (code < 0) return code;
    ByteSlice name;
    code = ReadEndTag(name);
    if (code < 0) return code;
    return element.NameIs(name.View()) ? XmlDone : XmlBroken;
}

namespace {

/// The attributes of a start tag as they stand there. Their names are ASCII, in which no reference can stand.
class AttributeWalk {
public:
    explicit AttributeWalk(const XmlElement& element)
        : at(element.name.data + element.name.length), last(element.end != element.start ? element.end - 1 : at) {}

    /// `XmlNone` behind the last attribute, or `XmlMalformed`.
    std::int32_t Next(std::string_view& name, std::string_view& value) {
        if (at >= last) return XmlNone;
        const char* const gap = at;
        at = PassSpace(at, last);
        if (!IsAsciiNameStart(*at)) return *at == '/' || *at == '>' || *at == '?' ? XmlNone : XmlMalformed;
        if (at == gap) return XmlMalformed;
        const char* const nameStart = at;
        while (IsAsciiNameChar(*at)) ++at;
        name = {nameStart, static_cast<std::size_t>(at - nameStart)};
        at = PassSpace(at, last);
        if (*at != '=') return XmlMalformed;
        at = PassSpace(at + 1, last);
        const char quote = *at;
        if (quote != '\'' && quote != '"') return XmlMalformed;
        const char* const valueStart = at + 1;
        at = FindByte(valueStart, last, quote);
        if (at == last) return XmlMalformed;
        value = {valueStart, static_cast<std::size_t>(at - valueStart)};
        ++at;
        return XmlDone;
    }

private:
    const char* at;
    const char* last;   // the `>`, which stops every run of blanks or name bytes
};

/// The value where the start tag has nothing but this one attribute, with no blank more than it takes; else no data.
std::string_view OnlyAttribute(const XmlElement& element, std::string_view wanted) {
    const char* const last = element.end - 1;
    const char* const gap = element.name.data + element.name.length;
    const char* const value = PassLiteral(PassText(PassLiteral(gap, last, " "), last, wanted), last, "=\"");
    if (value == nullptr) return {};
    const char* const quote = FindByte(value, last, '"');
    return quote + 1 == last ? std::string_view(value, static_cast<std::size_t>(quote - value)) : std::string_view();
}

}   // namespace

std::int32_t XmlReader::ReadAttributes(const XmlElement& element, XmlAttributeList& attributes) {
    attributes.Clear();
    AttributeWalk walk(element);
    std::string_view name;
    std::string_view value;
    std::int32_t code = walk.Next(name, value);
    for (; code == XmlDone; code = walk.Next(name, value)) {
        try {
            XmlAttribute& attribute = attributes.Add();
            attribute.name.assign(name);
            Decode(value, attribute.value);
        } catch (const std::bad_alloc&) {
            return XmlOutOfMemory;
        }
    }
    return code == XmlNone ? XmlDone : code;
}

std::int32_t XmlReader::ReadAttribute(const XmlElement& element, std::string_view wanted, std::string& value) {
    value.clear();
    std::string_view raw = element.end != element.start ? OnlyAttribute(element, wanted) : std::string_view();
    std::int32_t code = XmlNone;
    if (raw.data() == nullptr) {
        AttributeWalk walk(element);
        std::string_view name;
        std::string_view next;
        for (code = walk.Next(name, next); code == XmlDone; code = walk.Next(name, next)) {
            if (raw.data() == nullptr && name == wanted) raw = next;
        }
    }
    try {
        Decode(raw, value);
    } catch (const std::bad_alloc&) {
        return XmlOutOfMemory;
    }
    return code == XmlNone && raw.data() != nullptr ? XmlDone : code;
}

bool DecodeEntities(const char* data, std::int32_t length, std::string& output) {
    return Decode({data, length == -1 ? std::strlen(data) : static_cast<std::uint32_t>(length)}, output);
}

void AppendUtf8(std::uint32_t codePoint, std::string& output) {
    if (codePoint < 0x80) {
        output += static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        output += static_cast<char>(0xC0 | codePoint >> 6);
        output += static_cast<char>(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        output += static_cast<char>(0xE0 | codePoint >> 12);
        output += static_cast<char>(0x80 | (codePoint >> 6 & 0x3F));
        output += static_cast<char>(0x80 | (codePoint & 0x3F));
    }
}

}   // namespace arbor
