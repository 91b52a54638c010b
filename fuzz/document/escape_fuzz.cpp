// Escaping against decoding: what goes out escaped comes back as it was; and any bytes decode, by the table of
// references and no other way.
#include "document/xml_entities.h"
#include "document/xml_reader.h"
#include "document/xml_writer.h"
#include "fuzz.h"

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

/// What a reference's body stands for; nothing if it stays in the text, where `understood` may turn false.
bool Replacement(std::string_view body, std::string& text, bool& understood) {
    struct Row {
        std::string_view body;
        char character;
    };
    static constexpr Row kNamed[] = {{"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"apos", '\''}, {"quot", '"'}};
    for (const Row& row : kNamed) {
        if (row.body != body) continue;
        text = row.character;
        return true;
    }
    if (body.size() < 2) return false;
    if (body[0] != '#') {
        understood = understood && body.size() < 5;
        return false;
    }
    const bool hexadecimal = body[1] == 'x';
    const std::string_view digits = body.substr(hexadecimal ? 2 : 1);
    if (digits.find_first_not_of(hexadecimal ? "0123456789abcdefABCDEF" : "0123456789") != digits.npos) {
        understood = false;
        return false;
    }
    std::uint32_t point = 0;
    for (const char c : digits) {
        const auto digit = static_cast<std::uint32_t>(c <= '9' ? c - '0' : (c | 32) - 'a' + 10);
        point = point * (hexadecimal ? 16 : 10) + digit;
    }
    if (point == 0) return false;
    const auto put = [&text](std::uint32_t byte) { text += static_cast<char>(byte); };
    text.clear();
    if (point < 0x80) {
        put(point);
    } else if (point < 0x800) {
        put(0xC0 | point >> 6);
        put(0x80 | (point & 0x3F));
    } else if (point < 0x10000) {
        put(0xE0 | point >> 12);
        put(0x80 | (point >> 6 & 0x3F));
        put(0x80 | (point & 0x3F));
    }
    return true;
}

bool PlainDecode(std::string_view text, std::string& decoded) {
    bool understood = true;
    while (!text.empty()) {
        const std::size_t start = text.find('&');
        const std::size_t end = start != text.npos ? text.find(';', start) : text.npos;
        if (end == text.npos) break;
        std::string replacement(text.substr(start, end + 1 - start));
        static_cast<void>(Replacement(text.substr(start + 1, end - start - 1), replacement, understood));
        decoded.append(text.substr(0, start)).append(replacement);
        text.remove_prefix(end + 1);
    }
    decoded.append(text);
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
    FUZZ_CHECK(escaped.find_first_of("<>\"'") == escaped.npos);
    for (const char c : escaped) FUZZ_CHECK(static_cast<unsigned char>(c) >= 0x20 || c == '\r' || c == '\n');
    std::string back;
    const bool whole = Decode(escaped, back);
    FUZZ_CHECK(back == WithZerosSpelled(text));
    FUZZ_CHECK(whole || text.find('\0') != text.npos);

    std::string decoded;
    std::string expected;
    const bool understood = Decode(text, decoded);
    FUZZ_CHECK(understood == PlainDecode(text, expected));
    FUZZ_CHECK(decoded == expected);

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
