/// Splits a document into tags, attributes and text, with their offsets, by the rules of the store's reader. Those
/// aren't quite XML's: a ">" in quotes ends a tag, tags in skipped content need not match by name, and a comment
/// without an end extends to the end of the document. The parser accepts and rejects the same documents as the store.
#pragma once

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace arborctl {

/// The store can't read the document: the reason and the offset.
class MarkupFault : public std::runtime_error {
public:
    MarkupFault(std::size_t position, const std::string& reason) : std::runtime_error(reason), offset(position) {}

    [[nodiscard]] std::size_t Offset() const { return offset; }

private:
    std::size_t offset;
};

enum class Token {
    End,
    Text,
    StartTag,
    EndTag,
    Comment,
    CData,
    Instruction,
    Other,   // a doctype, or a "<" that begins no markup
};

struct Tag {
    std::size_t start = 0;
    std::size_t end = 0;   // after its ">"
    std::string_view name{};
    bool hasContent = false;   // false for a self-closed element
};

/// A piece of the document, with its references not decoded.
struct Piece {
    std::size_t offset = 0;
    std::string_view raw{};
};

struct Attribute {
    std::size_t offset = 0;
    std::string_view name{};
    Piece value{};
};

/// A run of text, or a CDATA section.
struct TextRun {
    Piece piece{};
    bool verbatim = false;   // a CDATA section, in which references have no meaning
};

/// Reads a document from its start to its end.
class MarkupReader {
public:
    /// Called for each comment or instruction that the reader skips, except in the content that `CloseElement` skips.
    using OnSkipped = std::function<void(Token token, std::size_t offset)>;

    explicit MarkupReader(std::string_view text, OnSkipped skipped = {})
        : document(text), onSkipped(std::move(skipped)) {}

    [[nodiscard]] std::size_t Position() const { return position; }
    [[nodiscard]] Token Peek() const;
    void SkipSpace();

    /// Skips space, comments and instructions. If a start tag follows, reads it into `tag`. Returns the token found.
    /// Throws a `MarkupFault`.
    Token NextStartTag(Tag& tag);
    /// Skips the rest of the element and its end tag. Throws a `MarkupFault`.
    void CloseElement(const Tag& tag);
    /// Reads text and CDATA sections, skips comments and instructions between them, and stops at any other token.
    [[nodiscard]] std::vector<TextRun> ReadText();
    /// Skips a comment, an instruction or a CDATA section. If it has no end, moves to the document's end and returns
    /// false.
    bool SkipToken(Token token);

    /// Throws a `MarkupFault`.
    [[nodiscard]] std::vector<Attribute> ReadAttributes(const Tag& tag) const;

    /// Returns the fault of a document that ends too early. If a token has no end, the fault is at the start of that
    /// token; otherwise it is at the document's end and has the text `reason`.
    [[nodiscard]] MarkupFault Truncated(const std::string& reason) const;

private:
    [[nodiscard]] bool IsAt(std::string_view literal) const { return document.substr(position).starts_with(literal); }
    Tag ReadStartTag();
    std::string_view ReadEndTag();
    std::string_view ReadName(std::size_t tagStart);
    void SkipContent(const Tag& tag);
    void SkipText();

    std::string_view document;
    OnSkipped onSkipped;
    std::size_t position = 0;
    std::size_t unclosed = std::string_view::npos;   // offset of the first token without an end
};

/// The white space of XML.
inline constexpr std::string_view kXmlSpace = " \t\r\n";

[[nodiscard]] constexpr bool IsXmlSpace(char byte) { return kXmlSpace.find(byte) != std::string_view::npos; }

/// Decodes the references in `piece`. Drops those above U+FFFF, as the store does, and calls `onLost(offset)` for each.
[[nodiscard]] std::string Decode(const Piece& piece, const std::function<void(std::size_t offset)>& onLost);

}   // namespace arborctl
