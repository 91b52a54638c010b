// The model of loading.
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
    Instruction,
    BrokenTag,
};

constexpr std::size_t kMaxDepth = 2048;
constexpr std::string_view kSpaces = " \t\r\n";
const std::string kAsciiNameStart = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz:_";
const std::string kAsciiName = kAsciiNameStart + "0123456789-.";
const std::string kLatinLetters = [] {
    std::string letters;
    for (int byte = 0xC0; byte <= 0xFF; ++byte) {
        if (byte != 0xD7 && byte != 0xF7) letters += static_cast<char>(byte);
    }
    return letters;
}();
const std::string kName = kAsciiName + kLatinLetters + '\xB7';

bool IsIn(const std::string& set, std::string_view text) { return !text.empty() && set.find(text[0]) != set.npos; }
bool IsVisible(std::string_view text) { return text.find_first_not_of(kSpaces) != text.npos; }
std::string UpToTerminator(const std::string& text) { return text.c_str(); }

/// The text that the reference `body` stands for, or the reference itself if it stands for none.
std::string ReplaceReference(const std::string& body, bool& areValid) {
    constexpr std::string_view kHexDigits = "0123456789abcdefABCDEF";
    static const std::map<std::string, std::string> kNamed = {
        {"lt", "<"}, {"gt", ">"}, {"amp", "&"}, {"apos", "'"}, {"quot", "\""}};
    if (const auto named = kNamed.find(body); named != kNamed.end()) return named->second;
    std::string reference = '&' + body + ';';
    if (body.size() < 2) return reference;
    const bool hexadecimal = body[1] == 'x';
    const std::string digits = body.substr(hexadecimal ? 2 : 1);
    const bool isNumber = digits.find_first_not_of(kHexDigits.substr(0, hexadecimal ? 22 : 10)) == digits.npos;
    if (body[0] != '#' || !isNumber) {
        areValid = areValid && body[0] != '#' && body.size() < 5;
        return reference;
    }
    std::uint32_t number = 0;
    for (const char c : digits) {
        const auto digit = static_cast<std::uint32_t>(kHexDigits.find(c));
        number = number * (hexadecimal ? 16 : 10) + (digit < 16 ? digit : digit - 6);
    }
    if (number == 0) return reference;
    return number < 0x10000 ? Utf8(number) : "";
}

std::string Decoded(std::string_view text) {
    bool areValid = true;
    return DecodeReferences(text, areValid);
}

/// The text that is left to read.
struct Cursor {
    std::string_view rest;

    std::string_view Take(std::size_t count) {
        const std::string_view taken = rest.substr(0, count);
        rest.remove_prefix(taken.size());
        return taken;
    }
    /// Everything if `end` isn't found.
    std::string_view TakeTo(std::string_view end) { return Take(rest.find(end)); }
    std::string_view TakeAll(std::string_view set) { return Take(rest.find_first_not_of(set)); }

    bool Accept(std::string_view literal) {
        if (!rest.starts_with(literal)) return false;
        rest.remove_prefix(literal.size());
        return true;
    }
};

using Attributes = std::vector<std::pair<std::string, std::string>>;

struct Element {
    std::string_view name;
    std::string_view tail;   // from the end of the name to the `>`, which it includes
    bool hasContent;

    /// False if they are malformed.
    bool ReadAttributes(Attributes& attributes) const {
        for (Cursor at{tail}; at.rest.size() > 1;) {
            const bool separated = !at.TakeAll(kSpaces).empty();
            if (!IsIn(kAsciiNameStart, at.rest)) return IsIn("/>?", at.rest);
            if (!separated) return false;
            const std::string_view attribute = at.TakeAll(kAsciiName);
            at.TakeAll(kSpaces);
            if (!at.Accept("=")) return false;
            at.TakeAll(kSpaces);
            const std::string_view quote = at.Take(1);
            if (!IsIn("\"'", quote) || at.rest.find(quote) == at.rest.npos) return false;
            attributes.emplace_back(attribute, Decoded(at.TakeTo(quote)));
            at.Take(1);
        }
        return true;
    }
};

class Reader : Cursor {
public:
    explicit Reader(std::string_view document) : Cursor{document} {}

    /// Moves to the next start tag or text, and past the tag.
    Kind Next(Element& element) {
        TakeAll(kSpaces);
        for (Kind kind = Peek(); kind == Kind::Comment || kind == Kind::Instruction; kind = Peek()) {
            Skip(kind);
            TakeAll(kSpaces);
        }
        if (Peek() != Kind::StartTag) return Peek();
        Take(1);
        if (!IsIn(kAsciiNameStart, rest)) return Kind::BrokenTag;
        const std::string_view inside = rest.substr(0, rest.find('>'));
        element.name = TakeAll(kName);
        element.hasContent = inside.back() != '/';
        element.tail = rest.substr(0, rest.find('>') + 1);
        TakeTo(">");
        return Accept(">") ? Kind::StartTag : Kind::BrokenTag;
    }

    bool Close(const Element& element) {
        if (!element.hasContent) return true;
        for (std::size_t depth = 0;;) {
            const Kind kind = Peek();
            if (kind == Kind::End || kind == Kind::Other) return false;
            if (kind == Kind::StartTag) {
                Element inner;
                if (Next(inner) != Kind::StartTag) return false;
                depth += inner.hasContent ? 1 : 0;
            } else if (kind == Kind::EndTag) {
                std::string_view name;
                if (!ReadEndTag(name)) return false;
                if (depth-- == 0) return name == element.name;
            } else {
                Skip(kind);
            }
        }
    }

    /// Returns whether it holds more than white space.
    bool ReadText(std::string& read) {
        for (bool visible = false;;) {
            const std::string_view run = TakeTo("<");
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

private:
    [[nodiscard]] Kind Peek() const {
        if (rest.empty()) return Kind::End;
        if (rest[0] != '<') return Kind::Text;
        if (rest.starts_with("</")) return Kind::EndTag;
        if (IsIn(kAsciiNameStart + kLatinLetters, rest.substr(1))) return Kind::StartTag;
        if (rest.starts_with("<!--")) return Kind::Comment;
        if (rest.starts_with("<![CDATA[")) return Kind::CData;
        return rest.starts_with("<?") ? Kind::Instruction : Kind::Other;
    }

    /// The content of a token up to its closing; a null view, at the end, if there is none.
    std::string_view Skip(Kind kind) {
        if (kind == Kind::Text) return TakeTo("<");
        Take(kind == Kind::Comment ? 4 : kind == Kind::CData ? 9 : 2);
        const std::string_view closing = kind == Kind::Comment ? "--" : kind == Kind::CData ? "]]>" : "?>";
        const std::string_view content = TakeTo(closing);
        if (!Accept(closing)) return {};
        if (kind != Kind::Comment) return content;
        TakeTo(">");
        return Accept(">") ? content : std::string_view();
    }

    bool ReadEndTag(std::string_view& name) {
        Take(2);
        if (!IsIn(kAsciiNameStart, rest)) return false;
        name = TakeAll(kName);
        TakeAll(kSpaces);
        return Accept(">");
    }
};

ResultCode AddFromText(Key& key, const std::string& name, TypeCode type, const std::string& text) {
    if (!IsStored(type)) return kOutOfMemory;
    Value value = NewValue(type);
    const ResultCode code = FromText(value, UpToTerminator(text));
    if (IsSuccess(code)) key.AddValue(UpToTerminator(name), value);
    return code;
}

ResultCode ReadForeign(Reader& reader, Key& key, std::size_t depth) {
    if (depth > kMaxDepth) return kMediaError;
    for (;;) {
        Element element;
        const Kind kind = reader.Next(element);
        if (kind == Kind::BrokenTag) return kBadDocument;
        if (kind == Kind::Text || kind == Kind::CData) {
            std::string text;
            return reader.ReadText(text) ? AddFromText(key, "noname", tSTRING, text) : kDone;
        }
        if (kind != Kind::StartTag) return kDone;
        Attributes attributes;
        if (!element.ReadAttributes(attributes)) return kBadDocument;
        Key& child = key.AddKey(element.name);
        for (const auto& [name, value] : attributes) {
            if (const ResultCode code = AddFromText(child, name, tSTRING, value); IsFailure(code)) return code;
        }
        const ResultCode code = element.hasContent ? ReadForeign(reader, child, depth + 1) : kDone;
        if (IsFailure(code)) return code;
        if (!reader.Close(element)) return kBadDocument;
    }
}

ResultCode ReadChildren(Reader& reader, Key& key, std::size_t depth) {
    if (depth > kMaxDepth) return kMediaError;
    for (;;) {
        Element element;
        const Kind kind = reader.Next(element);
        if (kind == Kind::BrokenTag) return kBadDocument;
        if (kind != Kind::StartTag) return kDone;
        const auto* const type = std::ranges::find(kTypeTable, element.name, &ValueTypeRow::name);
        const bool isKey = element.name == "key";
        if (!isKey && type == std::end(kTypeTable)) return kInvalidArgument;
        Attributes attributes;
        if (!element.ReadAttributes(attributes)) return kBadDocument;
        const auto name = std::ranges::find(attributes, "name", &Attributes::value_type::first);
        if (name == attributes.end()) return kInvalidArgument;
        ResultCode code = kDone;
        if (isKey) {
            bool created = false;
            Key& child = key.OpenPath(UpToTerminator(name->second), created);
            if (element.hasContent) code = ReadChildren(reader, child, depth + 1);
        } else {
            if (!element.hasContent) return kBadDocument;
            std::string text;
            reader.ReadText(text);
            code = AddFromText(key, name->second, type->type, text);
        }
        if (IsFailure(code)) return code;
        if (!reader.Close(element)) return kBadDocument;
    }
}

}   // namespace

std::string DecodeReferences(std::string_view text, bool& areValid) {
    std::string decoded;
    areValid = true;
    for (Cursor at{text}; !at.rest.empty();) {
        if (at.rest[0] != '&' || at.rest.find(';') == text.npos) {
            decoded += at.Take(1);
        } else {
            at.Take(1);
            decoded += ReplaceReference(std::string(at.TakeTo(";")), areValid);
            at.Take(1);
        }
    }
    return decoded;
}

ResultCode ReadDocument(std::string_view text, Key& root) {
    Reader reader(text);
    Element element;
    const Kind kind = reader.Next(element);
    if (kind == Kind::BrokenTag) return kBadDocument;
    if (kind != Kind::StartTag || !element.hasContent) return kInvalidArgument;
    Reader whole(text);
    const ResultCode code = element.name == "arbor" ? ReadChildren(reader, root, 0) : ReadForeign(whole, root, 0);
    if (IsFailure(code)) return code;
    return reader.Close(element) ? kDone : kBadDocument;
}

}   // namespace model
