// Escaping against decoding: what goes out escaped comes back as it was; and any bytes decode, by the table of
// references and no other way.
#include "document/xml_entities.h"
#include "document/xml_reader.h"
#include "document/xml_writer.h"
#include "fuzz.h"
#include "model/document.h"

namespace {

std::string Escape(std::string_view text) {
    const auto block = fuzz::Exactly(text);
    arbor::module::TextBuffer escaped;
    escaped.Append("kept");
    arbor::module::EscapeXml(block.get(), static_cast<std::int32_t>(text.size()), escaped);
    FUZZ_CHECK(escaped.View().starts_with("kept"));
    return std::string(escaped.View().substr(4));
}

bool Decode(std::string_view text, std::string& decoded) {
    const auto block = fuzz::Exactly(text);
    decoded = "kept";
    const bool understood = arbor::module::DecodeEntities(block.get(), static_cast<std::int32_t>(text.size()), decoded);
    FUZZ_CHECK(decoded.starts_with("kept"));
    decoded.erase(0, 4);
    return understood;
}

/// A 0 byte is the one that has no way back.
std::string WithZerosSpelled(std::string_view text) {
    std::string spelled;
    for (const char c : text) {
        if (c == '\0') {
            spelled += "&#x0;";
        } else {
            spelled += c;
        }
    }
    return spelled;
}

}   // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);

    const std::string escaped = Escape(text);
    FUZZ_CHECK(escaped == model::Escaped(text));
    std::string back;
    const bool whole = Decode(escaped, back);
    FUZZ_CHECK(back == WithZerosSpelled(text));
    FUZZ_CHECK(whole || text.find('\0') != text.npos);

    std::string decoded;
    const bool understood = Decode(text, decoded);
    bool expected = false;
    FUZZ_CHECK(decoded == model::DecodeReferences(text, expected) && understood == expected);

    // Up to the terminator, without being told where it is.
    const std::string terminated = fuzz::Terminated(text);
    arbor::module::TextBuffer untold;
    arbor::module::EscapeXml(terminated.c_str(), -1, untold);
    FUZZ_CHECK(untold.View() == Escape(terminated));
    std::string measured;
    static_cast<void>(arbor::module::DecodeEntities(terminated.c_str(), -1, measured));
    static_cast<void>(Decode(terminated, decoded));
    FUZZ_CHECK(measured == decoded);
    return 0;
}
