/// The catalogue of value types: the code, name, width and form of each type and whether the store holds values of it.
/// This is the only definition; documents, the value factory, the client and the tool read it.
#pragma once

#include <component/kernel/value_types.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace kernel {

/// What the bytes of a value are.
enum class ValueForm {
    Empty,   // nothing, or no value can have the type
    Unsigned,
    Signed,
    Bool,
    Double,
    Char,
    WideChar,
    Text,
    WideText,
    Blob
};

struct ValueTypeRow {
    TypeCode type = 0;
    std::string_view name{};   // a literal, so that a terminator follows
    std::uint32_t width = 0;   // bytes of the binary form; 0 if it has no fixed width
    bool storable = false;     // false: no value can have the type; its name is reserved
    ValueForm form = ValueForm::Empty;
};

/// Ascending by code.
inline constexpr ValueTypeRow kTypeTable[] = {
    {tVOID, "tVOID", 0, true},
    {tBYTE, "tBYTE", 1, true, ValueForm::Unsigned},
    {tWORD, "tWORD", 2, true, ValueForm::Unsigned},
    {tDWORD, "tDWORD", 4, true, ValueForm::Unsigned},
    {tQWORD, "tQWORD", 8, true, ValueForm::Unsigned},
    {tBOOL, "tBOOL", 4, true, ValueForm::Bool},
    {tCHAR, "tCHAR", 1, true, ValueForm::Char},
    {tWCHAR, "tWCHAR", 2, true, ValueForm::WideChar},
    {tSTRING, "tSTRING", 0, true, ValueForm::Text},
    {tWSTRING, "tWSTRING", 0, true, ValueForm::WideText},
    {tERROR, "tERROR", 4, true, ValueForm::Signed},
    {tPTR, "tPTR", 0, true, ValueForm::Blob},
    {tINT, "tINT", 4, true, ValueForm::Signed},
    {tUINT, "tUINT", 4, true, ValueForm::Unsigned},
    {tSBYTE, "tSBYTE", 1, true, ValueForm::Signed},
    {tSHORT, "tSHORT", 2, true, ValueForm::Signed},
    {tLONG, "tLONG", 4, true, ValueForm::Signed},
    {tLONGLONG, "tLONGLONG", 8, true, ValueForm::Signed},
    {tIID, "tIID", 4, true, ValueForm::Unsigned},
    {tPID, "tPID", 4, true, ValueForm::Unsigned},
    {tORIG_ID, "tORIG_ID", 4, true, ValueForm::Unsigned},
    {tOS_ID, "tOS_ID", 4, true, ValueForm::Unsigned},
    {tVID, "tVID", 4, true, ValueForm::Unsigned},
    {tPROPID, "tPROPID", 4, true, ValueForm::Unsigned},
    {tVERSION, "tVERSION", 4, true, ValueForm::Unsigned},
    {tCODEPAGE, "tCODEPAGE", 4, true, ValueForm::Unsigned},
    {tLCID, "tLCID", 4, true, ValueForm::Unsigned},
    {tDATA, "tDATA", 4, true, ValueForm::Unsigned},
    {tDATETIME, "tDATETIME", 8, true, ValueForm::Unsigned},
    {tFUNC_PTR, "tFUNC_PTR", 4, true, ValueForm::Unsigned},
    {tDOUBLE, "tDOUBLE", 8, true, ValueForm::Double},
    {tBINARY, "tBINARY", 0, true, ValueForm::Blob},
    {tIFACEPTR, "tIFACEPTR", 0, false},
    {tOBJECT, "tOBJECT", 0, false},
    {tEXPORT, "tEXPORT", 0, false},
    {tIMPORT, "tIMPORT", 0, false},
    {tTRACE_LEVEL, "tTRACE_LEVEL", 0, false},
    {tTYPE_ID, "tTYPE_ID", 4, true, ValueForm::Unsigned},
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

/// The rows of `kStoredTypes` by code; null for the other codes.
inline constexpr auto kRowsByCode = [] {
    std::array<const ValueTypeRow*, kStoredTypes.back().type + 1> rows{};
    for (const ValueTypeRow& row : kStoredTypes) rows[row.type] = &row;
    return rows;
}();

/// Returns the row of a storable type; null for any other name or code. Names are case-sensitive.
[[nodiscard]] constexpr const ValueTypeRow* FindType(std::string_view name) {
    const auto row = std::ranges::find(kStoredTypes, name, &ValueTypeRow::name);
    return row != kStoredTypes.end() ? &*row : nullptr;
}
[[nodiscard]] constexpr const ValueTypeRow* FindType(TypeCode type) {
    return type < kRowsByCode.size() ? kRowsByCode[type] : nullptr;
}

}   // namespace kernel
