/// The catalogue of value types: code, name, width and whether the store holds values of the type. The one place that
/// states them; documents, the value factory, the client and the tool read them from here.
#pragma once

#include <component/kernel/value_types.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace kernel {

struct ValueTypeRow {
    TypeCode type = 0;
    std::string_view name{};   // a literal: its terminator follows
    std::uint32_t width = 0;   // bytes of the binary form; 0 if they vary or there are none
    bool storable = false;     // false: the name is reserved, and no value has the type
};

/// By code, ascending. Codes that are missing have no name.
inline constexpr ValueTypeRow kTypeTable[] = {
    {tVOID, "tVOID", 0, true},
    {tBYTE, "tBYTE", 1, true},
    {tWORD, "tWORD", 2, true},
    {tDWORD, "tDWORD", 4, true},
    {tQWORD, "tQWORD", 8, true},
    {tBOOL, "tBOOL", 4, true},
    {tCHAR, "tCHAR", 1, true},
    {tWCHAR, "tWCHAR", 2, true},
    {tSTRING, "tSTRING", 0, true},
    {tWSTRING, "tWSTRING", 0, true},
    {tERROR, "tERROR", 4, true},
    {tPTR, "tPTR", 0, true},
    {tINT, "tINT", 4, true},
    {tUINT, "tUINT", 4, true},
    {tSBYTE, "tSBYTE", 1, true},
    {tSHORT, "tSHORT", 2, true},
    {tLONG, "tLONG", 4, true},
    {tLONGLONG, "tLONGLONG", 8, true},
    {tIID, "tIID", 4, true},
    {tPID, "tPID", 4, true},
    {tORIG_ID, "tORIG_ID", 4, true},
    {tOS_ID, "tOS_ID", 4, true},
    {tVID, "tVID", 4, true},
    {tPROPID, "tPROPID", 4, true},
    {tVERSION, "tVERSION", 4, true},
    {tCODEPAGE, "tCODEPAGE", 4, true},
    {tLCID, "tLCID", 4, true},
    {tDATA, "tDATA", 4, true},
    {tDATETIME, "tDATETIME", 8, true},
    {tFUNC_PTR, "tFUNC_PTR", 4, true},
    {tDOUBLE, "tDOUBLE", 8, true},
    {tBINARY, "tBINARY", 0, true},
    {tIFACEPTR, "tIFACEPTR", 0, false},
    {tOBJECT, "tOBJECT", 0, false},
    {tEXPORT, "tEXPORT", 0, false},
    {tIMPORT, "tIMPORT", 0, false},
    {tTRACE_LEVEL, "tTRACE_LEVEL", 0, false},
    {tTYPE_ID, "tTYPE_ID", 4, true},
    {tVECTOR, "tVECTOR", 0, false},
    {tSTRING_OBJ, "tSTRING_OBJ", 0, false},
    {tSERIALIZABLE, "tSERIALIZABLE", 0, false},
    {tBUFFER, "tBUFFER", 0, false},
    {tSTR_DSC, "tSTR_DSC", 0, false},
    {tSIZE_T, "tSIZE_T", 0, false},
    {tIMPL_ID, "tIMPL_ID", 0, false},
    {tMSG_ID, "tMSG_ID", 0, false},
    {tMSGCLS_ID, "tMSGCLS_ID", 0, false},
};

inline constexpr std::size_t kStoredTypeCount =
    static_cast<std::size_t>(std::ranges::count(kTypeTable, true, &ValueTypeRow::storable));

/// The rows of the types that a value can have.
inline constexpr std::array<ValueTypeRow, kStoredTypeCount> kStoredTypes = [] {
    std::array<ValueTypeRow, kStoredTypeCount> rows{};
    std::ranges::copy_if(kTypeTable, rows.begin(), &ValueTypeRow::storable);
    return rows;
}();

/// The row of a type that a value can have; null for any other name (case matters) or code.
[[nodiscard]] constexpr const ValueTypeRow* FindType(std::string_view name) {
    const auto row = std::ranges::find(kStoredTypes, name, &ValueTypeRow::name);
    return row != kStoredTypes.end() ? &*row : nullptr;
}
[[nodiscard]] constexpr const ValueTypeRow* FindType(TypeCode type) {
    const auto row = std::ranges::find(kStoredTypes, type, &ValueTypeRow::type);
    return row != kStoredTypes.end() ? &*row : nullptr;
}

}   // namespace kernel
