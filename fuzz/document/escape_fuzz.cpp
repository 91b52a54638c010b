// Escapes any text and decodes it again, which must give the same text; and decodes any text as it is. Both must equal
// the model's escaping and decoding.
#include "document/xml_entities.h"
#include "document/xml_reader.h"
#include "document/xml_writer.h"
#include "fuzz.h"
#include "model/document.h"

namespace {

std::string Escape(std::string_view text) {
    const auto block = fuzz::CopyToBlock(text);
    arbor::module::TextBuffer escaped;
    escaped.Append("kept");
    arbor::module::EscapeXml(block.get(), static_cast<std::int32_t>(text.size()), escaped);
    FUZZ_CHECK(escaped.View().starts_with("kept"));
    return std::string(escaped.View().substr(4));
}

bool Decode(std::string_view text, std::string& decoded) {
    const auto block = fuzz::CopyToBlock(text);
    decoded = "kept";
    const bool areValid = arbor::module::DecodeEntities(block.get(), static_cast<std::int32_t>(text.size()), decoded);
    FUZZ_CHECK(decoded.starts_with("kept"));
    decoded.erase(0, 4);
    return areValid;
}

/// The only character that doesn't survive: a 0 byte is escaped as "&#x0;", which isn't decoded.
std::string WithEscapedZeros(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c == '\0') {
            result += "&#x0;";
        } else {
            result += c;
        }
    }
    return result;
}

}   // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);

    const std::string escaped = Escape(text);
    FUZZ_CHECK(escaped == model::Escaped(text));
    std::string decodedAgain;
    const bool allDecoded = Decode(escaped, decodedAgain);
    FUZZ_CHECK(decodedAgain == WithEscapedZeros(text));
    FUZZ_CHECK(allDecoded || text.find('\0') != text.npos);

    std::string decoded;
    const bool areValid = Decode(text, decoded);
    bool expected = false;
    FUZZ_CHECK(decoded == model::DecodeReferences(text, expected) && areValid == expected);

    // Length -1: up to the terminator.
    const std::string terminated = fuzz::Terminated(text);
    arbor::module::TextBuffer untilTerminator;
    arbor::module::EscapeXml(terminated.c_str(), -1, untilTerminator);
    FUZZ_CHECK(untilTerminator.View() == Escape(terminated));
    std::string measured;
    static_cast<void>(arbor::module::DecodeEntities(terminated.c_str(), -1, measured));
    static_cast<void>(Decode(terminated, decoded));
    FUZZ_CHECK(measured == decoded);
    return 0;
}
