// The reader's operations in any order over any bytes: it never leaves its input, never goes back, answers with its own
// codes alone, and a look doesn't move it. The input is a count of operations, the operations, and the text.
#include "document/xml_entities.h"
#include "document/xml_reader.h"
#include "fuzz.h"

#include <algorithm>
#include <vector>

namespace {

using namespace arbor::module;

class Walk {
public:
    explicit Walk(std::string_view text)
        : begin(text.data()),
          end(text.data() + text.size()),
          reader(text.data(), static_cast<std::uint32_t>(text.size()), false) {}

    void Step(fuzz::Input& choices) {
        const char* const before = Position();
        Call(choices);
        FUZZ_CHECK(Position() >= before);
    }

    /// Element by element: each takes a part of the input, so that there is an end.
    void RunThrough() {
        reader = XmlReader(begin, static_cast<std::uint32_t>(end - begin), false);
        for (;;) {
            const char* const before = Position();
            CheckSimpleElements();
            XmlElement element;
            const std::int32_t result = reader.NextStartTag(element, 0, nullptr);
            CheckElement(element, result);
            if (result != XmlDone) break;
            FUZZ_CHECK(element.start >= before && Position() == element.end);
            const XmlReader inside = reader;
            const std::int32_t closed = Check(reader.CloseElement(element));
            if (!element.HasContent()) FUZZ_CHECK(closed == XmlDone && Position() == element.end);
            // Closed means: the content, and then an end tag of that name.
            if (closed == XmlDone && element.HasContent()) CheckEndTag(inside, element);
        }
        CheckPosition();
    }

private:
    static constexpr const char* kLiterals[] = {"<!--", "<![CDATA[", "<?", "]]>", ">", "</", "<a"};

    void Call(fuzz::Input& choices) {
        const std::uint8_t operation = choices.Byte();
        const std::uint8_t argument = choices.Byte();
        const auto kind = static_cast<TokenKind>(argument % 9);
        const char* const literal = kLiterals[argument % std::size(kLiterals)];
        ByteSlice slice;
        std::string text;
        std::uint32_t size = 0;
        switch (operation % 13) {
            case 0:
                Look(literal);
                break;
            case 1:
                reader.SkipSpace();
                break;
            case 2:
                CheckSlice(slice, Check(reader.ReadName(slice)));
                break;
            case 3: {
                XmlElement element;
                CheckElement(element, Check(reader.NextStartTag(element, argument, "a")));
                if (element.end != nullptr) elements.push_back(element);
                break;
            }
            case 4:
                CheckSlice(slice, Check(reader.ReadEndTag(slice)));
                break;
            case 5: {
                const bool visible = reader.ReadRawText(slice);
                CheckSlice(slice, XmlDone);
                FUZZ_CHECK(slice.View().find('<') == std::string_view::npos);
                FUZZ_CHECK(visible == (slice.View().find_first_not_of(" \t\r\n") != std::string_view::npos));
                break;
            }
            case 6:
                static_cast<void>(reader.ReadText(text, (argument & 1) != 0));
                break;
            case 7:
                CheckSlice(slice, Check(reader.ReadToken(kind, slice)));
                break;
            case 8:
                Check(reader.SkipToken(kind));
                break;
            case 9:
                Check(reader.ScanUntil(literal, size));
                break;
            case 10:
                Check(reader.SkipContent(Chosen(argument), &size));
                break;
            case 11:
                Check(reader.CloseElement(Chosen(argument)));
                break;
            default:
                ReadAttributes(Chosen(argument));
                break;
        }
    }

    void Look(const char* literal) {
        const char* const before = Position();
        const TokenKind kind = reader.PeekKind();
        FUZZ_CHECK(kind >= TokenEnd && kind <= TokenOther && (kind == TokenEnd) == (before == end));
        const std::uint32_t matched = reader.MatchAt(literal);
        const std::string_view rest(before, static_cast<std::size_t>(end - before));
        FUZZ_CHECK(matched == (rest.starts_with(literal) ? std::strlen(literal) : 0));
        FUZZ_CHECK(Position() == before);
    }

    void ReadAttributes(const XmlElement& element) {
        const char* const before = Position();
        XmlAttributeList first;
        const std::int32_t result = Check(XmlReader::ReadAttributes(element, first));
        XmlAttributeList second;
        FUZZ_CHECK(XmlReader::ReadAttributes(element, second) == result && second.Size() == first.Size());
        std::string value;
        for (const XmlAttribute& attribute : first) {
            FUZZ_CHECK(XmlReader::ReadAttribute(element, attribute.name, value) == result);
            const auto named = [&](const XmlAttribute& other) { return other.name == attribute.name; };
            FUZZ_CHECK(std::find_if(first.begin(), first.end(), named)->value == value);
        }
        FUZZ_CHECK(Position() == before);
    }

    /// An element read in one step is what the general operations read.
    void CheckSimpleElements() const {
        XmlReader inOneStep = reader;
        XmlReader inSteps = reader;
        XmlSimpleElement plain;
        while (inOneStep.TryReadSimpleElement(" name=\"", plain)) {
            // The caller checks the name.
            ByteSlice name;
            if (XmlReader(plain.name.data, plain.name.length, false).ReadName(name) != XmlDone) return;
            if (name.length != plain.name.length) return;
            XmlElement element;
            FUZZ_CHECK(inSteps.NextStartTag(element, 0, nullptr) == XmlDone && element.NameIs(plain.name.View()));
            std::string value, text, decoded;
            FUZZ_CHECK(XmlReader::ReadAttribute(element, "name", value) == XmlDone &&
                       value == plain.attributeValue.View());
            static_cast<void>(inSteps.ReadText(text, true));
            DecodeEntities(plain.text.data, static_cast<std::int32_t>(plain.text.length), decoded);
            FUZZ_CHECK(text == decoded && inSteps.CloseElement(element) == XmlDone);
        }
        ByteSlice left, right;
        inOneStep.SkipSpace();
        inSteps.SkipSpace();
        FUZZ_CHECK(inSteps.ReadRawText(left) == inOneStep.ReadRawText(right) && left.data == right.data);
    }

    void CheckEndTag(XmlReader inside, const XmlElement& element) const {
        ByteSlice name;
        FUZZ_CHECK(inside.SkipContent(element, nullptr) == XmlDone && inside.PeekKind() == TokenEndTag);
        FUZZ_CHECK(inside.ReadEndTag(name) == XmlDone && name.View() == element.name.View());
    }

    [[nodiscard]] XmlElement Chosen(std::uint8_t argument) const {
        return elements.empty() ? XmlElement() : elements[argument % elements.size()];
    }

    static std::int32_t Check(std::int32_t result) {
        const bool known = (result >= XmlBroken && result <= XmlNone) || result == TokenText || result == TokenCData;
        FUZZ_CHECK(known);
        return result;
    }

    void CheckSlice(const ByteSlice& slice, std::int32_t result) const {
        if (slice.data != nullptr) FUZZ_CHECK(slice.data >= begin && slice.data + slice.length <= end);
        if (result == XmlDone) FUZZ_CHECK(slice.data != nullptr || begin == end);
    }

    void CheckElement(const XmlElement& element, std::int32_t result) const {
        if (result == XmlDone) FUZZ_CHECK(element.end != nullptr);
        if (element.end == nullptr) return;
        FUZZ_CHECK(element.start >= begin && element.end <= end && *element.start == '<' && element.end[-1] == '>');
        FUZZ_CHECK(element.name.data == element.start + 1 && element.name.length != 0);
        FUZZ_CHECK(element.name.data + element.name.length < element.end);
    }

    void CheckPosition() const {
        const char* const position = Position();
        FUZZ_CHECK(position >= begin && position <= end);
    }

    /// Where text read now would begin.
    [[nodiscard]] const char* Position() const {
        XmlReader probe = reader;
        ByteSlice rest;
        static_cast<void>(probe.ReadRawText(rest));
        return rest.data;
    }

    const char* begin;
    const char* end;
    XmlReader reader;
    std::vector<XmlElement> elements;
};

}   // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::string operations = input.Text(255);
    const std::string rest = input.Rest();
    const auto block = fuzz::Exactly(std::string_view(rest));
    Walk walk({block.get(), rest.size()});
    fuzz::Input choices(reinterpret_cast<const std::uint8_t*>(operations.data()), operations.size());
    while (!choices.AtEnd()) walk.Step(choices);
    walk.RunThrough();
    return 0;
}
