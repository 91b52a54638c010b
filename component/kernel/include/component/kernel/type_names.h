/// The types that a value can have, by name.
#pragma once

#include <component/kernel/value_types.h>

#include <string_view>

namespace kernel {

struct ValueTypeRow {
    std::string_view name;
    TypeCode type;
    std::uint32_t width;   // bytes of the binary form; 0 where they vary, or there are none
};

inline constexpr ValueTypeRow kStoredTypes[] = {
    {"tVOID", tVOID, 0},         {"tBYTE", tBYTE, 1},         {"tWORD", tWORD, 2},     {"tDWORD", tDWORD, 4},
    {"tQWORD", tQWORD, 8},       {"tBOOL", tBOOL, 4},         {"tCHAR", tCHAR, 1},     {"tWCHAR", tWCHAR, 2},
    {"tSTRING", tSTRING, 0},     {"tWSTRING", tWSTRING, 0},   {"tERROR", tERROR, 4},   {"tPTR", tPTR, 0},
    {"tINT", tINT, 4},           {"tUINT", tUINT, 4},         {"tSBYTE", tSBYTE, 1},   {"tSHORT", tSHORT, 2},
    {"tLONG", tLONG, 4},         {"tLONGLONG", tLONGLONG, 8}, {"tIID", tIID, 4},       {"tPID", tPID, 4},
    {"tORIG_ID", tORIG_ID, 4},   {"tOS_ID", tOS_ID, 4},       {"tVID", tVID, 4},       {"tPROPID", tPROPID, 4},
    {"tVERSION", tVERSION, 4},   {"tCODEPAGE", tCODEPAGE, 4}, {"tLCID", tLCID, 4},     {"tDATA", tDATA, 4},
    {"tDATETIME", tDATETIME, 8}, {"tFUNC_PTR", tFUNC_PTR, 4}, {"tDOUBLE", tDOUBLE, 8}, {"tBINARY", tBINARY, 0},
    {"tTYPE_ID", tTYPE_ID, 4},
};

/// Null for a name or number that no value has.
[[nodiscard]] constexpr const ValueTypeRow* FindType(std::string_view name) {
    for (const ValueTypeRow& row : kStoredTypes) {
        if (row.name == name) return &row;
    }
    return nullptr;
}
[[nodiscard]] constexpr const ValueTypeRow* FindType(TypeCode type) {
    for (const ValueTypeRow& row : kStoredTypes) {
        if (row.type == type) return &row;
    }
    return nullptr;
}

}   // namespace kernel
