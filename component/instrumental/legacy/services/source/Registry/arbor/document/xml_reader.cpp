// The pull reader: tokens, tags, text and attributes. `xml_simple_element.cpp` has its fast path.

#include "document/xml_reader.h"

#include "document/xml_entities.h"
#include "document/xml_scan.h"

#include <component/platform/unicode.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace arbor::module {
namespace {

struct TokenDelimiters {
    TokenKind kind;
    std::string_view opening;
    std::string_view closing;
};

constexpr TokenDelimiters kTokenDelimiters[] = {
    {TokenComment, "<!--", "--"},
    {TokenCData, "<![CDATA[", "]]>"},
    {TokenInstruction, "<?", "?>"},
};

bool IsWhitespace(const ByteSlice& text) {
    const char* const last = EndOf(text);
    return SkipWhitespace(text.data, last) == last;
}

constexpr std::int32_t kMaxSkippedDepth = std::numeric_limits<std::int32_t>::max();

constexpr std::uint32_t kSkipFlags = RequireStartTag;

}   // namespace

void RawText::SkipSpace() { bytes = SliceOf(SkipWhitespace(bytes.data, EndOf(bytes)), EndOf(bytes)); }

void RawText::AppendDecoded(std::string& output) const {
    if (isPlain) {
        output.append(bytes.View());
    } else {
        DecodeEntities(bytes.data, static_cast<std::int32_t>(bytes.length), output);
    }
}

XmlReader::XmlReader(const char* start, std::uint32_t sizeBytes, bool skipByteOrderMark)
    : position(start), end(start + sizeBytes), indent{start, 0} {
    if (skipByteOrderMark) position += MatchAt(platform::kByteOrderMark);
}

bool XmlReader::IsAtStartTag() const { return end - position > 1 && *position == '<' && IsNameStart(position[1]); }

bool XmlReader::IsAtEndTag() const { return end - position > 1 && *position == '<' && position[1] == '/'; }

TokenKind XmlReader::PeekKind() const {
    if (position >= end) return TokenEnd;
    if (*position != '<') return TokenText;
    if (end - position == 1) return TokenOther;
    if (IsAtEndTag()) return TokenEndTag;
    if (IsAtStartTag()) return TokenStartTag;
    for (const TokenDelimiters& row : kTokenDelimiters) {
        if (MatchAt(row.opening) != 0) return row.kind;
    }
    return TokenOther;
}

void XmlReader::SkipSpace() { position = SkipWhitespace(position, end); }

std::uint32_t XmlReader::MatchAt(std::string_view literal) const {
    if (static_cast<std::size_t>(end - position) < literal.size()) return 0;
    return std::memcmp(position, literal.data(), literal.size()) == 0 ? static_cast<std::uint32_t>(literal.size()) : 0;
}

std::int32_t XmlReader::ReadName(ByteSlice& name) {
    if (position >= end || !IsAsciiNameStart(*position)) return XmlMalformed;
    const char* const first = position++;
    while (position != end && IsNameChar(*position)) ++position;
    name = SliceOf(first, position);
    return XmlDone;
}

std::int32_t XmlReader::NextStartTag(XmlElement& element, std::uint32_t flags, const char* expected) {
    element = XmlElement();
    SkipSpace();
    TokenKind kind = IsAtStartTag() ? TokenStartTag : PeekKind();
    while (kind == TokenComment || kind == TokenInstruction) {
        static_cast<void>(SkipToken(kind));   // an unterminated one moves to the end, which is tested next
        SkipSpace();
        kind = PeekKind();
    }
    if (kind != TokenStartTag) {
        if ((flags & RequireStartTag) != 0) return XmlNoStartTag;
        if ((flags & ReportText) != 0 && (kind == TokenText || kind == TokenCData)) return kind;
        return XmlNotFound;
    }

    const char* const start = position++;
    ByteSlice name;
    const std::int32_t code = ReadName(name);
    if (code < 0) return code;
    if ((flags & RequireName) != 0 && std::strncmp(name.data, expected, name.length) != 0) return XmlWrongName;
    position = FindByte(position, end, '>');
    if (position == end) return XmlBadStructure;
    ++position;
    element = {start, position, name};
    return (flags & SkipElement) != 0 ? CloseElement(element) : XmlDone;
}

std::int32_t XmlReader::ReadEndTag(ByteSlice& name) {
    SkipSpace();
    const std::uint32_t opening = MatchAt("</");
    if (opening == 0) return XmlBadStructure;
    position += opening;
    const std::int32_t code = ReadName(name);
    if (code < 0) return code;
    SkipSpace();
    if (position == end || *position != '>') return XmlMalformed;
    ++position;
    return XmlDone;
}

bool XmlReader::ReadRawText(RawText& text) {
    text = FindTextEnd(position, end, '<');
    position = EndOf(text.bytes);
    return !IsWhitespace(text.bytes);
}

bool XmlReader::ReadText(std::string& text, bool allowCData) {
    text.clear();
    bool found = false;
    for (;;) {
        RawText run;
        if (ReadRawText(run)) found = true;
        run.AppendDecoded(text);
        if (!allowCData || IsAtEndTag()) return found;
        const TokenKind kind = PeekKind();
        if (kind == TokenCData) {
            ByteSlice section;
            static_cast<void>(ReadToken(kind, section));   // an unterminated section is empty and moves to the end
            if (!IsWhitespace(section)) found = true;
            text.append(section.View());
        } else if ((kind != TokenComment && kind != TokenInstruction) || SkipToken(kind) < 0) {
            return found;
        }
    }
}

std::int32_t XmlReader::ReadToken(TokenKind kind, ByteSlice& token) {
    token = ByteSlice();
    if (kind == TokenEnd) return XmlNotFound;
    const auto* const delimiters = std::ranges::find(kTokenDelimiters, kind, &TokenDelimiters::kind);
    if (delimiters == std::end(kTokenDelimiters)) return XmlWrongToken;
    SkipSpace();
    if (MatchAt(delimiters->opening) == 0) return XmlWrongToken;
    position += delimiters->opening.size();
    const char* const first = position;
    std::uint32_t length = 0;
    std::int32_t code = ScanUntil(delimiters->closing, length);
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
                if (inner.HasContent() && ++depth == kMaxSkippedDepth) return XmlTooDeep;
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
                return XmlBadStructure;
            default:
                static_cast<void>(SkipToken(kind));   // an unterminated one moves to the end, which is tested next
                break;
        }
    }
}

std::int32_t XmlReader::CloseElement(const XmlElement& element) {
    if (!element.HasContent()) return XmlDone;
    // The usual case: nothing is left but the end tag.
    if (const char* const after = SkipEndTag(position, end, element.name.View()); after != nullptr) {
        position = after;
        return XmlDone;
    }
    std::int32_t code = SkipContent(element, nullptr);
    if (code < 0) return code;
    ByteSlice name;
    code = ReadEndTag(name);
    if (code < 0) return code;
    return element.NameIs(name.View()) ? XmlDone : XmlBadStructure;
}

namespace {

/// Reads the attributes of a start tag one by one, not decoded. Names are ASCII and hold no references.
class AttributeScanner {
public:
    explicit AttributeScanner(const XmlElement& element)
        : at(EndOf(element.name)), last(element.end != element.start ? element.end - 1 : at) {}

    /// Returns 0, `XmlNotFound` after the last attribute, or `XmlMalformed`.
    std::int32_t Next(XmlAttribute& attribute) {
        if (at >= last) return XmlNotFound;
        const char* const before = at;
        at = SkipWhitespace(at, last);
        if (!IsAsciiNameStart(*at)) return *at == '/' || *at == '>' || *at == '?' ? XmlNotFound : XmlMalformed;
        if (at == before) return XmlMalformed;
        const char* const nameStart = at;
        while (IsAsciiNameChar(*at)) ++at;
        attribute.name = SliceOf(nameStart, at).View();
        at = SkipWhitespace(at, last);
        if (*at != '=') return XmlMalformed;
        at = SkipWhitespace(at + 1, last);
        const char quote = *at;
        if (quote != '\'' && quote != '"') return XmlMalformed;
        attribute.value = FindTextEnd(at + 1, last, quote);
        at = EndOf(attribute.value.bytes);
        if (at == last) return XmlMalformed;
        ++at;
        return XmlDone;
    }

private:
    const char* at;
    const char* last;   // the `>`, which ends every run of white space or name bytes
};

}   // namespace

std::int32_t XmlReader::ReadAttributes(const XmlElement& element, std::vector<XmlAttribute>& attributes) {
    attributes.clear();
    AttributeScanner scanner(element);
    XmlAttribute attribute;
    std::int32_t code = scanner.Next(attribute);
    try {
        for (; code == XmlDone; code = scanner.Next(attribute)) attributes.push_back(attribute);
    } catch (const std::bad_alloc&) {
        return XmlOutOfMemory;
    }
    return code == XmlNotFound ? XmlDone : code;
}

std::int32_t XmlReader::ReadAttribute(const XmlElement& element, std::string_view wanted, std::string& value) {
    value.clear();
    AttributeScanner scanner(element);
    XmlAttribute attribute;
    bool found = false;
    std::int32_t code = scanner.Next(attribute);
    for (; code == XmlDone; code = scanner.Next(attribute)) {
        if (found || attribute.name != wanted) continue;
        found = true;
        try {
            attribute.value.AppendDecoded(value);
        } catch (const std::bad_alloc&) {
            return XmlOutOfMemory;
        }
    }
    return code == XmlNotFound && found ? XmlDone : code;
}

}   // namespace arbor::module
