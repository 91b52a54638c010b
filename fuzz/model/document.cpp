#include "model/document.h"

#include <component/kernel/type_table.h>

#include <algorithm>

namespace model {

using namespace kernel;

namespace {

enum class Kind {
    End,
    Text,
    Other,
    StartTag,
    EndTag,
    Comment,
    CData,
    Instruction
};
enum class Tag {
    Found,
    None,
    Text,
    Broken
};

constexpr std::string_view kSpaces = " \t\r\n";
constexpr std::size_t kMaxDepth = 2048;

bool IsNameStart(unsigned char c) {
    return c == ':' || c == '_' || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
           (c >= 0xC0 && c != 0xD7 && c != 0xF7);
}
bool IsNameChar(unsigned char c) {
    return IsNameStart(c) || c == '-' || c == '.' || c == 0xB7 || (c >= '0' && c <= '9');
}
bool IsAscii(unsigned char c) { return c < 0x80; }
bool IsSpace(char c) { return kSpaces.find(c) != kSpaces.npos; }
bool IsVisible(std::string_view text) { return text.find_first_not_of(kSpaces) != text.npos; }
std::string Terminated(const std::string& text) { return text.c_str(); }

std::string Utf8(std::uint32_t c) {
    const auto byte = [](std::uint32_t bits) { return static_cast<char>(bits); };
    if (c < 0x80) return {byte(c)};
    if (c < 0x800) return {byte(0xC0 + c / 64), byte(0x80 + c % 64)};
    if (c < 0x10000) return {byte(0xE0 + c / 4096), byte(0x80 + c / 64 % 64), byte(0x80 + c % 64)};
    return "";
}

/// What replaces the reference; the reference itself if nothing does.
std::string Dereferenced(const std::string& body, bool& understood) {
    constexpr std::string_view kHexDigits = "0123456789abcdefABCDEF";
    std::string reference = '&' + body + ';';
    if (body == "lt") return "<";
    if (body == "gt") return ">";
    if (body == "amp") return "&";
    if (body == "apos") return "'";
    if (body == "quot") return "\"";
    if (body.size() < 2) return reference;
    const bool hexadecimal = body[1] == 'x';
    const std::string digits = body.substr(hexadecimal ? 2 : 1);
    const bool isNumber = digits.find_first_not_of(kHexDigits.substr(0, hexadecimal ? 22 : 10)) == digits.npos;
    if (body[0] != '#' || !isNumber) {
        understood = understood && body[0] != '#' && body.size() < 5;
        return reference;
    }
    std::uint32_t number = 0;
    for (const char c : digits) {
        const auto digit = static_cast<std::uint32_t>(kHexDigits.find(c));
        number = number * (hexadecimal ? 16 : 10) + (digit < 16 ? digit : digit - 6);
    }
    return number != 0 ? Utf8(number) : reference;
}

std::string Decoded(std::string_view text) {
    bool understood = true;
    return DecodeReferences(text, understood);
}

struct Element {
    std::size_t nameEnd = 0;
    std::size_t end = 0;   // after the `>`
    std::string_view name;
};

class Reader {
public:
    explicit Reader(std::string_view document) : text(document) {}

    Tag Next(Element& element) {
        SkipSpace();
        Kind kind = Peek();
        for (; kind == Kind::Comment || kind == Kind::Instruction; kind = Peek()) {
            Skip(kind);
            SkipSpace();
        }
        if (kind == Kind::Text || kind == Kind::CData) return Tag::Text;
        if (kind != Kind::StartTag) return Tag::None;
        ++at;
        if (!ReadName(element.name)) return Tag::Broken;
        element.nameEnd = at;
        at = std::min(text.find('>', at), text.size());
        if (at == text.size()) return Tag::Broken;
        element.end = ++at;
        return Tag::Found;
    }

    [[nodiscard]] bool HasContent(const Element& element) const { return text[element.end - 2] != '/'; }

    bool Close(const Element& element) {
        if (!HasContent(element)) return true;
        for (std::size_t depth = 0;;) {
            const Kind kind = Peek();
            Element inner;
            std::string_view name;
            if (kind == Kind::End || kind == Kind::Other) return false;
            if (kind == Kind::StartTag) {
                if (Next(inner) != Tag::Found) return false;
                depth += HasContent(inner) ? 1 : 0;
            } else if (kind == Kind::EndTag) {
                if (!ReadEndTag(name)) return false;
                if (depth-- == 0) return name == element.name;
            } else {
                Skip(kind);
            }
        }
    }

    /// Whether it holds more than white space.
    bool ReadText(std::string& read) {
        read.clear();
        for (bool visible = false;;) {
            const std::string_view run = TakeTo(std::min(text.find('<', at), text.size()));
            visible = visible || IsVisible(run);
            read += Decoded(run);
            const Kind kind = Peek();
            if (kind == Kind::CData) {
                const std::string_view section = Skip(kind);
                visible = visible || IsVisible(section);
                read += section;
            } else if ((kind != Kind::Comment && kind != Kind::Instruction) || Skip(kind).data() == nullptr) {
                return visible;
            }
        }
    }

    /// False if they are malformed.
    bool ReadAttributes(const Element& element, std::vector<std::pair<std::string, std::string>>& attributes) const {
        std::size_t p = element.nameEnd;
        const std::size_t last = element.end - 1;
        const auto skipSpace = [&] {
            while (p < last && IsSpace(text[p])) ++p;
        };
        while (p < last) {
            const std::size_t before = p;
            skipSpace();
            const auto c = static_cast<unsigned char>(text[p]);
            if (!IsAscii(c) || !IsNameStart(c)) return c == '/' || c == '>' || c == '?';
            if (p == before) return false;
            const std::size_t name = p;
            while (IsAscii(static_cast<unsigned char>(text[p])) && IsNameChar(static_cast<unsigned char>(text[p]))) ++p;
            const std::size_t nameEnd = p;
            skipSpace();
            if (text[p] != '=') return false;
            ++p;
            skipSpace();
            if (text[p] != '"' && text[p] != '\'') return false;
            const std::size_t quote = text.find(text[p], p + 1);
            if (quote >= last) return false;
            attributes.emplace_back(text.substr(name, nameEnd - name), Decoded(text.substr(p + 1, quote - p - 1)));
            p = quote + 1;
        }
        return true;
    }

private:
    [[nodiscard]] bool StartsWith(std::string_view literal) const { return text.substr(at).starts_with(literal); }

    [[nodiscard]] Kind Peek() const {
        if (at == text.size()) return Kind::End;
        if (text[at] != '<') return Kind::Text;
        if (at + 1 == text.size()) return Kind::Other;
        if (text[at + 1] == '/') return Kind::EndTag;
        if (IsNameStart(static_cast<unsigned char>(text[at + 1]))) return Kind::StartTag;
        if (StartsWith("<!--")) return Kind::Comment;
        if (StartsWith("<![CDATA[")) return Kind::CData;
        return StartsWith("<?") ? Kind::Instruction : Kind::Other;
    }

    void SkipSpace() { at = std::min(text.find_first_not_of(kSpaces, at), text.size()); }

    std::string_view TakeTo(std::size_t end) {
        const std::string_view taken = text.substr(at, end - at);
        at = end;
        return taken;
    }

    /// The content of a token up to its closing; a null view, at the end, if there is none.
    std::string_view Skip(Kind kind) {
        if (kind == Kind::Text) return TakeTo(std::min(text.find('<', at), text.size()));
        at += kind == Kind::Comment ? 4 : kind == Kind::CData ? 9 : 2;
        const std::string_view closing = kind == Kind::Comment ? "--" : kind == Kind::CData ? "]]>" : "?>";
        const std::size_t end = text.find(closing, at);
        const std::string_view content = TakeTo(std::min(end, text.size()));
        if (end == text.npos) return {};
        at += closing.size();
        if (kind != Kind::Comment) return content;
        at = std::min(text.find('>', at), text.size());
        if (at == text.size()) return {};
        ++at;
        return content;
    }

    bool ReadName(std::string_view& name) {
        const auto byteAt = [&](std::size_t p) { return static_cast<unsigned char>(text[p]); };
        if (at == text.size() || !IsAscii(byteAt(at)) || !IsNameStart(byteAt(at))) return false;
        std::size_t end = at;
        while (end < text.size() && IsNameChar(byteAt(end))) ++end;
        name = TakeTo(end);
        return true;
    }

    bool ReadEndTag(std::string_view& name) {
        at += 2;
        if (!ReadName(name)) return false;
        SkipSpace();
        if (!StartsWith(">")) return false;
        ++at;
        return true;
    }

    std::string_view text;
    std::size_t at = 0;
};

ResultCode AddFromText(Key& key, const std::string& name, TypeCode type, const std::string& text) {
    if (!IsStored(type)) return kOutOfMemory;
    Value value = NewValue(type);
    const ResultCode code = FromText(value, Terminated(text));
    if (IsSuccess(code)) key.AddValue(Terminated(name), value);
    return code;
}

ResultCode ReadForeign(Reader& reader, Key& key, std::size_t depth) {
    if (depth > kMaxDepth) return kMediaError;
    for (;;) {
        Element element;
        const Tag tag = reader.Next(element);
        if (tag == Tag::Broken) return kBadDocument;
        if (tag == Tag::None) return kDone;
        if (tag == Tag::Text) {
            std::string text;
            return reader.ReadText(text) ? AddFromText(key, "noname", tSTRING, text) : kDone;
        }
        std::vector<std::pair<std::string, std::string>> attributes;
        if (!reader.ReadAttributes(element, attributes)) return kBadDocument;
        Key& child = key.AddKey(element.name);
        for (const auto& [name, value] : attributes) {
            if (const ResultCode code = AddFromText(child, name, tSTRING, value); IsFailure(code)) return code;
        }
        if (reader.HasContent(element)) {
            if (const ResultCode code = ReadForeign(reader, child, depth + 1); IsFailure(code)) return code;
        }
        if (!reader.Close(element)) return kBadDocument;
    }
}

ResultCode ReadChildren(Reader& reader, Key& key, std::size_t depth) {
    if (depth > kMaxDepth) return kMediaError;
    for (;;) {
        Element element;
        const Tag tag = reader.Next(element);
        if (tag == Tag::Broken) return kBadDocument;
        if (tag != Tag::Found) return kDone;
        const auto* const type = std::ranges::find(kTypeTable, element.name, &ValueTypeRow::name);
        const bool isKey = element.name == "key";
        if (!isKey && type == std::end(kTypeTable)) return kInvalidArgument;
        std::vector<std::pair<std::string, std::string>> attributes;
        if (!reader.ReadAttributes(element, attributes)) return kBadDocument;
        const auto name = std::ranges::find(attributes, "name", &std::pair<std::string, std::string>::first);
        if (name == attributes.end()) return kInvalidArgument;
        ResultCode code = kDone;
        if (isKey) {
            bool created = false;
            Key& child = key.OpenPath(Terminated(name->second), created);
            if (reader.HasContent(element)) code = ReadChildren(reader, child, depth + 1);
        } else {
            if (!reader.HasContent(element)) return kBadDocument;
            std::string text;
            reader.ReadText(text);
            code = AddFromText(key, name->second, type->type, text);
        }
        if (IsFailure(code)) return code;
        if (!reader.Close(element)) return kBadDocument;
    }
}

}   // namespace

std::string DecodeReferences(std::string_view text, bool& understood) {
    std::string decoded;
    understood = true;
    while (!text.empty()) {
        const std::size_t end = text.find(';');
        if (text[0] != '&' || end == text.npos) {
            decoded += text[0];
            text.remove_prefix(1);
        } else {
            decoded += Dereferenced(std::string(text.substr(1, end - 1)), understood);
            text.remove_prefix(end + 1);
        }
    }
    return decoded;
}

ResultCode ReadDocument(std::string_view text, Key& root) {
    Reader reader(text);
    Element element;
    const Tag tag = reader.Next(element);
    if (tag == Tag::Broken) return kBadDocument;
    if (tag != Tag::Found || !reader.HasContent(element)) return kInvalidArgument;
    Reader whole(text);
    const ResultCode code = element.name == "arbor" ? ReadChildren(reader, root, 0) : ReadForeign(whole, root, 0);
    if (IsFailure(code)) return code;
    return reader.Close(element) ? kDone : kBadDocument;
}

}   // namespace model
