/// The codes of the value types. Comments describe the contents of a caller's buffer where the name doesn't.
/// `type_table.h` has the names and widths, and says which types can be stored.
#pragma once

#include <component/kernel/types.h>

namespace kernel {

// clang-format off
enum ValueType : TypeCode {
    tVOID = 1, tBYTE = 2, tWORD = 3, tDWORD = 4, tQWORD = 5,
    tBOOL = 6,            // 32 bits
    tCHAR = 7, tWCHAR = 8,
    tSTRING = 9,          // 8-bit text with its terminator
    tWSTRING = 10,        // 16-bit text with its terminator
    tERROR = 11, tPTR = 12, tINT = 13, tUINT = 14, tSBYTE = 15, tSHORT = 17, tLONG = 18, tLONGLONG = 19, tIID = 20,
    tPID = 21, tORIG_ID = 22, tOS_ID = 23, tVID = 24, tPROPID = 25, tVERSION = 26, tCODEPAGE = 27, tLCID = 28, tDATA = 29,
    tDATETIME = 30, tFUNC_PTR = 31, tDOUBLE = 32,
    tBINARY = 48,
    tIFACEPTR = 49, tOBJECT = 50, tEXPORT = 51, tIMPORT = 52, tTRACE_LEVEL = 53,
    tTYPE_ID = 54,
    tVECTOR = 55,
    tSTRING_OBJ = 56,     // a `HostString`; only as the type of a caller's buffer
    tSERIALIZABLE = 57, tBUFFER = 58, tSTR_DSC = 59, tSIZE_T = 60, tIMPL_ID = 61, tMSG_ID = 62, tMSGCLS_ID = 63,
};
// clang-format on

}   // namespace kernel
