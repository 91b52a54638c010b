// Calls the operations of the XML reader in any order over any text. The reader must stay inside the text, never move
// backwards, return only its own codes, and not move when it only looks ahead. The input is the number of operations,
// the operations, and the text.
#include "document/xml_reader.h"
#include "fuzz.h"

#include <algorithm>
#include <vector>

namespace {

using namespace arbor::module;

class ReaderCalls {
public:
    explicit ReaderCalls(std::string_view text)
        : begin(text.data()),
          end(text.data() + text.size()),
          reader(text.data(), static_cast<std::uint32_t>(text.size()), false) {}

    void Step(fuzz::Input& choices) {
        const char* const before = Position();
        Call(choices);
        FUZZ_CHECK(Position() >= before);
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
                CheckLookahead(literal);
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
                RawText raw;
                const bool visible = reader.ReadRawText(raw);
                slice = raw.bytes;
                CheckSlice(slice, XmlDone);
                FUZZ_CHECK(slice.View().find('<') == std::string_view::npos);
                FUZZ_CHECK(raw.isPlain == (slice.View().find_first_of({"&\0", 2}) == std::string_view::npos));
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
                Check(reader.SkipContent(ElementAt(argument), &size));
                break;
            case 11:
                Check(reader.CloseElement(ElementAt(argument)));
                break;
            default:
                ReadAttributes(ElementAt(argument));
                break;
        }
    }

    void CheckLookahead(const char* literal) {
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
        std::vector<XmlAttribute> first;
        const std::int32_t result = Check(XmlReader::ReadAttributes(element, first));
        std::vector<XmlAttribute> second;
        FUZZ_CHECK(XmlReader::ReadAttributes(element, second) == result && second.size() == first.size());
        std::string value;
        for (const XmlAttribute& attribute : first) {
            FUZZ_CHECK(XmlReader::ReadAttribute(element, attribute.name, value) == result);
            const auto named = [&](const XmlAttribute& other) { return other.name == attribute.name; };
            std::string decoded;
            std::find_if(first.begin(), first.end(), named)->value.AppendDecoded(decoded);
            FUZZ_CHECK(decoded == value);
        }
        FUZZ_CHECK(Position() == before);
    }

    [[nodiscard]] XmlElement ElementAt(std::uint8_t argument) const {
        return elements.empty() ? XmlElement() : elements[argument % elements.size()];
    }

    static std::int32_t Check(std::int32_t result) {
        const bool known =
            (result >= XmlBadStructure && result <= XmlNotFound) || result == TokenText || result == TokenCData;
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

    /// The position in the text. The reader has no accessor for it, so a copy of the reader reads the text that
    /// follows.
    [[nodiscard]] const char* Position() const {
        XmlReader probe = reader;
        RawText rest;
        static_cast<void>(probe.ReadRawText(rest));
        return rest.bytes.data;
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
    const auto block = fuzz::CopyToBlock(std::string_view(rest));
    ReaderCalls calls({block.get(), rest.size()});
    fuzz::Input choices(reinterpret_cast<const std::uint8_t*>(operations.data()), operations.size());
    while (!choices.AtEnd()) calls.Step(choices);
    return 0;
}
