/// The markup of a document, cut up by the rules of the store's reader, with the place of each piece. It accepts what
/// that reader accepts and fails where that one fails: quotes don't protect a ">", skipped content isn't compared by
/// name, and a comment without an end takes the rest of the document.
#pragma once

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace arborctl {

/// Why the store can't read a document, and where.
class MarkupFault : public std::runtime_error {
public:
    MarkupFault(std::size_t at, const std::string& reason) : std::runtime_error(reason), offset(at) {}

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
    Other,   // a doctype, or a "<" that begins nothing
};

struct Tag {
    std::size_t start = 0;
    std::size_t end = 0;   // after its ">"
    std::string_view name{};
    bool hasContent = false;   // false for a self-closed element
};

/// A piece of the document, not decoded.
struct Piece {
    std::size_t offset = 0;
    std::string_view raw{};
};

struct Attribute {
    std::size_t offset = 0;
    std::string_view name{};
    Piece value{};
};

/// A run of text, or of a CDATA section, which is not to be decoded.
struct TextRun {
    Piece piece{};
    bool verbatim = false;
};

class MarkupReader {
public:
    /// Called for each comment or instruction that is passed over outside skipped content.
    using OnSkipped = std::function<void(Token token, std::size_t offset)>;

    explicit MarkupReader(std::string_view text, OnSkipped skipped = {})
        : document(text), onSkipped(std::move(skipped)) {}

    [[nodiscard]] std::size_t Position() const { return position; }
    [[nodiscard]] Token Peek() const;
    void SkipSpace();

    /// Passes over space, comments and instructions. Returns `StartTag` with `tag` read, or what is there instead.
    /// Throws a `MarkupFault`.
    Token NextStartTag(Tag& tag);
    /// Passes over what is left of the element, its end tag included. Throws a `MarkupFault`.
    void CloseElement(const Tag& tag);
    /// The text from the position on: what is around comments, and CDATA sections. Ends where something else is.
    [[nodiscard]] std::vector<TextRun> ReadText();
    /// Passes over a comment, an instruction or a CDATA section. False, with the position at the document's end, for
    /// one that has no end.
    bool SkipToken(Token token);

    /// Throws a `MarkupFault`.
    [[nodiscard]] std::vector<Attribute> ReadAttributes(const Tag& tag) const;

    /// The fault of a document that ends too early, at the token that has no end if there is one.
    [[nodiscard]] MarkupFault Truncated(const std::string& reason) const;

private:
    [[nodiscard]] bool IsAt(std::string_view literal) const { return document.substr(position).starts_with(literal); }
    Tag ReadStartTag();
    std::string_view ReadEndTag();
    std::string_view ReadName(std::size_t tagStart);
    void SkipContent(const Tag& tag);

    std::string_view document;
    OnSkipped onSkipped;
    std::size_t position = 0;
    std::size_t unclosed = std::string_view::npos;   // the token that has no end
};

[[nodiscard]] bool IsXmlSpace(char byte);

/// True if nothing but space is in `text`.
[[nodiscard]] bool IsBlank(std::string_view text);

/// Replaces the references in `piece`. Calls `onLost(offset)` for each above U+FFFF, of which nothing is left.
[[nodiscard]] std::string Decode(const Piece& piece, const std::function<void(std::size_t offset)>& onLost);

}   // namespace arborctl
