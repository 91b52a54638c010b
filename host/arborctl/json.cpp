// Serializes numbers and strings with nlohmann/json; writes the structure around them directly.

#include "json.h"

#include "exact_text.h"

#include <host/text.h>

#include <cstdio>

#include <nlohmann/json.hpp>

namespace arborctl {
namespace {

/// Escapes DEL and the C1 controls, which terminals interpret and JSON serializers leave as they are.
std::string EscapeControls(std::string_view json) {
    std::string escaped;
    while (!json.empty()) {
        const std::size_t length = host::PrintableLength(json);
        if (length != 0) {
            escaped += json.substr(0, length);
            json.remove_prefix(length);
        } else {
            const std::size_t bytes = json[0] == '\x7F' ? 1 : 2;
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned char>(json[bytes - 1]));
            escaped += escape;
            json.remove_prefix(bytes);
        }
    }
    return escaped;
}

}   // namespace

JsonWriter& JsonWriter::Name(std::string_view name) {
    String(name);
    out << ':';
    isFirst = true;
    return *this;
}

JsonWriter& JsonWriter::String(std::string_view text) {
    WriteSeparator();
    out << EscapeControls(nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
    return *this;
}

JsonWriter& JsonWriter::Number(std::uint64_t number) {
    WriteSeparator();
    out << number;
    return *this;
}

JsonWriter& JsonWriter::Null() {
    WriteSeparator();
    out << "null";
    return *this;
}

JsonWriter& JsonWriter::TypeAndValue(const arbor::Datum& datum) {
    Member("type", kernel::FindType(datum.type)->name);
    const std::string text = ToExactText(datum);
    if (IsNumber(datum.type)) return Name("value").WriteNumber(datum.type, text);
    if (host::IsUtf8(text)) return Member("value", text);
    return Member("bytes", ToExactText({kernel::tBINARY, text}));
}

JsonWriter& JsonWriter::WriteNumber(kernel::TypeCode type, const std::string& text) {
    constexpr std::string_view kIntegerBytes = "-0123456789";
    const bool isInteger = text.find_first_not_of(kIntegerBytes) == text.npos;
    if (type == kernel::tDOUBLE && text.find_first_of("fn") != text.npos) return String(text);   // "inf", "nan"
    WriteSeparator();
    if (type == kernel::tBOOL && (text == "0" || text == "1")) {
        out << (text == "1" ? "true" : "false");
    } else {
        out << text << (type == kernel::tDOUBLE && isInteger ? ".0" : "");   // parsers read "-0" as the integer 0
    }
    return *this;
}

JsonWriter& JsonWriter::Open(char bracket) {
    WriteSeparator();
    out << bracket;
    isFirst = true;
    return *this;
}

JsonWriter& JsonWriter::Close(char bracket) {
    out << bracket;
    isFirst = false;
    return *this;
}

void JsonWriter::WriteSeparator() {
    if (!isFirst) out << ',';
    isFirst = false;
}

}   // namespace arborctl
