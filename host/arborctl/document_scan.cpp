// Follows the store's reader element by element, and records what that reader skips, merges or rejects.

#include "document_scan.h"

#include "ascii.h"
#include "markup.h"
#include "path.h"
#include "text_check.h"

#include <component/platform/unicode.h>

#include <algorithm>
#include <unordered_set>

namespace arborctl {
namespace {

constexpr std::string_view kRootName = "arbor";
constexpr std::string_view kKeyName = "key";
constexpr std::string_view kNameAttribute = "name";
constexpr std::size_t kMaxDepth = kMaxPathNames;   // of open elements, and of keys that can be loaded

/// First bytes of documents in encodings that the store doesn't support; longer ones first.
constexpr std::pair<std::string_view, const char*> kEncodings[] = {
    {{"\xFF\xFE\0\0", 4}, "UTF-32"},
    {{"\0\0\xFE\xFF", 4}, "UTF-32"},
    {{"<\0\0\0", 4}, "UTF-32"},
    {{"\0\0\0<", 4}, "UTF-32"},
    {{"\x4C\x6F\xA7\x94", 4}, "EBCDIC"},
    {{"\xFF\xFE", 2}, "UTF-16"},
    {{"\xFE\xFF", 2}, "UTF-16"},
    {{"<\0", 2}, "UTF-16"},
    {{"\0<", 2}, "UTF-16"},
};

/// FNV-1a of the name in lower case, as the store compares names. A set of hashes needs less memory than a set of
/// names.
std::uint64_t HashName(std::string_view name) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char c : name) hash = (hash ^ static_cast<unsigned char>(ToLower(c))) * 0x100000001B3;
    return hash;
}

using NameSet = std::unordered_set<std::uint64_t>;

/// An open element.
struct Level {
    Tag tag;
    std::size_t depth = 0;   // of its key in the tree; the root has 0
    NameSet children{};      // names of the children so far
};

/// The path into which the store splits a key's name.
struct KeyPath {
    std::vector<std::string_view> names{};
    bool isComplete = true;   // false if an empty name ends the path early
};

KeyPath SplitKeyName(std::string_view text) {
    KeyPath path;
    while (!text.empty() && !HasSeparator(text.substr(0, 1))) {
        const std::size_t slash = text.find('/');
        const std::size_t length = slash != std::string_view::npos ? slash : text.find('\\');
        path.names.push_back(text.substr(0, length));
        text.remove_prefix(length == std::string_view::npos ? text.size() : length + 1);
    }
    path.isComplete = text.empty();
    return path;
}

std::string Element(std::string_view name) { return '<' + EncodeName(name) + '>'; }

const char* NameOf(Token token) { return token == Token::Comment ? "the comment" : "the processing instruction"; }

/// Scans one document. The root element of a native document is "arbor", that of a foreign one is another.
class Scan {
public:
    Scan(host::Kernel& kernel, std::string_view text, const FindingSink& findings)
        : document(text),
          sink(findings),
          texts(kernel),
          reader(text, [this](Token token, std::size_t offset) { ReportSkipped(token, offset); }) {}

    ScanResult Run() {
        ScanResult result;
        try {
            const Tag root = ReadRoot();
            result.foreign = root.name != kRootName;
            result.foreign ? ScanForeign(root) : ScanNative(root);
            Flush();
        } catch (const MarkupFault& fault) {
            Flush();
            result.fault = {fault.Offset(), fault.what()};
        }
        return result;
    }

private:
    void Report(std::size_t offset, FindingKind kind, std::string text) {
        pending.push_back({offset, kind, std::move(text)});
    }

    /// Passes the pending findings to the sink. Call it only when all later findings will have larger offsets.
    void Flush() {
        std::stable_sort(pending.begin(), pending.end(),
                         [](const Finding& left, const Finding& right) { return left.offset < right.offset; });
        for (const Finding& finding : pending) sink(finding);
        pending.clear();
    }

    void ReportSkipped(Token token, std::size_t offset) {
        constexpr std::string_view kDeclaration = "<?xml";
        const bool declaration = offset == 0 && document.starts_with(kDeclaration) &&
                                 document.size() > kDeclaration.size() && IsXmlSpace(document[kDeclaration.size()]);
        if (declaration) return CheckEncoding();
        Report(offset, FindingKind::Dropped, std::string(NameOf(token)) + " is dropped");
    }

    /// The store ignores the XML declaration, so an encoding other than UTF-8 in it is reported.
    void CheckEncoding() {
        const std::string_view declaration = document.substr(0, document.find("?>"));
        const std::size_t at = declaration.find("encoding");
        if (at == std::string_view::npos) return;
        const std::size_t quote = declaration.find_first_of("\"'", at);
        if (quote == std::string_view::npos) return;
        const std::size_t end = declaration.find(declaration[quote], quote + 1);
        const std::string_view encoding = declaration.substr(quote + 1, std::min(end, declaration.size()) - quote - 1);
        for (const std::string_view known : {"utf-8", "us-ascii", "ascii"}) {
            if (HashName(known) == HashName(encoding)) return;
        }
        Report(at, FindingKind::Changed,
               "the encoding " + EncodeName(encoding) + " isn't supported: bytes are read as UTF-8");
    }

    Tag ReadRoot() {
        for (const auto& [bytes, name] : kEncodings) {
            if (document.starts_with(bytes)) {
                throw MarkupFault(0, std::string("the document is in ") + name + "; only UTF-8 is read");
            }
        }
        Tag root;
        const Token token = reader.NextStartTag(root);
        const std::size_t at = reader.Position();
        if (token == Token::End) throw reader.Truncated("there is no root element");
        if (document.substr(at).starts_with("<!DOCTYPE")) throw MarkupFault(at, "a doctype isn't read");
        if (token != Token::StartTag) throw MarkupFault(at, "this is before the root element");
        if (!root.hasContent) throw MarkupFault(root.start, "the root element is self-closed");
        return root;
    }

    /// The store ends a text at its first zero byte.
    static std::string UpToZero(std::string text) {
        text.resize(std::min(text.find('\0'), text.size()));
        return text;
    }

    std::string DecodeRun(const TextRun& run) {
        const std::size_t zero = run.piece.raw.find('\0');
        if (zero != std::string_view::npos) {
            Report(run.piece.offset + zero, FindingKind::Dropped, "a zero byte ends the text here");
        }
        if (run.verbatim) return std::string(run.piece.raw);
        return Decode(run.piece, [this](std::size_t offset) {
            Report(offset, FindingKind::Dropped, "the reference to a character above U+FFFF is dropped");
        });
    }

    std::string ReadText() {
        std::string text;
        for (const TextRun& run : reader.ReadText()) text += DecodeRun(run);
        return UpToZero(std::move(text));
    }

    void ReportIfMore(FindingKind kind, const char* text) {
        const Token token = reader.Peek();
        if (token != Token::EndTag && token != Token::End) Report(reader.Position(), kind, text);
    }

    void PushElement(const Tag& tag, std::size_t depth) {
        if (open.size() > kMaxDepth) throw MarkupFault(tag.start, "elements are nested deeper than 2048 levels");
        open.push_back({tag, depth});
    }

    void PopElement() {
        const Tag tag = open.back().tag;
        open.pop_back();
        reader.CloseElement(tag);
    }

    void ReportIfTooDeep(std::size_t offset, std::size_t depth) {
        if (depth <= kMaxDepth || depthReported) return;
        depthReported = true;
        Report(offset, FindingKind::ReloadFails,
               "the key is below 2048 others: once saved, the document can't be loaded");
    }

    /// Adds the name of a child of the innermost open element. Returns false if an earlier child has the name.
    bool AddChildName(std::string_view name) { return open.back().children.insert(HashName(name)).second; }

    void ScanNative(const Tag& root) {
        ReportRootAttributes(root);
        open.push_back({root});
        for (;;) {
            Flush();
            Tag tag;
            if (reader.NextStartTag(tag) == Token::StartTag) {
                tag.name == kKeyName ? ReadKey(tag) : ReadValue(tag);
                continue;
            }
            ReportIfMore(FindingKind::Dropped, "nothing from here to the end of the key is read");
            PopElement();
            if (open.empty()) break;
        }
        ReportAfterRoot();
    }

    void ReportRootAttributes(const Tag& root) {
        const std::size_t first = root.start + 1 + root.name.size();
        const std::string_view rest = document.substr(first, root.end - 1 - first);
        const std::size_t attributes = rest.find_first_not_of(kXmlSpace);
        if (attributes == std::string_view::npos) return;
        Report(first + attributes, FindingKind::Dropped, "the attributes of the root element are dropped");
    }

    void ReportAfterRoot() {
        for (;;) {
            reader.SkipSpace();
            const Token token = reader.Peek();
            if (token == Token::End) return;
            if (token != Token::Comment && token != Token::Instruction) {
                return Report(reader.Position(), FindingKind::Dropped,
                              token == Token::StartTag ? "a second root element isn't read"
                                                       : "nothing after the root element is read");
            }
            ReportSkipped(token, reader.Position());
            if (!reader.SkipToken(token)) return;
        }
    }

    /// Returns the decoded name. Reports the other attributes.
    std::string ReadName(const Tag& tag) {
        std::optional<std::string> name;
        for (const Attribute& attribute : reader.ReadAttributes(tag)) {
            if (!name && attribute.name == kNameAttribute) {
                name = UpToZero(DecodeRun({attribute.value}));
            } else {
                Report(attribute.offset, FindingKind::Dropped,
                       "the attribute " + Excerpt(std::string(attribute.name)) + " is dropped");
            }
        }
        if (!name) throw MarkupFault(tag.start, Element(tag.name) + " has no name");
        return *name;
    }

    void ReadKey(const Tag& tag) {
        const std::string name = ReadName(tag);
        const KeyPath path = SplitKeyName(name);
        ReportKeyName(tag, name, path);
        const std::size_t depth = open.back().depth + path.names.size();
        ReportIfTooDeep(tag.start, depth);
        if (tag.hasContent) PushElement(tag, depth);
    }

    void ReportKeyName(const Tag& tag, const std::string& name, const KeyPath& path) {
        const std::string shown = "the key " + Excerpt(name);
        const bool splits = std::any_of(path.names.begin(), path.names.end(), HasSeparator);
        if (path.names.empty()) {
            Report(tag.start, FindingKind::Changed,
                   shown + " has no name of its own: its content is merged into its parent");
        } else if (!path.isComplete) {
            Report(tag.start, FindingKind::Changed, shown + " is a path that ends at its empty name");
        } else if (splits) {
            Report(tag.start, FindingKind::Changed,
                   shown + " is saved with a \"\\\" in a name, which the next load splits");
        } else if (path.names.size() > 1 || path.names.front().size() != name.size()) {
            Report(tag.start, FindingKind::Changed, shown + " is a path: it is saved as a key for each name");
        }
        if (!path.names.empty() && !AddChildName(path.names.front()) && path.names.size() == 1) {
            Report(tag.start, FindingKind::Changed, shown + " is merged with an earlier key of that name");
        }
    }

    void ReadValue(const Tag& tag) {
        const kernel::ValueTypeRow* const row = kernel::FindType(tag.name);
        if (row == nullptr) throw MarkupFault(tag.start, Element(tag.name) + " is neither a key nor a value type");
        const std::string name = ReadName(tag);
        const std::string shown = std::string(row->name) + ' ' + Excerpt(name);
        if (!tag.hasContent) throw MarkupFault(tag.start, shown + " is self-closed, which only a key may be");
        const std::string text = ReadText();
        const TextCheck::Verdict verdict = texts.Check(*row, text);
        if (verdict.isRejected) throw MarkupFault(tag.start, shown + " can't have the text " + Excerpt(text));
        if (verdict.found) Report(tag.start, *verdict.found, shown + ' ' + verdict.text);
        ReportIfMore(FindingKind::Dropped, "nothing from here to the end of the value is read");
        reader.CloseElement(tag);
    }

    void ScanForeign(const Tag& root) {
        MarkupReader rootReader = reader;   // after the root's start tag: the store looks for the end tag separately
        reader = MarkupReader(document, [this](Token token, std::size_t offset) { ReportSkipped(token, offset); });
        pending.clear();
        open.push_back({});
        for (;;) {
            Flush();
            Tag tag;
            const Token token = reader.NextStartTag(tag);
            if (token == Token::StartTag) {
                ReadForeignElement(tag);
                continue;
            }
            if (token == Token::Text || token == Token::CData) ReadForeignText();
            if (open.size() == 1) break;
            PopElement();
        }
        if (reader.Peek() != Token::End) {
            Report(reader.Position(), FindingKind::Dropped, "nothing from here to the end of the document is read");
        }
        rootReader.CloseElement(root);
    }

    void ReadForeignElement(const Tag& tag) {
        for (const Attribute& attribute : reader.ReadAttributes(tag)) static_cast<void>(DecodeRun({attribute.value}));
        if (!AddChildName(tag.name)) {
            Report(tag.start, FindingKind::Changed,
                   Element(tag.name) + " is merged with the first of that name once the document is saved and loaded");
        }
        const std::size_t depth = open.back().depth + 1;
        ReportIfTooDeep(tag.start, depth);
        if (tag.hasContent) PushElement(tag, depth);
    }

    void ReadForeignText() {
        static_cast<void>(ReadText());
        if (open.size() > 1) ReportIfMore(FindingKind::Dropped, "nothing from here to the end of the element is read");
    }

    std::string_view document;
    const FindingSink& sink;
    TextCheck texts;
    MarkupReader reader;
    std::vector<Level> open;   // the first is the root (native) or the document (foreign)
    std::vector<Finding> pending;
    bool depthReported = false;
};

}   // namespace

ScanResult ScanDocument(host::Kernel& kernel, std::string_view document, const FindingSink& sink) {
    return Scan(kernel, document, sink).Run();
}

DocumentForm FormOfRoot(std::string_view document) {
    try {
        MarkupReader reader(document);
        Tag root;
        if (reader.NextStartTag(root) != Token::StartTag) return DocumentForm::Unknown;
        return root.name == kRootName ? DocumentForm::Native : DocumentForm::Foreign;
    } catch (const MarkupFault&) {
        return DocumentForm::Unknown;
    }
}

std::string_view WithoutByteOrderMark(std::string_view content) {
    const bool hasMark = content.starts_with(platform::kByteOrderMark);
    return hasMark ? content.substr(platform::kByteOrderMark.size()) : content;
}

}   // namespace arborctl
