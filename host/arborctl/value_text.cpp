#include "value_text.h"

#include <host/text.h>

#include <cstring>

namespace arborctl {
namespace {

constexpr std::string_view kDigits = "0123456789ABCDEF";

bool IsBlob(kernel::TypeCode type) { return type == kernel::tBINARY || type == kernel::tPTR; }

std::string ToHex(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        const auto number = static_cast<unsigned char>(byte);
        text += kDigits[number >> 4];
        text += kDigits[number & 0x0F];
    }
    return text;
}

std::size_t Digit(char letter) {
    const bool small = letter >= 'a' && letter <= 'f';
    return kDigits.find(small ? static_cast<char>(letter - 'a' + 'A') : letter);
}

std::string FromHex(const std::string& text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const std::size_t high = Digit(text[i]);
        const std::size_t low = i + 1 < text.size() ? Digit(text[i + 1]) : std::string_view::npos;
        if (high >= kDigits.size() || low >= kDigits.size()) {
            throw Refusal(kernel::kInvalidArgument, text + " isn't hexadecimal, two digits a byte");
        }
        bytes += static_cast<char>(static_cast<unsigned char>(high << 4 | low));
    }
    return bytes;
}

std::string WideBytes(const std::string& text) {
    const std::u16string wide = host::ToUtf16(text);
    return {reinterpret_cast<const char*>(wide.data()), wide.size() * sizeof(char16_t)};
}

std::string FromWideBytes(const std::string& bytes) {
    std::u16string wide(bytes.size() / sizeof(char16_t), u'\0');
    std::memcpy(wide.data(), bytes.data(), wide.size() * sizeof(char16_t));
    return host::ToUtf8(wide.c_str());
}

}   // namespace

arbor::Datum ValueText::Parse(kernel::TypeCode type, const std::string& text) const {
    if (IsBlob(type)) return {type, FromHex(text)};
    if (type == kernel::tSTRING) return {type, text};
    if (type == kernel::tWSTRING) return {type, WideBytes(text)};
    const kernel::ValueTypeRow& row = *kernel::FindType(type);
    const std::string name = '"' + text + "\" as " + std::string(row.name);   // a refusal tells it
    Demand(scratch.Root().Set(name, arbor::Datum{type, std::string(row.width, '\0')}), name);
    Demand(scratch.Root().Set(name, text), name);
    return Demand(scratch.Root().Read(name, type), name);
}

std::string ValueText::Show(const arbor::Datum& datum) const {
    if (IsBlob(datum.type)) return ToHex(datum.bytes);
    if (datum.type == kernel::tWSTRING) return FromWideBytes(datum.bytes);
    if (datum.type == kernel::tSTRING) return datum.bytes.c_str();   // without the terminator
    const std::string name = TypeName(datum);
    Demand(scratch.Root().Set(name, datum), name);
    return Demand(scratch.Root().Get<std::string>(name), name);
}

std::string ValueText::Line(const arbor::Datum& datum) const {
    const std::string text = Show(datum);
    const std::string shown = IsText(datum.type) ? Quoted(text) : text;
    return TypeName(datum) + (shown.empty() ? "" : " ") + shown;
}

bool IsText(kernel::TypeCode type) {
    return type == kernel::tSTRING || type == kernel::tWSTRING || type == kernel::tCHAR;
}

std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char letter : text) {
        if (letter == '"' || letter == '\\') quoted += '\\';
        quoted += letter;
    }
    return host::Printable(quoted) + '"';
}

}   // namespace arborctl
