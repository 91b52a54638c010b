// Blobs and texts are converted here. A value of any other type is stored in the scratch tree and read back converted.

#include "value_text.h"

#include "exact_text.h"

#include <host/text.h>

#include <cstring>

namespace arborctl {
namespace {

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
    if (IsBlob(type)) {
        std::optional<arbor::Datum> blob = FromExactText(type, text);
        if (blob) return *std::move(blob);
        throw StoreError(kernel::kInvalidArgument, text + " isn't hexadecimal, two digits a byte");
    }
    if (type == kernel::tSTRING) return {type, text};
    if (type == kernel::tWSTRING) return {type, WideBytes(text)};
    const kernel::ValueTypeRow& row = *kernel::FindType(type);
    const std::string name = '"' + text + "\" as " + std::string(row.name);   // the error message shows it
    ThrowIfFailed(scratch.Root().SetLenient(name, arbor::Datum{type, std::string(row.width, '\0')}), name);
    ThrowIfFailed(scratch.Root().SetLenient(name, text), name);
    return ValueOrThrow(scratch.Root().ReadLenient(name, type), name);
}

std::string ValueText::Format(const arbor::Datum& datum) const {
    if (IsBlob(datum.type)) return ToExactText(datum);
    if (datum.type == kernel::tWSTRING) return FromWideBytes(datum.bytes);
    if (datum.type == kernel::tSTRING) return datum.bytes.c_str();   // without the terminator
    const std::string name = TypeName(datum);
    ThrowIfFailed(scratch.Root().SetLenient(name, datum), name);
    return ValueOrThrow(scratch.Root().GetLenient<std::string>(name), name);
}

std::string ValueText::FormatLine(const arbor::Datum& datum) const {
    const std::string text = Format(datum);
    const std::string printed = IsText(datum.type) ? Quote(text) : text;
    return TypeName(datum) + (printed.empty() ? "" : " ") + printed;
}

bool IsBlob(kernel::TypeCode type) { return type == kernel::tBINARY || type == kernel::tPTR; }

bool IsText(kernel::TypeCode type) {
    return type == kernel::tSTRING || type == kernel::tWSTRING || type == kernel::tCHAR;
}

std::string Quote(std::string_view text) {
    std::string quoted = "\"";
    for (const char letter : text) {
        if (letter == '"' || letter == '\\') quoted += '\\';
        quoted += letter;
    }
    return host::Printable(quoted) + '"';
}

}   // namespace arborctl
