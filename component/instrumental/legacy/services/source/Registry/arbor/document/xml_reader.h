/// A pull reader for XML over one range of bytes: the caller reads the next start tag, that element's attributes or
/// text if needed, and closes the element, which skips what was not read. One pass, no copy, no document tree.
///
/// It checks only what it needs to walk the text: no namespaces, no declared encoding, no doctype, and the names of
/// skipped elements are not matched. A reader belongs to one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace arbor::module {

/// Bytes of the input, which the caller owns and which must outlive the slice.
struct ByteSlice {
    const char* data = nullptr;
    std::uint32_t length = 0;

    [[nodiscard]] std::string_view View() const { return {data, length}; }
};

/// Results of the reader. Negative numbers are failures.
enum XmlResult : std::int32_t {
    XmlDone = 0,
    XmlNotFound = 1,        // no start tag here, or the end of the input instead of a token
    XmlMalformed = -1,      // malformed name, attribute or end tag, or a token without its terminator
    XmlWrongToken = -2,     // the token isn't at the position, or `ReadToken` doesn't read tokens of its kind
    XmlNoStartTag = -3,     // no start tag where one is required, or the input ends inside an element
    XmlWrongName = -4,      // not the required name
    XmlBadStructure = -5,   // an unterminated start tag, unreadable content, or the end tag of another element
    XmlOutOfMemory = -7,
    XmlTooDeep = -8,
};

/// What the bytes at the position begin.
enum TokenKind : std::int32_t {
    TokenEnd = 1,
    TokenText = 2,
    TokenStartTag = 3,
    TokenEndTag = 4,
    TokenComment = 5,
    TokenCData = 6,
    TokenInstruction = 7,
    TokenOther = 8,   // a doctype, or a `<` that begins no markup
};

/// Flags of `XmlReader::NextStartTag`.
enum StartTagFlag : std::uint32_t {
    RequireStartTag = 1,   // without a start tag the result is `XmlNoStartTag`
    SkipElement = 2,       // skip the element with its content; a failure of that is the result
    RequireName = 8,       // for another name the result is `XmlWrongName`
    ReportText = 16,       // if text or CDATA comes instead of a start tag, the result is its kind
};

/// One start tag. All fields are 0 if no tag was read.
struct XmlElement {
    const char* start = nullptr;   // its `<`
    const char* end = nullptr;     // after its first `>`
    ByteSlice name;

    /// False for a self-closed element, and if no tag was read.
    [[nodiscard]] bool HasContent() const { return end > start && end[-2] != '/'; }

    [[nodiscard]] bool NameIs(std::string_view text) const { return name.View() == text; }
};

/// A text of the input, not decoded yet.
struct RawText {
    ByteSlice bytes;
    bool isPlain = true;   // holds no reference, which decoding might change, and no 0 byte, which ends a text

    /// Removes the white space at the start.
    void SkipSpace();

    /// Appends the decoded text. Throws std::bad_alloc or std::length_error.
    void AppendDecoded(std::string& output) const;
};

/// An attribute as slices of the input.
struct XmlAttribute {
    std::string_view name;   // ASCII, without references
    RawText value;
};

/// A start tag with one attribute.
struct XmlSimpleTag {
    XmlElement element;
    ByteSlice attributeValue;   // holds no reference and no 0 byte
};

/// A failure leaves the position at the fault. Slices are valid as long as the input is.
class XmlReader {
public:
    XmlReader(const char* start, std::uint32_t sizeBytes, bool skipByteOrderMark);

    [[nodiscard]] TokenKind PeekKind() const;

    void SkipSpace();

    /// Returns the literal's length if it is at the position, else 0.
    [[nodiscard]] std::uint32_t MatchAt(std::string_view literal) const;

    /// Reads the name at the position, without skipping white space. Returns 0 or `XmlMalformed`.
    std::int32_t ReadName(ByteSlice& name);

    /// Skips white space, comments and instructions and reads the start tag that follows. The tag ends at its first
    /// `>`, quoted or not. If something else follows, doesn't consume it and returns `XmlNotFound`. If that is text or
    /// CDATA and the flag `ReportText` is set, returns `TokenText` or `TokenCData` instead. `expected`, NUL-terminated,
    /// is used only with `RequireName`.
    std::int32_t NextStartTag(XmlElement& element, std::uint32_t flags, const char* expected);

    /// Skips white space, and returns whether a start tag follows that has the layout that a save writes: `opening` (a
    /// space, the attribute's name, `="`) after the element's name, a value without references, and `">`. Consumes only
    /// the white space. The result is what the general operations would give, except that the element's name isn't
    /// checked.
    bool PeekSimpleTag(std::string_view opening, XmlSimpleTag& tag);

    /// Moves past a start tag that `PeekSimpleTag` has found.
    void SkipTag(const XmlElement& element) { position = element.end; }

    /// Reads the rest of `element`, whose start tag was read last, if that is text without markup and the end tag in
    /// its shortest form. Else consumes nothing and returns false.
    bool TryReadSimpleText(const XmlElement& element, RawText& text);

    /// Skips white space and reads an end tag. Returns 0, `XmlBadStructure` if there is none, or `XmlMalformed`.
    std::int32_t ReadEndTag(ByteSlice& name);

    /// Reads the bytes up to the next `<` or the end. Returns whether they hold more than white space.
    bool ReadRawText(RawText& text);

    /// Reads and decodes text up to the next `<`. With `allowCData` it goes on after comments, instructions and CDATA
    /// sections and joins the text; sections are not decoded. Returns whether it read more than white space. Throws
    /// std::bad_alloc or std::length_error from the string.
    bool ReadText(std::string& text, bool allowCData);

    /// Reads a comment, a CDATA section or an instruction; `token` is the content without its delimiters. A comment's
    /// content ends at the first "--", and what follows up to the next ">" is dropped. Returns `XmlNotFound` for
    /// `TokenEnd`.
    std::int32_t ReadToken(TokenKind kind, ByteSlice& token);

    /// Skips one token of that kind. Returns 0 or a failure.
    std::int32_t SkipToken(TokenKind kind);

    /// Moves past the next `terminator`. `length` gets the number of bytes before it; a terminator of one byte is
    /// counted too. Returns `XmlMalformed`, with the position at the end, if there is none.
    std::int32_t ScanUntil(std::string_view terminator, std::uint32_t& length);

    /// Moves from a position in the content of `element` to its end tag. `*size`, if not null, gets the number of bytes
    /// skipped. Uses no stack, whatever the nesting.
    std::int32_t SkipContent(const XmlElement& element, std::uint32_t* size);

    /// Skips the rest of the element and its end tag. Does nothing if the element has no content.
    std::int32_t CloseElement(const XmlElement& element);

    /// Reads the attributes from the bytes of the start tag, in document order, duplicates included. Returns 0,
    /// `XmlMalformed` or `XmlOutOfMemory`.
    static std::int32_t ReadAttributes(const XmlElement& element, std::vector<XmlAttribute>& attributes);

    /// Reads and decodes the first attribute of that name and checks all of them as above. Returns `XmlNotFound` if
    /// there is none.
    static std::int32_t ReadAttribute(const XmlElement& element, std::string_view wanted, std::string& value);

private:
    [[nodiscard]] bool IsAtStartTag() const;
    [[nodiscard]] bool IsAtEndTag() const;
    void SkipIndent();

    const char* position;
    const char* end;
    ByteSlice indent;   // the white space before the latest simple tag
};

}   // namespace arbor::module
