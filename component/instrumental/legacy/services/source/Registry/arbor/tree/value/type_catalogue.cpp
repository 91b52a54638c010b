// The tables of type names and the search in them.

#include "tree/value/type_catalogue.h"

#include "tree/swar.h"

#include <component/kernel/type_table.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace arbor::module {
namespace {

/// Type names by code; a null view for a code without a name.
constexpr std::array<std::string_view, 64> TypeNameTable = [] {
    std::array<std::string_view, 64> names{};
    for (const ValueTypeRow& row : kTypeTable) names[row.type] = row.name;
    return names;
}();

constexpr char kFirstRow = 'B';
constexpr char kLastRow = 'W';
constexpr std::size_t kRowLength = 7;
using TypeNameRow = std::array<std::uint8_t, kRowLength>;

/// Type codes by the second letter of their names, which begin with "t". Zeros fill the rest of a row.
constexpr std::array<TypeNameRow, kLastRow - kFirstRow + 1> TypeNameIndex = {{
    {tBYTE, tBOOL, tBINARY, tBUFFER},
    {tCHAR, tCODEPAGE},
    {tDWORD, tDATA, tDATETIME, tDOUBLE},
    {tERROR, tEXPORT},
    {tFUNC_PTR},
    {},   // G
    {},   // H
    {tINT, tIID, tIFACEPTR, tIMPORT, tIMPL_ID},
    {},   // J
    {},   // K
    {tLONG, tLONGLONG, tLCID},
    {tMSG_ID, tMSGCLS_ID},
    {},   // N
    {tORIG_ID, tOS_ID, tOBJECT},
    {tPTR, tPID, tPROPID},
    {tQWORD},
    {},   // R
    {tSTRING, tSBYTE, tSHORT, tSTRING_OBJ, tSERIALIZABLE, tSTR_DSC, tSIZE_T},
    {tTRACE_LEVEL, tTYPE_ID},
    {tUINT},
    {tVOID, tVID, tVERSION, tVECTOR},
    {tWORD, tWCHAR, tWSTRING},
}};

constexpr std::size_t kMinNameLength = 4;

constexpr TypeCode Find(std::string_view name) {
    if (name.size() < kMinNameLength) return 0;
    if (name[1] < kFirstRow || name[1] > kLastRow) return 0;
    for (const std::uint8_t code : TypeNameIndex[static_cast<std::size_t>(name[1] - kFirstRow)]) {
        if (code == 0) return 0;
        const std::string_view known = TypeNameTable[code];
        if (known.size() == name.size() && SameBytes(known.data(), name.data(), name.size())) return code;
    }
    return 0;
}

static_assert(std::ranges::all_of(kTypeTable, [](const ValueTypeRow& row) { return Find(row.name) == row.type; }),
              "TypeNameIndex lacks a type");

}   // namespace

TypeCode TypeCodeFromName(std::string_view name) { return Find(name); }

std::string_view TypeNameFromCode(TypeCode code) { return TypeNameTable[code]; }

}   // namespace arbor::module
