// The fast path of a load: an element with one attribute and plain text, exactly as a save writes it, is read in one
// pass instead of by four reader operations. White space before it is compared with that of the element before, and the
// ends of name and attribute value are found a word at a time (SWAR). Gain: -14 % of LOAD's instructions for the single
// pass, -5 % of its time for the repeated indent. Any other element is left to the general operations.

#include "document/xml_scan.h"

#include <algorithm>

namespace arbor::module {
namespace {

/// Returns the first byte that `match` matches in its word, or `last`.
template <class Match>
const char* FindMatch(const char* at, const char* last, Match match) {
    // Two words a step: names mostly end in the first step, so that the branch is predicted.
    constexpr std::size_t kStep = 2 * sizeof(Word);
    for (; static_cast<std::size_t>(last - at) >= kStep; at += kStep) {
        const Word lower = match(Load<Word>(at));
        const Word upper = match(Load<Word>(at + sizeof(Word)));
        if ((lower | upper) == 0) continue;
        return lower != 0 ? at + FirstMatch(lower) : at + sizeof(Word) + FirstMatch(upper);
    }
    for (; HasWord(at, last); at += sizeof(Word)) {
        if (const Word found = match(Load<Word>(at)); found != 0) return at + FirstMatch(found);
    }
    if (at == last) return last;
    const Word found = match(LoadPartial(at, static_cast<std::size_t>(last - at)));
    return found != 0 ? std::min(at + FirstMatch(found), last) : last;   // the padding may match
}

/// The space before an attribute, or the end of a tag without one.
Word MatchNameEnd(Word word) { return MatchByte(word, ' ') | MatchByte(word, '>'); }

/// The closing quote, or a byte that a simple value doesn't hold: the start of a reference, ">" or 0.
Word MatchValueEnd(Word word) {
    constexpr char kQuoteOrAmpersand = 4;   // the bit in which the two differ
    static_assert(('"' | kQuoteOrAmpersand) == '&');
    return MatchByte(word | Broadcast(kQuoteOrAmpersand), '&') | MatchByte(word, '>') | MatchByte(word, '\0');
}

}   // namespace

void XmlReader::SkipIndent() {
    if (static_cast<std::size_t>(end - position) > indent.length && position[indent.length] == '<' &&
        SameBytes(position, indent.data, indent.length)) {
        position += indent.length;
        return;
    }
    const char* const first = position;
    SkipSpace();
    indent = SliceOf(first, position);
}

bool XmlReader::TryReadSimpleElement(std::string_view opening, XmlSimpleElement& element) {
    SkipIndent();
    if (position == end || *position != '<') return false;
    const char* const name = position + 1;
    const char* const nameEnd = FindMatch(name, end, MatchNameEnd);
    const char* const value = SkipText(nameEnd, end, opening);
    if (value == nullptr) return false;
    const char* const valueEnd = FindMatch(value, end, MatchValueEnd);
    const char* const text = SkipLiteral(valueEnd, end, "\">");
    if (text == nullptr) return false;
    const char* const textEnd = FindByte(text, end, '<');
    element = {SliceOf(name, nameEnd), SliceOf(value, valueEnd), SliceOf(text, textEnd)};
    const char* const after = SkipEndTag(textEnd, end, element.name.View());
    if (after == nullptr) return false;
    position = after;
    return true;
}

}   // namespace arbor::module
