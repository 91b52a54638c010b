// The descriptions of the texts of each type, and the command `types`, which prints them.

#include "type_texts.h"

#include "ascii.h"
#include "exit_codes.h"
#include "help.h"
#include "json.h"
#include "suggestion.h"

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <stdexcept>

namespace arborctl {
namespace {

constexpr std::string_view kSigned32 = "-2147483648 to 2147483647";
constexpr std::string_view kUnsigned32 = "0 to 4294967295";
constexpr std::string_view kUnsigned64 = "0 to 18446744073709551615";
constexpr std::string_view kBlob = "two hexadecimal digits a byte";

/// One row for each storable type.
constexpr TypeTextRow kTypeTexts[] = {
    {kernel::tVOID, "empty", ""},
    {kernel::tBYTE, "0 to 255", "200"},
    {kernel::tWORD, "0 to 65535", "60000"},
    {kernel::tDWORD, kUnsigned32, "8080"},
    {kernel::tQWORD, kUnsigned64, "10000000000"},
    {kernel::tBOOL, "0 or 1; true and false too", "1"},
    {kernel::tCHAR, "one byte", "x"},
    {kernel::tWCHAR, "one character; can't be saved", ""},
    {kernel::tSTRING, "text without a zero byte", "a & b"},
    {kernel::tWSTRING, "UTF-8 text; a tSTRING after the next load",
     "Ga\xC3\x9F"
     "e"},
    {kernel::tERROR, kSigned32, "-2147467259"},
    {kernel::tPTR, kBlob, "00FF"},
    {kernel::tINT, kSigned32, "-42"},
    {kernel::tUINT, kUnsigned32, "42"},
    {kernel::tSBYTE, "-128 to 127", "-128"},
    {kernel::tSHORT, "-32768 to 32767", "-5"},
    {kernel::tLONG, kSigned32, "2147483647"},
    {kernel::tLONGLONG, "-9223372036854775808 to 9223372036854775807", "-9000000000"},
    {kernel::tIID, kUnsigned32, "7"},
    {kernel::tPID, kUnsigned32, "7"},
    {kernel::tORIG_ID, kUnsigned32, "7"},
    {kernel::tOS_ID, kUnsigned32, "7"},
    {kernel::tVID, kUnsigned32, "7"},
    {kernel::tPROPID, kUnsigned32, "7"},
    {kernel::tVERSION, kUnsigned32, "65536"},
    {kernel::tCODEPAGE, kUnsigned32, "65001"},
    {kernel::tLCID, kUnsigned32, "1031"},
    {kernel::tDATA, kUnsigned32, "4294967295"},
    {kernel::tDATETIME, kUnsigned64, "133500000000"},
    {kernel::tFUNC_PTR, "0; a save keeps no other number", "0"},
    {kernel::tDOUBLE, "decimal, six digits after the point", "-1.500000"},
    {kernel::tBINARY, kBlob, "0A0BFF"},
    {kernel::tTYPE_ID, kUnsigned32, "4"},
};
static_assert(std::ranges::equal(kTypeTexts, kernel::kStoredTypes, {}, &TypeTextRow::type,
                                 &kernel::ValueTypeRow::type));

std::string Width(const kernel::ValueTypeRow& row) { return row.width == 0 ? "any" : std::to_string(row.width); }

void PrintRow(std::string_view name, std::string_view code, std::string_view bytes, const TypeTextRow& texts) {
    std::cout << std::left << std::setw(10) << name << std::right << std::setw(4) << code << std::setw(6) << bytes
              << "  " << std::left << std::setw(texts.example.empty() ? 0 : 44) << texts.text << texts.example << '\n';
}

/// Prints one type, or all if `only` is 0.
int PrintJson(kernel::TypeCode only) {
    JsonWriter json(std::cout);
    json.BeginArray();
    for (const kernel::ValueTypeRow& row : kernel::kStoredTypes) {
        if (only != 0 && row.type != only) continue;
        const TypeTextRow& texts = TextsOf(row.type);
        json.BeginObject().Member("type", row.name).Member("code", row.type).Name("bytes");
        row.width == 0 ? json.Null() : json.Number(row.width);
        json.Member("text", texts.text).Member("example", texts.example).EndObject();
    }
    json.EndArray().EndLine();
    return kExitDone;
}

}   // namespace

const TypeTextRow& TextsOf(kernel::TypeCode type) { return *std::ranges::find(kTypeTexts, type, &TypeTextRow::type); }

kernel::TypeCode ParseType(std::string_view name) {
    const std::string lower = ToLower(std::string(name));
    const auto* row = std::ranges::find_if(
        kernel::kTypeTable, [&](const kernel::ValueTypeRow& each) { return ToLower(std::string(each.name)) == lower; });
    const std::string hint = "\"arborctl types\" lists the types of values";
    if (row == std::end(kernel::kTypeTable)) {
        std::vector<std::string_view> names;
        names.reserve(std::size(kernel::kTypeTable));
        for (const kernel::ValueTypeRow& each : kernel::kStoredTypes) names.push_back(each.name);
        const std::string suggestion = Suggestion(name, names);
        throw std::invalid_argument(std::string(name) + " isn't a type" +
                                    (suggestion.empty() ? "; " + hint : suggestion));
    }
    if (!row->storable) throw std::invalid_argument(std::string(row->name) + " is the type of no value; " + hint);
    return row->type;
}

int PrintTypes(std::string_view name, bool asJson) {
    if (asJson) return PrintJson(name.empty() ? 0 : ParseType(name));
    if (!name.empty()) {
        const kernel::ValueTypeRow& row = *kernel::FindType(ParseType(name));
        PrintRow(row.name, std::to_string(row.type), Width(row), TextsOf(row.type));
        return kExitDone;
    }
    PrintRow("TYPE", "CODE", "BYTES", {0, "TEXT", "EXAMPLE"});
    for (const kernel::ValueTypeRow& row : kernel::kStoredTypes)
        PrintRow(row.name, std::to_string(row.type), Width(row), TextsOf(row.type));
    std::string reserved = "An integer can also be hexadecimal, as in 0xFF. There are no values of the types";
    for (const kernel::ValueTypeRow& row : kernel::kTypeTable) {
        if (!row.storable) reserved.append(reserved.ends_with("types") ? " " : ", ").append(row.name);
    }
    std::cout << '\n';
    PrintWrapped(reserved + '.', 0);
    return kExitDone;
}

}   // namespace arborctl
