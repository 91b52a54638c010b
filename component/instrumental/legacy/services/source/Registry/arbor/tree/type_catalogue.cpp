#include "tree/type_catalogue.h"

#include "tree/octets.h"

#include <component/kernel/value_types.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace arbor {
namespace {

/// By type; a gap is a view of nothing. The views are of literals, which bring the terminators.
constexpr std::array<std::string_view, 64> TypeNameTable = [] {
    std::array<std::string_view, 64> names{};
    names[tVOID] = "tVOID";
    names[tBYTE] = "tBYTE";
    names[tWORD] = "tWORD";
    names[tDWORD] = "tDWORD";
    names[tQWORD] = "tQWORD";
    names[tBOOL] = "tBOOL";
    names[tCHAR] = "tCHAR";
    names[tWCHAR] = "tWCHAR";
    names[tSTRING] = "tSTRING";
    names[tWSTRING] = "tWSTRING";
    names[tERROR] = "tERROR";
    names[tPTR] = "tPTR";
    names[tINT] = "tINT";
    names[tUINT] = "tUINT";
    names[tSBYTE] = "tSBYTE";
    names[tSHORT] = "tSHORT";
    names[tLONG] = "tLONG";
    names[tLONGLONG] = "tLONGLONG";
    names[tIID] = "tIID";
    names[tPID] = "tPID";
    names[tORIG_ID] = "tORIG_ID";
    names[tOS_ID] = "tOS_ID";
    names[tVID] = "tVID";
    names[tPROPID] = "tPROPID";
    names[tVERSION] = "tVERSION";
    names[tCODEPAGE] = "tCODEPAGE";
    names[tLCID] = "tLCID";
    names[tDATA] = "tDATA";
    names[tDATETIME] = "tDATETIME";
    names[tFUNC_PTR] = "tFUNC_PTR";
    names[tDOUBLE] = "tDOUBLE";
    names[tBINARY] = "tBINARY";
    names[tIFACEPTR] = "tIFACEPTR";
    names[tOBJECT] = "tOBJECT";
    names[tEXPORT] = "tEXPORT";
    names[tIMPORT] = "tIMPORT";
    names[tTRACE_LEVEL] = "tTRACE_LEVEL";
    names[tTYPE_ID] = "tTYPE_ID";
    names[tVECTOR] = "tVECTOR";
    names[tSTRING_OBJ] = "tSTRING_OBJ";
    names[tSERIALIZABLE] = "tSERIALIZABLE";
    names[tBUFFER] = "tBUFFER";
    names[tSTR_DSC] = "tSTR_DSC";
    names[tSIZE_T] = "tSIZE_T";
    names[tIMPL_ID] = "tIMPL_ID";
    names[tMSG_ID] = "tMSG_ID";
    names[tMSGCLS_ID] = "tMSGCLS_ID";
    return names;
}();

constexpr char kFirstRow = 'B';
constexpr char kLastRow = 'W';
constexpr std::size_t kRowLength = 7;
using TypeNameRow = std::array<std::uint8_t, kRowLength>;

/// The types by the second letter of their names, common ones first; zeros fill a row up.
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

constexpr std::size_t kShortestName = 4;

constexpr TypeCode Find(std::string_view name) {
    if (name.size() < kShortestName || name[0] != 't') return 0;
    if (name[1] < kFirstRow || name[1] > kLastRow) return 0;
    for (const std::uint8_t code : TypeNameIndex[static_cast<std::size_t>(name[1] - kFirstRow)]) {
        if (code == 0) return 0;
        const std::string_view known = TypeNameTable[code];
        if (known.size() == name.size() && SameBytes(known.data(), name.data(), name.size())) return code;
    }
    return 0;
}

constexpr int CountNamesThatLeadBack() {
    int count = 0;
    for (TypeCode code = 0; code < TypeNameTable.size(); ++code) {
        if (!TypeNameTable[code].empty() && Find(TypeNameTable[code]) == code) ++count;
    }
    return count;
}
static_assert(CountNamesThatLeadBack() == 47, "a name without its place in the index");

}   // namespace

TypeCode TypeCodeFromName(std::string_view name) { return Find(name); }

std::string_view TypeNameFromCode(TypeCode code) { return TypeNameTable[code]; }

}   // namespace arbor
