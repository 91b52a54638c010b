// Splits the text into tokens, reads the attributes of a tag and decodes references.

#include "markup.h"

#include "ascii.h"

#include <component/platform/unicode.h>

#include <algorithm>
#include <optional>

namespace arborctl {
namespace {

/// The markup at both ends of a token.
struct TokenMarks {
    Token token;
    const char* name;
    std::string_view opening;
    std::string_view closing;
};

constexpr TokenMarks kTokenMarks[] = {
    {Token::Comment, "comment", "<!--", "--"},
    {Token::CData, "CDATA section", "<![CDATA[", "]]>"},
    {Token::Instruction, "processing instruction", "<?", "?>"},
};

/// Returns the marks of a comment, a CDATA section or an instruction.
const TokenMarks& MarksOf(Token token) {
    return *std::find_if(std::begin(kTokenMarks), std::end(kTokenMarks),
                         [=](const TokenMarks& row) { return row.token == token; });
}

constexpr std::size_t kNotFound = std::string_view::npos;

unsigned char ToUnsigned(char byte) { return static_cast<unsigned char>(byte); }

bool IsAscii(char byte) { return ToUnsigned(byte) < 0x80; }

/// True for a letter of Latin-1. The store classifies bytes, so any lead byte of UTF-8 is also a letter.
bool IsHighLetter(char byte) {
    return ToUnsigned(byte) >= 0xC0 && ToUnsigned(byte) != 0xD7 && ToUnsigned(byte) != 0xF7;
}

bool IsNameStart(char byte) { return IsLetter(byte) || byte == ':' || byte == '_' || IsHighLetter(byte); }

bool IsNameChar(char byte) {
    return IsNameStart(byte) || IsDigit(byte) || byte == '-' || byte == '.' || ToUnsigned(byte) == 0xB7;
}

/// Reads the attributes of one start tag in turn.
class AttributeReader {
public:
    AttributeReader(std::string_view text, const Tag& tag)
        : document(text), at(tag.start + 1 + tag.name.size()), last(tag.end - 1) {}

    std::optional<Attribute> Next() {
        if (at >= last) return std::nullopt;
        const std::size_t spaceStart = at;
        SkipSpace();
        const char first = document[at];
        if (!IsAscii(first) || !IsNameStart(first)) {
            if (first == '/' || first == '>' || first == '?') return std::nullopt;
            throw MarkupFault(at, "this isn't an attribute");
        }
        const std::size_t start = at;
        if (at == spaceStart) throw MarkupFault(start, "there is no space before the attribute");
        while (IsAscii(document[at]) && IsNameChar(document[at])) ++at;
        const std::string_view name = document.substr(start, at - start);
        SkipSpace();
        if (document[at] != '=') throw MarkupFault(start, "the attribute has no value");
        ++at;
        SkipSpace();
        const char quote = document[at];
        if (quote != '\'' && quote != '"') throw MarkupFault(start, "the attribute's value isn't in quotes");
        const std::size_t value = at + 1;
        const std::size_t end = document.substr(0, last).find(quote, value);
        if (end == kNotFound) throw MarkupFault(start, "the attribute's value has no end before the tag's first \">\"");
        at = end + 1;
        return Attribute{start, name, {value, document.substr(value, end - value)}};
    }

private:
    void SkipSpace() {
        while (at < last && IsXmlSpace(document[at])) ++at;
    }

    std::string_view document;
    std::size_t at;
    std::size_t last;   // offset of the ">", which is neither space nor a name byte and so ends every run
};

constexpr std::uint32_t kNoReference = 0;

/// Returns the code point of a reference, given the text between "&" and ";", or `kNoReference` if it isn't a reference
/// and remains in the text. A number above 32 bits wraps, as in the store.
std::uint32_t CodePointOf(std::string_view body) {
    constexpr std::pair<std::string_view, char> kNamed[] = {
        {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"apos", '\''}, {"quot", '"'}};
    for (const auto& [name, byte] : kNamed) {
        if (name == body) return ToUnsigned(byte);
    }
    if (body.size() < 2 || body.front() != '#') return kNoReference;
    const bool hexadecimal = body[1] == 'x';
    const std::uint32_t base = hexadecimal ? 16 : 10;
    std::uint32_t codePoint = 0;
    for (const char digit : body.substr(hexadecimal ? 2 : 1)) {
        if (platform::HexDigitValue(digit) >= base) return kNoReference;
        codePoint = codePoint * base + platform::HexDigitValue(digit);
    }
    return codePoint;
}

}   // namespace

Token MarkupReader::Peek() const {
    if (position >= document.size()) return Token::End;
    if (document[position] != '<') return Token::Text;
    if (document.size() - position == 1) return Token::Other;
    if (document[position + 1] == '/') return Token::EndTag;
    if (IsNameStart(document[position + 1])) return Token::StartTag;
    for (const TokenMarks& marks : kTokenMarks) {
        if (IsAt(marks.opening)) return marks.token;
    }
    return Token::Other;
}

void MarkupReader::SkipSpace() {
    position = std::min(document.find_first_not_of(kXmlSpace, position), document.size());
}

bool MarkupReader::SkipToken(Token token) {
    const TokenMarks& marks = MarksOf(token);
    const std::size_t start = position;
    std::size_t end = document.find(marks.closing, start + marks.opening.size());
    if (end != kNotFound) end += marks.closing.size();
    if (end != kNotFound && token == Token::Comment) {
        end = document.find('>', end);
        if (end != kNotFound) ++end;
    }
    if (end == kNotFound && unclosed == kNotFound) unclosed = start;
    position = std::min(end, document.size());
    return end != kNotFound;
}

Token MarkupReader::NextStartTag(Tag& tag) {
    for (;;) {
        SkipSpace();
        const Token token = Peek();
        if (token == Token::StartTag) tag = ReadStartTag();
        if (token != Token::Comment && token != Token::Instruction) return token;
        if (onSkipped) onSkipped(token, position);
        static_cast<void>(SkipToken(token));   // the next `Peek` returns `End` for a token without an end
    }
}

std::string_view MarkupReader::ReadName(std::size_t tagStart) {
    const std::size_t start = position;
    if (start == document.size() || !IsAscii(document[start]) || !IsNameStart(document[start])) {
        throw MarkupFault(tagStart, "the tag's name doesn't begin with an ASCII letter, \"_\" or \":\"");
    }
    while (position < document.size() && IsNameChar(document[position])) ++position;
    return document.substr(start, position - start);
}

Tag MarkupReader::ReadStartTag() {
    Tag tag{.start = position++};
    tag.name = ReadName(tag.start);
    const std::size_t last = document.find('>', position);
    if (last == kNotFound) throw MarkupFault(tag.start, "the tag has no end");
    position = tag.end = last + 1;
    tag.hasContent = document[last - 1] != '/';
    return tag;
}

std::string_view MarkupReader::ReadEndTag() {
    const std::size_t start = position;
    position += 2;
    const std::string_view name = ReadName(start);
    SkipSpace();
    if (position == document.size() || document[position] != '>') throw MarkupFault(start, "the tag has no end");
    ++position;
    return name;
}

MarkupFault MarkupReader::Truncated(const std::string& reason) const {
    if (unclosed == kNotFound) return {document.size(), reason};
    for (const TokenMarks& marks : kTokenMarks) {
        if (document.substr(unclosed).starts_with(marks.opening)) {
            return {unclosed, std::string("the ") + marks.name + " has no end"};
        }
    }
    return {unclosed, reason};
}

void MarkupReader::SkipText() { position = std::min(document.find('<', position), document.size()); }

void MarkupReader::SkipContent(const Tag& tag) {
    for (std::size_t depth = 0;;) {
        const std::size_t start = position;
        switch (const Token token = Peek()) {
            case Token::StartTag:
                depth += ReadStartTag().hasContent ? 1 : 0;
                break;
            case Token::EndTag:
                if (depth == 0) return;
                static_cast<void>(ReadEndTag());
                --depth;
                break;
            case Token::Text:
                SkipText();
                break;
            case Token::End:
                throw Truncated("the document ends before </" + std::string(tag.name) + '>');
            case Token::Other:
                throw MarkupFault(start, "a \"<\" that begins no markup of a document");
            default:
                static_cast<void>(SkipToken(token));
        }
    }
}

void MarkupReader::CloseElement(const Tag& tag) {
    if (!tag.hasContent) return;
    SkipContent(tag);
    const std::size_t start = position;
    const std::string_view name = ReadEndTag();
    if (name == tag.name) return;
    throw MarkupFault(start, "</" + std::string(name) + "> where </" + std::string(tag.name) + "> must be");
}

std::vector<TextRun> MarkupReader::ReadText() {
    std::vector<TextRun> runs;
    for (;;) {
        const std::size_t start = position;
        const Token token = Peek();
        if (token == Token::Text) {
            SkipText();
            runs.push_back({{start, document.substr(start, position - start)}});
        } else if (token == Token::CData) {
            const std::size_t first = start + MarksOf(token).opening.size();
            if (!SkipToken(token)) return runs;
            const std::size_t length = position - MarksOf(token).closing.size() - first;
            runs.push_back({{first, document.substr(first, length)}, true});
        } else if (token == Token::Comment || token == Token::Instruction) {
            if (onSkipped) onSkipped(token, start);
            if (!SkipToken(token)) return runs;
        } else {
            return runs;
        }
    }
}

std::vector<Attribute> MarkupReader::ReadAttributes(const Tag& tag) const {
    std::vector<Attribute> attributes;
    AttributeReader attributeReader(document, tag);
    while (const std::optional<Attribute> attribute = attributeReader.Next()) attributes.push_back(*attribute);
    return attributes;
}

std::string Decode(const Piece& piece, const std::function<void(std::size_t)>& onLost) {
    std::string text;
    const std::string_view raw = piece.raw;
    for (std::size_t run = 0;;) {
        const std::size_t mark = raw.find('&', run);
        const std::size_t stop = mark == kNotFound ? kNotFound : raw.find(';', mark);
        if (stop == kNotFound) return text.append(raw.substr(run));
        const std::uint32_t codePoint = CodePointOf(raw.substr(mark + 1, stop - mark - 1));
        text.append(raw.substr(run, (codePoint != kNoReference ? mark : stop + 1) - run));
        if (codePoint >= platform::kFirstSupplementary) {
            onLost(piece.offset + mark);
        } else if (codePoint != kNoReference) {
            char bytes[4];
            text.append(bytes, platform::WriteUtf8(codePoint, bytes));
        }
        run = stop + 1;
    }
}

}   // namespace arborctl
