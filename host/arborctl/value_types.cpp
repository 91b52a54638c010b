#include "value_types.h"

namespace arborctl {
namespace {

constexpr ValueTypeRow kTypes[] = {
    {"tVOID", kernel::tVOID, 0},       {"tBYTE", kernel::tBYTE, 1},         {"tWORD", kernel::tWORD, 2},
    {"tDWORD", kernel::tDWORD, 4},     {"tQWORD", kernel::tQWORD, 8},       {"tBOOL", kernel::tBOOL, 4},
    {"tCHAR", kernel::tCHAR, 1},       {"tWCHAR", kernel::tWCHAR, 2},       {"tSTRING", kernel::tSTRING, 0},
    {"tWSTRING", kernel::tWSTRING, 0}, {"tERROR", kernel::tERROR, 4},       {"tPTR", kernel::tPTR, 0},
    {"tINT", kernel::tINT, 4},         {"tUINT", kernel::tUINT, 4},         {"tSBYTE", kernel::tSBYTE, 1},
    {"tSHORT", kernel::tSHORT, 2},     {"tLONG", kernel::tLONG, 4},         {"tLONGLONG", kernel::tLONGLONG, 8},
    {"tIID", kernel::tIID, 4},         {"tPID", kernel::tPID, 4},           {"tORIG_ID", kernel::tORIG_ID, 4},
    {"tOS_ID", kernel::tOS_ID, 4},     {"tVID", kernel::tVID, 4},           {"tPROPID", kernel::tPROPID, 4},
    {"tVERSION", kernel::tVERSION, 4}, {"tCODEPAGE", kernel::tCODEPAGE, 4}, {"tLCID", kernel::tLCID, 4},
    {"tDATA", kernel::tDATA, 4},       {"tDATETIME", kernel::tDATETIME, 8}, {"tFUNC_PTR", kernel::tFUNC_PTR, 4},
    {"tDOUBLE", kernel::tDOUBLE, 8},   {"tBINARY", kernel::tBINARY, 0},     {"tTYPE_ID", kernel::tTYPE_ID, 4},
};

}   // namespace

const ValueTypeRow* FindType(std::string_view name) {
    for (const ValueTypeRow& row : kTypes) {
        if (row.name == name) return &row;
    }
    return nullptr;
}

const ValueTypeRow* FindType(kernel::TypeCode type) {
    for (const ValueTypeRow& row : kTypes) {
        if (row.type == type) return &row;
    }
    return nullptr;
}

std::string TypeNames() {
    std::string names;
    for (const ValueTypeRow& row : kTypes) names.append(names.empty() ? "" : " ").append(row.name);
    return names;
}

}   // namespace arborctl
