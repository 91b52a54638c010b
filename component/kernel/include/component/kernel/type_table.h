/// The catalogue of value types: the code, name and width of each type and whether the store holds values of it. This
/// is the only definition; documents, the value factory, the client and the tool read it.
#pragma once

#include <component/kernel/value_types.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace kernel {

struct ValueTypeRow {
    TypeCode type = 0;
    std::string_view name{};   // a literal, so that a terminator follows
    std::uint32_t width = 0;   // bytes of the binary form; 0 if it has no fixed width
    bool storable = false;     // false: no value can have the type; its name is reserved
};

/// Ascending by code.
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

/// The storable rows of `kTypeTable`.
inline constexpr std::array<ValueTypeRow, kStoredTypeCount> kStoredTypes = [] {
    std::array<ValueTypeRow, kStoredTypeCount> rows{};
    std::ranges::copy_if(kTypeTable, rows.begin(), &ValueTypeRow::storable);
    return rows;
}();

/// Returns the row of a storable type; null for any other name or code. Names are case-sensitive.
[[nodiscard]] constexpr const ValueTypeRow* FindType(std::string_view name) {
    const auto row = std::ranges::find(kStoredTypes, name, &ValueTypeRow::name);
    return row != kStoredTypes.end() ? &*row : nullptr;
}
[[nodiscard]] constexpr const ValueTypeRow* FindType(TypeCode type) {
    const auto row = std::ranges::find(kStoredTypes, type, &ValueTypeRow::type);
    return row != kStoredTypes.end() ? &*row : nullptr;
}

}   // namespace kernel
