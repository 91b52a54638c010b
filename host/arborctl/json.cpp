// Serializes numbers and strings with nlohmann/json; writes the structure around them directly.

#include "json.h"

#include <host/text.h>

#include <cstdio>
#include <cstring>

#include <nlohmann/json.hpp>

namespace arborctl {
namespace {

/// Returns the number or truth value of `datum`; null for other types.
nlohmann::json Scalar(const arbor::Datum& datum) {
    const auto as = [&datum]<class T>(T number) {
        std::memcpy(&number, datum.bytes.data(), std::min(sizeof number, datum.bytes.size()));
        return number;
    };
    switch (datum.type) {
        case kernel::tSBYTE:
            return as(std::int8_t{});
        case kernel::tSHORT:
            return as(std::int16_t{});
        case kernel::tINT:
        case kernel::tLONG:
        case kernel::tERROR:
            return as(std::int32_t{});
        case kernel::tLONGLONG:
            return as(std::int64_t{});
        case kernel::tDOUBLE:
            return as(double{});
        case kernel::tBOOL:
            return as(std::uint32_t{}) != 0;
        case kernel::tVOID:
        case kernel::tFUNC_PTR:
        case kernel::tCHAR:
        case kernel::tWCHAR:
            return {};
        default:
            return kernel::FindType(datum.type)->width != 0 ? nlohmann::json(as(std::uint64_t{})) : nlohmann::json();
    }
}

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

Json& Json::Name(std::string_view name) {
    String(name);
    out << ':';
    isFirst = true;
    return *this;
}

Json& Json::String(std::string_view text) {
    WriteSeparator();
    out << EscapeControls(nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
    return *this;
}

Json& Json::Number(std::uint64_t number) {
    WriteSeparator();
    out << number;
    return *this;
}

Json& Json::TypeAndValue(const arbor::Datum& datum, const ValueText& valueText) {
    Member("type", kernel::FindType(datum.type)->name).Name("value");
    const nlohmann::json scalar = Scalar(datum);
    if (scalar.is_null()) return String(valueText.Format(datum));
    WriteSeparator();
    out << scalar.dump();
    return *this;
}

Json& Json::Open(char bracket) {
    WriteSeparator();
    out << bracket;
    isFirst = true;
    return *this;
}

Json& Json::Close(char bracket) {
    out << bracket;
    isFirst = false;
    return *this;
}

void Json::WriteSeparator() {
    if (!isFirst) out << ',';
    isFirst = false;
}

}   // namespace arborctl
