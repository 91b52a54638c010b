/// A pull reader over one range of bytes: the caller asks for the next start tag, for that element's attributes or text
/// if it wants them, and closes the element, which skips what it didn't read. One pass, no copy, no document tree.
///
/// It checks what it needs to walk the text and no more: no namespaces, no declared encoding, no doctype, and skipped
/// content isn't checked for matching names. It knows no keys. A reader belongs to one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace arbor {

/// Bytes of the input, which must outlive it.
struct ByteSlice {
    const char* data = nullptr;
    std::uint32_t length = 0;

    [[nodiscard]] std::string_view View() const { return {data, length}; }
};

/// Results of the reader: 0 is a success, a negative number one of these.
enum XmlResult : std::int32_t {
    XmlDone = 0,
    XmlNone = 1,          // no start tag, or no token: the input ends
    XmlMalformed = -1,    // a name, an attribute, an end tag, or a token without its terminator
    XmlWrongToken = -2,   // the token isn't at the position, or its kind has no such form
    XmlNoStartTag = -3,   // none where one must stand, or the input ends inside an element
    XmlOtherName = -4,
    XmlBroken = -5,   // a start tag or content that can't be walked, or an end tag that isn't the element's
    XmlOutOfMemory = -7,
    XmlTooDeep = -8,
};

/// What stands at the position.
enum TokenKind : std::int32_t {
    TokenEnd = 1,
    TokenText = 2,
    TokenStartTag = 3,
    TokenEndTag = 4,
    TokenComment = 5,
    TokenCData = 6,
    TokenInstruction = 7,
    TokenOther = 8,   // a doctype, or a `<` that begins nothing
};

/// Flags of `XmlReader::NextStartTag`.
enum StartTagFlag : std::uint32_t {
    DemandStartTag = 1,   // no start tag is `XmlNoStartTag`
    SkipElement = 2,      // skips the element whole; its failure is the result
    DemandName = 8,       // another name is `XmlOtherName`
    ReportText = 16,      // text or CDATA instead of a start tag gives its kind
};

/// One start tag; all fields 0 is no tag at all.
struct XmlElement {
    const char* start = nullptr;   // its `<`
    const char* end = nullptr;     // behind its first `>`
    ByteSlice name;

    /// False for a self-closed element, and for no tag at all.
    [[nodiscard]] bool HasContent() const { return end > start && end[-2] != '/'; }

    [[nodiscard]] bool NameIs(std::string_view text) const { return name.View() == text; }
};

/// An element of the plainest form, as it stands in the input.
struct XmlPlainElement {
    ByteSlice name;
    ByteSlice value;             // of its one attribute; neither a reference nor a 0 byte stands in it
    ByteSlice text;              // still to be decoded
    const char* end = nullptr;   // behind its end tag
};

/// Decoded, and independent of the input.
struct XmlAttribute {
    std::string name;
    std::string value;
};

/// The attributes of one element in their order, duplicates side by side. One that was cleared keeps its strings'
/// memory for the next element.
class XmlAttributeList {
public:
    [[nodiscard]] const XmlAttribute* begin() const { return slots.data(); }
    [[nodiscard]] const XmlAttribute* end() const { return slots.data() + count; }
    [[nodiscard]] std::size_t Size() const { return count; }

    void Clear() { count = 0; }

    /// A new last attribute, empty. Throws what the allocation throws, with the list as it was.
    XmlAttribute& Add();

private:
    std::vector<XmlAttribute> slots;
    std::size_t count = 0;
};

/// A failure leaves the position where it happened. Slices stay valid while the input does.
class XmlReader {
public:
    /// `skipMark` passes over a UTF-8 byte order mark at the start.
    XmlReader(const char* start, std::uint32_t size, bool skipMark);

    [[nodiscard]] TokenKind PeekKind() const;

    void SkipSpace();

    /// The literal's length if it stands at the position, else 0.
    [[nodiscard]] std::uint32_t MatchAt(std::string_view literal) const;

    /// Takes the name at the position; no blanks are skipped. 0 or `XmlMalformed`.
    std::int32_t ReadName(ByteSlice& name);

    /// Skips blanks, comments and instructions and takes the start tag behind them; the tag ends at its first `>`,
    /// quoted or not. `XmlNone` for anything else there, which isn't consumed; under `ReportText` also `TokenText` and
    /// `TokenCData`. `expected`, terminated, is read under `DemandName` alone. `element` is no tag after a failure to
    /// read one.
    std::int32_t NextStartTag(XmlElement& element, std::uint32_t flags, const char* expected);

    /// Skips blanks and looks at the element behind them: true if it has one attribute alone, in double quotes and
    /// without references, a text without comments and sections, or none, its own end tag, and no blank within its tags
    /// but the one that it takes. Reading it step by step gives the same name, value and text. The name isn't checked:
    /// whoever knows it knows that it is one. `opening` is what stands from behind the name to the value: a blank, the
    /// attribute's name, `="`. `element` holds something only where it is true.
    bool PeekPlainElement(std::string_view opening, XmlPlainElement& element);

    /// Passes the element of the look before, since which nothing may have been read.
    void TakePlainElement(const XmlPlainElement& element) { position = element.end; }

    std::int32_t ReadEndTag(ByteSlice& name);

    /// Takes the bytes up to the next `<` or the end. Returns whether one of them isn't a blank.
    bool ReadRawText(ByteSlice& text);

    /// Takes and decodes text up to the next `<`, with `allowCData` joined over comments, instructions and CDATA
    /// sections. Returns whether anything but blanks was read. Throws what the allocation throws.
    bool ReadText(std::string& text, bool allowCData);

    /// Takes a comment, a CDATA section or an instruction; the slice is what stands between its marks. A comment's text
    /// ends at the first "--", and what follows up to the next ">" is dropped. `XmlNone` for `TokenEnd`.
    std::int32_t ReadToken(TokenKind kind, ByteSlice& token);

    std::int32_t SkipToken(TokenKind kind);

    /// Moves behind the next `terminator`; `length` gets the bytes in front of it, to which a terminator of one byte is
    /// counted. `XmlMalformed`, with the position at the end, if there is none.
    std::int32_t ScanUntil(std::string_view terminator, std::uint32_t& length);

    /// Moves to the end tag of `element` from a place in its own content. `*size`, if not null, gets the bytes walked.
    /// Takes no stack, whatever the nesting.
    std::int32_t SkipContent(const XmlElement& element, std::uint32_t* size);

    /// Skips the rest of the element and takes its end tag; does nothing without content.
    std::int32_t CloseElement(const XmlElement& element);

    /// Reads the start tag's own bytes; the position doesn't matter and stays.
    static std::int32_t ReadAttributes(const XmlElement& element, XmlAttributeList& attributes);

    /// The value of the first attribute of that name, with all attributes checked as above; `XmlNone` without one.
    static std::int32_t ReadAttribute(const XmlElement& element, std::string_view wanted, std::string& value);

private:
    [[nodiscard]] bool StandsAtStartTag() const;
    [[nodiscard]] bool StandsAtEndTag() const;
    void SkipGap();

    const char* position;
    const char* end;
    ByteSlice gap;   // the white space in front of the element that was looked at last
};

/// Appends the bytes with their references replaced; a `length` of -1 means up to the first 0 byte. What it can't
/// replace stays as it is. Returns whether every reference was understood. Throws what the allocation throws.
bool DecodeEntities(const char* data, std::int32_t length, std::string& output);

/// Appends the UTF-8 of a code point below 0x10000, and nothing for one above.
void AppendUtf8(std::uint32_t codePoint, std::string& output);

}   // namespace arbor
